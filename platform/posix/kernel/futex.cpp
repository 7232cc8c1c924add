#include "kernel/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

namespace {

constexpr std::size_t kMostWords = 65;  // the objects of a wait, and the bell of its thread

std::uint32_t* address_of(std::atomic<std::uint32_t>& word) {
    static_assert(sizeof word == sizeof(std::uint32_t));
    return reinterpret_cast<std::uint32_t*>(&word);
}

int scope(bool shared) {
    return shared ? 0 : FUTEX_PRIVATE_FLAG;
}

}  // namespace

std::timespec monotonic_now() {
    std::timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

std::timespec monotonic_after(std::uint32_t milliseconds) {
    std::timespec time = monotonic_now();
    time.tv_sec += milliseconds / 1000;
    time.tv_nsec += milliseconds % 1000 * 1'000'000L;
    if (time.tv_nsec >= 1'000'000'000) {
        time.tv_nsec -= 1'000'000'000;
        ++time.tv_sec;
    }
    return time;
}

bool has_passed(const std::timespec& deadline) {
    const std::timespec now = monotonic_now();
    return now.tv_sec > deadline.tv_sec ||
           (now.tv_sec == deadline.tv_sec && now.tv_nsec >= deadline.tv_nsec);
}

void futex_sleep(const FutexWord& word, const std::timespec* deadline) {
    // Unlike FUTEX_WAIT, FUTEX_WAIT_BITSET takes a point in time.
    syscall(SYS_futex, address_of(*word.word), FUTEX_WAIT_BITSET | scope(word.shared), word.seen,
            deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
}

bool futex_sleep(const FutexWord* words, std::size_t count, const std::timespec* deadline) {
    futex_waitv waits[kMostWords] = {};
    for (std::size_t i = 0; i < count; ++i) {
        waits[i].val = words[i].seen;
        waits[i].uaddr = reinterpret_cast<std::uintptr_t>(address_of(*words[i].word));
        waits[i].flags = static_cast<std::uint32_t>(FUTEX_32 | scope(words[i].shared));
    }
    const long result = syscall(SYS_futex_waitv, waits, count, 0, deadline, CLOCK_MONOTONIC);
    return result >= 0 || errno == EAGAIN || errno == EINTR || errno == ETIMEDOUT;
}

int futex_wake(std::atomic<std::uint32_t>& word, int count, bool shared) {
    const long woken = syscall(SYS_futex, address_of(word), FUTEX_WAKE | scope(shared), count,
                               nullptr, nullptr, 0);
    return woken > 0 ? static_cast<int>(woken) : 0;
}

void futex_wake_counted(std::atomic<std::uint32_t>& word,
                        const std::atomic<std::uint32_t>& sleepers, int count) {
    if (sleepers != 0) futex_wake(word, count, true);
}

}  // namespace platform
