// How the calls of sockets reach the system, and how they fail.
#pragma once

#include <fcntl.h>

#include <cerrno>
#include <climits>

#include "platform/sockets.h"

namespace platform {

constexpr int kAddressSize = 16;

// -1, which is no descriptor, for a number that can't be one.
inline int descriptor_of(SOCKET socket) {
    return socket <= INT_MAX ? static_cast<int>(socket) : -1;
}

// -1 for a call that left errno, with what Linux tells in more ways.
inline int socket_failure() {
    if (errno == EBADF) errno = ENOTSOCK;
    return -1;
}
inline int socket_failure(int number) {
    errno = number;
    return socket_failure();
}

inline int result_of(int result) {
    return result < 0 ? socket_failure() : result;
}

// Whether calls wait.
inline bool waits(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && (flags & O_NONBLOCK) == 0;
}

// Whether what is sent stays a message of its own.
bool has_messages(int fd);

}  // namespace platform
