// Waiting for sockets, built on poll: descriptors may be of any size.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <ctime>

#include "network/socket.h"
#include "platform/ticks.h"

namespace {

using platform::kMostSockets;
using platform::SocketSet;

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr short kEvents[3] = {POLLIN, POLLOUT, POLLPRI};

std::int64_t now() {
    LARGE_INTEGER ticks;
    QueryPerformanceCounter(&ticks);
    return ticks.QuadPart;
}

// A stream without a connection: there never was one, or it failed before it stood. One that stood
// was given room to receive.
bool never_connected(int fd) {
    tcp_info info{};
    socklen_t size = sizeof info;
    return getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 &&
           info.tcpi_state == TCP_CLOSE && info.tcpi_rcv_space == 0;
}

// The sockets of all sets, in order.
class Watched {
 public:
    // 0, or the error.
    int add(const SocketSet* set, short events) {
        if (set == nullptr) return 0;
        if (set->count > kMostSockets) return EINVAL;
        for (std::uint32_t i = 0; i < set->count; ++i) {
            const int fd = platform::descriptor_of(set->sockets[i]);
            if (fd < 0) return ENOTSOCK;  // poll passes over it
            entries_[count_++] = {fd, events, 0};
        }
        return 0;
    }

    [[nodiscard]] bool empty() const { return count_ == 0; }

    // How many seem to be ready after that many nanoseconds; -1 with errno.
    int wait(std::int64_t nanoseconds) {
        const std::timespec limit = {nanoseconds / kSecond, nanoseconds % kSecond};
        return ppoll(entries_, count_, &limit, nullptr);
    }

    // How many of them are, with the others put aside; -1 with errno.
    int settle() {
        int ready = 0;
        for (pollfd& entry : *this) {
            if (entry.revents == 0) continue;
            if ((entry.revents & POLLNVAL) != 0 || platform::is_no_socket(entry.fd)) {
                return platform::socket_failure(ENOTSOCK);
            }
            if (is_ready(entry)) {
                ++ready;
            } else {
                entry = {~entry.fd, entry.events, 0};  // which poll passes over
            }
        }
        return ready;
    }

    // Takes in again what was put aside; false when one is no socket, or not any more.
    bool look_again() {
        bool all = true;
        for (pollfd& entry : *this) {
            if (entry.fd < 0) entry.fd = ~entry.fd;
            all = all && !platform::is_no_socket(entry.fd);
        }
        return all;
    }

    // Leaves those in a set that are ready; from is the first entry of the set, and then the next
    // set's.
    static void keep_ready(SocketSet* set, const pollfd*& from) {
        if (set == nullptr) return;
        std::uint32_t ready = 0;
        for (std::uint32_t i = 0; i < set->count; ++i, ++from) {
            if (from->revents != 0) set->sockets[ready++] = set->sockets[i];
        }
        set->count = ready;
    }

    pollfd* begin() { return entries_; }
    pollfd* end() { return entries_ + count_; }

 private:
    // The system tells of errors and ends in every set.
    static bool is_ready(const pollfd& entry) {
        const bool ended = (entry.revents & (POLLERR | POLLHUP)) != 0;
        const bool never = ended && never_connected(entry.fd);
        if ((entry.events & POLLPRI) == 0) return !never;
        return (entry.revents & POLLPRI) != 0 || (never && platform::receiving_is_shut(entry.fd));
    }

    pollfd entries_[3 * kMostSockets];  // those in use have values
    nfds_t count_ = 0;
};

}  // namespace

namespace platform {

// Once a second it looks again, since poll doesn't see that a socket is closed meanwhile.
int select(SocketSet* read, SocketSet* write, SocketSet* except, std::int32_t seconds,
           std::int32_t microseconds) {
    SocketSet* const sets[3] = {read, write, except};
    Watched watched;
    for (int i = 0; i < 3; ++i) {
        const int error = watched.add(sets[i], kEvents[i]);
        if (error != 0) return socket_failure(error);
    }
    if (watched.empty() || (seconds >= 0 && microseconds < 0)) return socket_failure(EINVAL);
    const bool limited = seconds >= 0;
    const std::int64_t limit = seconds * kSecond + microseconds * std::int64_t{1000};
    const std::int64_t end = limited && limit > 0 ? now() + limit : 0;
    int ready = 0;
    for (std::int64_t left = limited ? limit : kSecond; ready == 0;) {
        const int seeming = watched.wait(std::min(left, kSecond));
        if (seeming < 0 && errno != EINTR) return socket_failure();
        if (seeming > 0) ready = watched.settle();
        if (ready < 0) return -1;
        if (limited) left = end > 0 ? std::max<std::int64_t>(end - now(), 0) : 0;
        if (seeming == 0 && left == 0) break;
        if (seeming <= 0 && !watched.look_again()) return socket_failure(ENOTSOCK);
    }
    const pollfd* entry = watched.begin();
    for (SocketSet* set : sets) Watched::keep_ready(set, entry);
    return ready;
}

}  // namespace platform
