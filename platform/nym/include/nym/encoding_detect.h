// nym_detect_encoding: the encoding a person would name for bytes of unknown text, with a
// confidence: UTF-8, UTF-16 little- or big-endian (with or without a byte-order mark), or
// neither (an 8-bit code page such as Latin-1 or Windows-1252, or binary data).
//
// Unlike the exact detectors of utf_detect.h, which keep their fixed algorithms, this one
// weighs three kinds of evidence over the whole sample: a byte-order mark, where the zero bytes
// fall (UTF-16 of Latin, Greek or Cyrillic text has them in the high byte of each unit), and
// whether the bytes are well-formed UTF-8 (no overlong forms, surrogates or values above
// U+10FFFF). UTF-16 text without zero bytes (Chinese, Japanese) is recognised by its high
// bytes taking few values, which needs 16 units at least.
//
// Every form reads only the bytes it is given or that a store reported, and answers for any
// input; nothing here keeps state between calls.
#ifndef NYM_ENCODING_DETECT_H
#define NYM_ENCODING_DETECT_H

#include "nym/status.h"
#include "nym/types.h"

namespace nym {

class Nym_buffer;

enum Nym_text_encoding : unsigned char {
  NYM_ENCODING_NEITHER = 0,  // neither UTF-8 nor UTF-16: an 8-bit code page, or binary data
  NYM_ENCODING_UTF8 = 1,
  NYM_ENCODING_UTF16LE = 2,
  NYM_ENCODING_UTF16BE = 3,
};

// The answer. `confidence` runs from 0 (no evidence: empty input) to 100 (certain); fewer than
// eight bytes without a mark never give more than 50.
struct NYM_API Nym_encoding_guess {
  Nym_text_encoding encoding = NYM_ENCODING_UTF8;
  bool mark = false;   // the data begin with this encoding's byte-order mark
  bool ascii = true;   // UTF-8 of seven-bit bytes without NUL: every common code page reads it alike
  unsigned int confidence = 0;

  // The bytes of the mark to skip: 3 for UTF-8, 2 for UTF-16, 0 without a mark.
  unsigned int mark_size() const {
    if (!mark) return 0;
    return encoding == NYM_ENCODING_UTF8 ? 3u : 2u;
  }
};

// "UTF-8", "UTF-16LE", "UTF-16BE" or "neither UTF-8 nor UTF-16".
NYM_API const char* nym_encoding_name(Nym_text_encoding encoding);

// Judges `size` bytes at `data`. Null data with a size above 0 raises std::invalid_argument
// "nym_detect_encoding - null data.".
NYM_API Nym_encoding_guess nym_detect_encoding(const void* data, uint64 size);

// Judges the buffer from its start, read through a blocking Nym_unbuffered_istream (so a
// buffer with a writer is judged once the writer has left, or once `max_bytes` have come).
// Clean UTF-8 is judged in one light walk; anything else is read a second time from the start.
// Only the first `max_bytes` bytes are read; a character cut by that limit counts against
// nothing. The status is cleared first; end of data is cleared, and any other error of the
// store stays, the answer then judging what was read before it. A null buffer answers as
// empty input.
NYM_API Nym_encoding_guess nym_detect_encoding(const Nym_buffer* buffer, uint64 max_bytes, Nym_status& status);
// The whole buffer.
NYM_API Nym_encoding_guess nym_detect_encoding(const Nym_buffer* buffer, Nym_status& status);

}  // namespace nym

#endif
