// Waiting for sockets, built on poll: descriptors may be of any size.
#include <poll.h>

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

    // How many are ready after that many nanoseconds; -1 with errno.
    int wait(std::int64_t nanoseconds) {
        const std::timespec limit = {nanoseconds / kSecond, nanoseconds % kSecond};
        return ppoll(entries_, count_, &limit, nullptr);
    }

    [[nodiscard]] bool one_is_closed() const {
        return std::any_of(entries_, entries_ + count_,
                           [](const pollfd& entry) { return (entry.revents & POLLNVAL) != 0; });
    }

    // Leaves those in a set that are ready; from is the first entry of the set, and then the next
    // set's.
    static std::uint32_t keep_ready(SocketSet* set, const pollfd*& from) {
        if (set == nullptr) return 0;
        std::uint32_t ready = 0;
        for (std::uint32_t i = 0; i < set->count; ++i, ++from) {
            if ((from->revents & (from->events | POLLERR | POLLHUP)) == 0) continue;
            set->sockets[ready++] = set->sockets[i];
        }
        set->count = ready;
        return ready;
    }

    [[nodiscard]] const pollfd* entries() const { return entries_; }

 private:
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
    for (std::int64_t left = limited ? limit : kSecond;;) {
        const int ready = watched.wait(std::min(left, kSecond));
        if (ready < 0 && errno != EINTR) return socket_failure();
        if (ready > 0) break;
        if (limited) left = end > 0 ? std::max<std::int64_t>(end - now(), 0) : 0;
        if (left == 0 && ready == 0) break;
    }
    if (watched.one_is_closed()) return socket_failure(ENOTSOCK);
    const pollfd* entry = watched.entries();
    std::uint32_t ready = 0;
    for (SocketSet* set : sets) ready += Watched::keep_ready(set, entry);
    return static_cast<int>(ready);
}

}  // namespace platform
