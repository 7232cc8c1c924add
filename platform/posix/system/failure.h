// How the run-time's calls fail: errno and the last error tell the same.
#pragma once

#include <cerrno>

#include "platform/last_error.h"

namespace platform {

// -1 for a call that left errno, with the numbers of Windows for what Linux tells in more ways.
inline int fail() {
    if (errno == EISDIR || errno == ETXTBSY) errno = EACCES;
    set_last_error_from_errno();
    return -1;
}

inline int fail(int number) {
    errno = number;
    return fail();
}

}  // namespace platform
