// How the calls of sockets reach the system, and how they fail.
#pragma once

#include <fcntl.h>
#include <sys/socket.h>

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

// The system knows it as something else than a socket. A call that fails otherwise tells nothing.
inline bool is_no_socket(int fd) {
    int type = 0;
    socklen_t size = sizeof type;
    return ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) != 0 &&
           (errno == ENOTSOCK || errno == EBADF);
}

// Whether calls wait. A listener's never do in the system, where one whose client another thread or
// process takes would sleep on: they wait here, and O_APPEND, which means nothing to a socket, says
// that they do.
inline bool waits(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && (flags & (O_NONBLOCK | O_APPEND)) != O_NONBLOCK;
}
int set_waiting(int fd, bool waiting);

// A connection that the peer ended, or that was shut here, or that failed.
bool receiving_is_shut(int fd);

// Whether what is sent stays a message of its own.
bool has_messages(int fd);

}  // namespace platform
