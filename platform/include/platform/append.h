// Adding to a file that others add to.
#pragma once

#include <cstddef>
#include <cstdio>

namespace platform {

// Adds a text at the end of a stream that open_stream opened with "a" for text, and flushes it: as
// one piece, however long it is, also between processes that add to the same file. False, with
// errno, when not all of it could be written.
bool append_text(FILE* stream, const char* text, size_t size);

}  // namespace platform
