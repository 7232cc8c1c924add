// Sockets are made, connected, shut and closed.
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "network/socket.h"

namespace {

using platform::descriptor_of;
using platform::is_no_socket;
using platform::socket_failure;

constexpr int kWinsockInet6 = 23;

const sockaddr* generic(const void* address) {
    return static_cast<const sockaddr*>(address);
}

// 0, or -1 with errno: there is no room for an address.
int check_room(const void* address, const int* length) {
    if (address == nullptr || length == nullptr || *length < platform::kAddressSize) {
        return socket_failure(EFAULT);
    }
    return 0;
}

using NameCall = int (*)(int fd, sockaddr* address, socklen_t* length);

int name_by(NameCall call, SOCKET socket, void* address, int* length) {
    if (check_room(address, length) != 0) return -1;
    auto size = static_cast<socklen_t>(*length);
    if (call(descriptor_of(socket), static_cast<sockaddr*>(address), &size) != 0) {
        return socket_failure();
    }
    *length = static_cast<int>(size);
    return 0;
}

bool listens(int fd) {
    int listening = 0;
    socklen_t size = sizeof listening;
    return getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) == 0 && listening != 0;
}

}  // namespace

// Descriptors of files, which are numbers as well, stay open.
int closesocket(SOCKET socket) {
    const int fd = descriptor_of(socket);
    if (is_no_socket(fd)) return socket_failure();
    // After EINTR the descriptor is closed as well.
    return close(fd) == 0 || errno == EINTR ? 0 : socket_failure();
}

namespace platform {

SOCKET socket(int family, int type, int protocol) {
    if (type < SOCK_STREAM || type > SOCK_RAW) {
        errno = ESOCKTNOSUPPORT;
        return INVALID_SOCKET;
    }
    if (family != AF_INET && family != kWinsockInet6) {
        errno = EAFNOSUPPORT;
        return INVALID_SOCKET;
    }
    const int domain = family == kWinsockInet6 ? AF_INET6 : AF_INET;
    int fd = -1;
    do {
        fd = ::socket(domain, type | SOCK_CLOEXEC, protocol);
    } while (fd < 0 && errno == EINTR);
    return fd >= 0 ? static_cast<SOCKET>(fd) : INVALID_SOCKET;
}

int bind(SOCKET socket, const void* address, int length) {
    if (check_room(address, &length) != 0) return -1;
    int result = 0;
    do {
        result = ::bind(descriptor_of(socket), generic(address), static_cast<socklen_t>(length));
    } while (result != 0 && errno == EINTR);
    return result_of(result);
}

int listen(SOCKET socket, int backlog) {
    int result = 0;
    do {
        result = ::listen(descriptor_of(socket), backlog);
    } while (result != 0 && errno == EINTR);
    return result_of(result);
}

int set_waiting(int fd, bool waiting) {
    constexpr int both = O_NONBLOCK | O_APPEND;
    const int flags = fcntl(fd, F_GETFL);
    const int marks = !waiting ? O_NONBLOCK : listens(fd) ? both : 0;
    if (flags < 0) return socket_failure();
    return (flags & both) == marks ? 0 : result_of(fcntl(fd, F_SETFL, (flags & ~both) | marks));
}

// Waiting in the system would be ended by a time limit of the listener, and not by its close.
SOCKET accept(SOCKET socket, void* address, int* length) {
    if (address != nullptr && check_room(address, length) != 0) return INVALID_SOCKET;
    const int fd = descriptor_of(socket);
    const bool waiting = waits(fd);
    if (waiting && set_waiting(fd, true) != 0) return INVALID_SOCKET;
    const int flags = SOCK_CLOEXEC | (waiting ? 0 : SOCK_NONBLOCK);
    for (;;) {
        auto size = address != nullptr ? static_cast<socklen_t>(*length) : 0;
        const int accepted = accept4(fd, static_cast<sockaddr*>(address),
                                     address != nullptr ? &size : nullptr, flags);
        if (accepted >= 0) {
            if (address != nullptr) *length = static_cast<int>(size);
            return static_cast<SOCKET>(accepted);
        }
        if (errno == EINTR) continue;
        SocketSet one = {1, {socket}};
        const bool again = errno == EAGAIN && waits(fd);
        if (!again) socket_failure();
        if (!again || select(&one, nullptr, nullptr, -1, 0) < 0) return INVALID_SOCKET;
    }
}

// Called again after a signal, or the limit of sending that Linux has for it, it goes on waiting.
int connect(SOCKET socket, const void* address, int length) {
    if (check_room(address, &length) != 0) return -1;
    const int fd = descriptor_of(socket);
    for (bool again = false;; again = true) {
        if (::connect(fd, generic(address), static_cast<socklen_t>(length)) == 0) return 0;
        if (again && errno == EISCONN) return 0;
        if (errno == EINTR) continue;
        const bool goes_on = errno == EINPROGRESS || (again && errno == EALREADY);
        if (goes_on && waits(fd)) continue;
        return socket_failure(goes_on ? EWOULDBLOCK : errno);
    }
}

int shutdown(SOCKET socket, int how) {
    const int fd = descriptor_of(socket);
    if (::shutdown(fd, how) == 0) return 0;
    // Linux does it all the same.
    const int error = errno;
    if (error == ENOTCONN && has_messages(fd)) return 0;
    return socket_failure(error);
}

int getsockname(SOCKET socket, void* address, int* length) {
    if (name_by(::getsockname, socket, address, length) != 0) return -1;
    constexpr unsigned char none[6] = {};
    const auto* port_and_address = static_cast<const unsigned char*>(address) + 2;
    const bool bound = !std::equal(none, none + sizeof none, port_and_address);
    return bound || generic(address)->sa_family != AF_INET ? 0 : socket_failure(EINVAL);
}

int getpeername(SOCKET socket, void* address, int* length) {
    return name_by(::getpeername, socket, address, length);
}

}  // namespace platform
