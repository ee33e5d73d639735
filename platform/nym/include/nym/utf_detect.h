// Judging the encoding of a buffer of unknown text: is it UTF-8, is it UTF-16 and in which
// byte order, and is there a byte-order mark to believe.
//
// These two keep fixed algorithms whose answers are narrower than the questions sound:
// nym_is_utf8 says yes to UTF-16 of ASCII text (a NUL is valid UTF-8), and nym_is_utf16 with a
// tolerance of a few percent takes Latin-1 prose for UTF-16. For the encoding a person would
// name, use nym_detect_encoding (encoding_detect.h).
//
// Unlike the conversions, the detectors are strict: every decoded value must be an assigned
// code point (Unicode 7 data below U+30000, ICU above). They read the buffer through their own
// Nym_unbuffered_istream in fixed blocks and stop as soon as the answer is certain. A status
// error means the data could not be read: the answer then says only what was seen up to it.
// End of data is cleared.
#ifndef NYM_UTF_DETECT_H
#define NYM_UTF_DETECT_H

#include "nym/status.h"
#include "nym/types.h"

namespace nym {

class Nym_buffer;

// Bits of the detectors' `flags`.
constexpr unsigned char NYM_UTF_IS_UTF16 = 0x01;      // nym_is_utf16 only
constexpr unsigned char NYM_UTF_LITTLE_ENDIAN = 0x02;  // nym_is_utf16 only
constexpr unsigned char NYM_UTF_MARK = 0x04;           // a byte-order mark was found and believed

// Whether the buffer is UTF-8; `ascii` stays true while no byte of 0x80 or above was seen.
// Reads blocks of 8,192 bytes. A UTF-8 mark (also a prefix of it in a block shorter than the
// mark, so an empty buffer too) sets NYM_UTF_MARK; a UTF-16 mark answers false at once. A
// character split by a block boundary, or cut by the end, answers false. An error already in
// `status` or a null buffer answers false; a stream that can't be opened answers true.
NYM_API bool nym_is_utf8(const Nym_buffer* buffer, unsigned char& flags, bool& ascii, Nym_status& status);

// Whether the buffer is UTF-16, which byte order, and whether its mark stands. Values that
// aren't valid are counted in both byte orders; the text fails when both counts exceed
// `tolerance` percent of its units. Text of seven-bit units only, odd-sized buffers (flags
// NYM_UTF_LITTLE_ENDIAN) and data that begin with the bytes BB EF, any byte, BF (not the UTF-8
// mark EF BB BF) answer false. When the buffer's size can't be found the answer is true with
// flags 0x03. Reads blocks of 16,384 bytes.
NYM_API bool nym_is_utf16(const Nym_buffer* buffer, unsigned short tolerance, unsigned char& flags,
                          Nym_status& status);

}  // namespace nym

#endif
