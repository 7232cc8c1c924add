// Bytes are moved through sockets.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>

#include "network/socket.h"
#include "platform/ticks.h"

namespace {

using platform::socket_failure;

// Flags as the system has them, -1 for one that it isn't to see.
int system_flags(int flags) {
    constexpr int alike = MSG_OOB | MSG_PEEK | MSG_DONTROUTE;
    constexpr int winsock_all = 8;
    if ((flags & ~(alike | winsock_all)) != 0) return -1;
    return (flags & alike) | ((flags & winsock_all) != 0 ? MSG_WAITALL : 0);
}

struct Direction {
    int limit;  // the option of its time limit
    short event;
};
constexpr Direction kSending = {SO_SNDTIMEO, POLLOUT};
constexpr Direction kReceiving = {SO_RCVTIMEO, POLLIN};

// Nanoseconds that are left of the time limit, -1 if there is none.
std::int64_t left_of_limit(int fd, int option, std::uint64_t begin) {
    constexpr std::int64_t second = 1'000'000'000;
    timeval limit{};
    socklen_t size = sizeof limit;
    if (getsockopt(fd, SOL_SOCKET, option, &limit, &size) != 0) return -1;
    if (limit.tv_sec == 0 && limit.tv_usec == 0) return -1;
    const std::int64_t whole = limit.tv_sec * second + limit.tv_usec * 1000;
    const std::int64_t passed = platform::span_ticks(begin, platform::span_reading());
    return std::max<std::int64_t>(whole - passed, 0);
}

int limit_passed() {
    return socket_failure(ETIMEDOUT);
}

// Makes the call until no signal ends it. One that was interrupted starts its time limit anew, so
// the rest of that is waited for here and the call doesn't wait.
template <typename Call>
int uninterrupted(int fd, Direction way, Call call) {
    const std::uint64_t begin = platform::span_reading();
    for (int flag = 0;;) {
        const ssize_t count = call(flag);
        if (count >= 0) return static_cast<int>(count);
        const bool no_wait = errno == EAGAIN && flag == 0;
        if (no_wait) return platform::waits(fd) ? limit_passed() : socket_failure(EWOULDBLOCK);
        if (errno != EINTR && errno != EAGAIN) return socket_failure();
        const std::int64_t left = left_of_limit(fd, way.limit, begin);
        if (left == 0) return limit_passed();
        flag = left > 0 ? MSG_DONTWAIT : 0;
        if (flag == 0) continue;
        constexpr std::int64_t milli = 1'000'000;
        pollfd watched = {fd, way.event, 0};
        poll(&watched, 1, static_cast<int>(std::min<std::int64_t>(left / milli + 1, INT_MAX)));
    }
}

// -1 for what has none.
int tcp_state(int fd) {
    tcp_info info{};
    socklen_t size = sizeof info;
    return getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_state : -1;
}

// Of a stream at its end: whether the peer would go on.
bool was_shut_here(int fd) {
    const int state = tcp_state(fd);
    return state == TCP_ESTABLISHED || state == TCP_FIN_WAIT1 || state == TCP_FIN_WAIT2;
}

// A pipe that broke because it was shut here, because the peer closed it, or that never was one.
int broken_pipe(int fd) {
    const int state = tcp_state(fd);
    if (state == TCP_LISTEN) return socket_failure(ENOTCONN);
    if (state != TCP_CLOSE) return socket_failure(ESHUTDOWN);
    return socket_failure(platform::receiving_is_shut(fd) ? ECONNRESET : ENOTCONN);
}

int receive_by(int fd, msghdr& message, int flags) {
    const int own = system_flags(flags);
    if (own < 0) return socket_failure(EOPNOTSUPP);
    const socklen_t room = message.msg_namelen;
    const int count = uninterrupted(fd, kReceiving, [&](int flag) {
        message.msg_namelen = room;
        return recvmsg(fd, &message, own | flag | MSG_CMSG_CLOEXEC);
    });
    if (count >= 0 && (message.msg_flags & MSG_TRUNC) != 0) return socket_failure(EMSGSIZE);
    if (count != 0) return count;
    // Where no peer ends anything it may be a message of no bytes.
    const bool shut = platform::has_messages(fd)
                          ? platform::receiving_is_shut(fd)
                          : message.msg_iov->iov_len > 0 && was_shut_here(fd);
    return shut ? socket_failure(ESHUTDOWN) : 0;
}

msghdr message_of(iovec& part, void* address, int length) {
    msghdr message{};
    message.msg_name = address;
    message.msg_namelen = address != nullptr ? static_cast<socklen_t>(length) : 0;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    return message;
}

}  // namespace

namespace platform {

bool receiving_is_shut(int fd) {
    pollfd watched = {fd, POLLRDHUP, 0};
    return poll(&watched, 1, 0) == 1 && (watched.revents & POLLRDHUP) != 0;
}

bool has_messages(int fd) {
    int type = SOCK_STREAM;
    socklen_t size = sizeof type;
    return ::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type != SOCK_STREAM;
}

int send(SOCKET socket, const void* data, int size, int flags) {
    return sendto(socket, data, size, flags, nullptr, 0);
}

int recv(SOCKET socket, void* data, int size, int flags) {
    return recvfrom(socket, data, size, flags, nullptr, nullptr);
}

int sendto(SOCKET socket, const void* data, int size, int flags, const void* address, int length) {
    if (size < 0 || (address != nullptr && length < kAddressSize)) return socket_failure(EFAULT);
    const int own = system_flags(flags);
    if (own < 0) return socket_failure(EOPNOTSUPP);
    const int fd = descriptor_of(socket);
    const auto* to = static_cast<const sockaddr*>(address);
    const auto room = static_cast<socklen_t>(address != nullptr ? length : 0);
    const int sent = uninterrupted(fd, kSending, [=](int flag) {
        const int all_flags = own | flag | MSG_NOSIGNAL;
        return ::sendto(fd, data, static_cast<size_t>(size), all_flags, to, room);
    });
    return sent < 0 && errno == EPIPE ? broken_pipe(fd) : sent;
}

int recvfrom(SOCKET socket, void* data, int size, int flags, void* address, int* length) {
    const bool too_small = address != nullptr && (length == nullptr || *length < kAddressSize);
    if (size < 0 || too_small) return socket_failure(EFAULT);
    iovec part = {data, static_cast<size_t>(size)};
    msghdr message = message_of(part, address, address != nullptr ? *length : 0);
    const int count = receive_by(descriptor_of(socket), message, flags);
    // A stream tells no address.
    if (count >= 0 && address != nullptr && message.msg_namelen > 0) {
        *length = static_cast<int>(message.msg_namelen);
    }
    return count;
}

}  // namespace platform
