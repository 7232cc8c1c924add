#include "platform/append.h"

#include <cerrno>

#include "platform/files.h"

namespace platform {

// The descriptor is open for appending, so one write is one piece at the end.
bool append_text(FILE* stream, const char* text, size_t size) {
    if (std::fflush(stream) != 0) return false;
    return static_cast<size_t>(_write(_fileno(stream), text, static_cast<unsigned>(size))) == size;
}

}  // namespace platform
