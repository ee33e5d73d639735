// Helpers that move data between streams, count and skip lines, and read a stream into a
// string. They hold no lock of their own and raise what their streams raise; end of the data
// is success for the copying helpers, and any other error stays in the status for the caller.
// Every helper reads from the input's current position unless it says otherwise, and a
// blocking input follows its buffer's writer until the writer leaves.
#ifndef NYM_STREAM_HELPERS_H
#define NYM_STREAM_HELPERS_H

#include "nym/ostream.h"

namespace nym {

// 1 for CR and LF, 2 for CR LF, 0 otherwise.
NYM_API unsigned int nym_eol_length(Nym_eol eol);

// Copies the rest of the input to the output, through one block of 64 KiB.
NYM_API void nym_copy_stream(Nym_istream& input, Nym_ostream& output, Nym_status& status);
// Copies at most `count` bytes; a count beyond the input copies what is there, without error.
NYM_API void nym_copy_stream(Nym_istream& input, Nym_ostream& output, uint64 count, Nym_status& status);

// The number of ended lines of the whole input, read from position 0 under the input's rule;
// the position ends at the end of the data. A last line without a line end is not counted, so
// "a LF b" counts one. A line longer than 2048 bytes counts once.
NYM_API unsigned int nym_count_lines(Nym_istream& input, Nym_status& status);
// Reads past `lines` lines from the current position. Running out of lines first leaves
// NYM_S_END_OF_DATA in the status.
NYM_API void nym_skip_lines(Nym_istream& input, unsigned int lines, Nym_status& status);

// The rest of the input (or at most `count` bytes of it) as text, up to its first zero byte.
NYM_API void nym_stream_to_string(Nym_istream& input, Nstring& text, Nym_status& status);
NYM_API void nym_stream_to_string(Nym_istream& input, Nstring& text, uint64 count, Nym_status& status);
// The same in 16-bit units as stored (little-endian), up to the first zero unit; `count` is in
// bytes, and an odd last byte is dropped.
NYM_API void nym_stream_to_string(Nym_istream& input, Wstring& text, Nym_status& status);
NYM_API void nym_stream_to_string(Nym_istream& input, Wstring& text, uint64 count, Nym_status& status);

// Writes the whole input (from position 0, of the length its size() tells) with the bytes of
// each pair swapped: UTF-16 of one byte order into the other. An odd last byte is dropped.
NYM_API void nym_swap_stream(Nym_istream& input, Nym_ostream& output, Nym_status& status);

}  // namespace nym

#endif
