// How a waiter sleeps, and what it does when woken.
#include <optional>

#include "kernel/common_bell.h"
#include "kernel/waiter.h"

namespace platform {

namespace {

constexpr std::uint32_t kLookAgain = 1000;   // milliseconds
constexpr std::uint32_t kLookForOwner = 50;  // milliseconds

std::atomic<bool> fallback_forced{false};

const std::timespec* earlier_of(const std::timespec* deadline, std::uint32_t milliseconds,
                                std::timespec* soon) {
    *soon = monotonic_after(milliseconds);
    const bool sooner = deadline == nullptr || deadline->tv_sec > soon->tv_sec ||
                        (deadline->tv_sec == soon->tv_sec && deadline->tv_nsec > soon->tv_nsec);
    return sooner ? soon : deadline;
}

}  // namespace

// TerminateThread may end the thread while it sleeps, nowhere else. Should it end there, or be
// killed, after the kernel woke it for a mutex, the kernel wakes the next. This it does for one
// mutex of a thread; the others, like all that is signalled by who may be killed before it wakes
// anybody, are looked at again from time to time.
DWORD Waiter::sleep_until_done(DWORD milliseconds) {
    const Unbroken unbroken;
    std::optional<RobustOperation> heir;
    if (shared_mutexes_ > 0) heir.emplace(first_shared_mutex()->state().links);
    std::timespec deadline{};
    const bool limited = milliseconds != INFINITE;
    if (limited) deadline = monotonic_after(milliseconds);
    DWORD result = kNotYet;
    bool late = false;
    while (!served_ && result == kNotYet && !late) {
        sleep(limited ? &deadline : nullptr);
        late = limited && has_passed(deadline);
        if (!served_) result = look_again(late);
    }
    if (served_) result = result_;
    heir.reset();
    asleep_ = false;
    drop_kept();
    return result;
}

Object* Waiter::first_shared_mutex() {
    for (std::size_t i = 0; i < count_; ++i) {
        if (objects_[i]->shared() && objects_[i]->kind->type == ObjectType::mutex) {
            return objects_[i];
        }
    }
    return nullptr;
}

// Objects of this process would have served us.
DWORD Waiter::look_again(bool late) {
    const ObjectLock lock;
    bell_seen_ = bell_.load();
    if (served_) return result_;
    DWORD result = kNotYet;
    if (shared_ > 0) {
        common_bell_seen_ = common_bell().load();
        result = attempt();
        if (result != kNotYet) finish(result);
        pass_on();
    }
    if (late || result != kNotYet) dequeue();
    return result;
}

// Of several objects that became ready at once the thread took one, and may have been woken for
// another, which then waits for someone else.
void Waiter::pass_on() {
    constexpr DWORD kNoThread = 0;
    for (std::size_t i = 0; i < count_; ++i) {
        Object& object = *objects_[i];
        if (object.shared() && object.kind->ready(object, kNoThread)) {
            futex_wake(object.state().word, 1, true);
        }
    }
}

void Waiter::sleep(const std::timespec* deadline) {
    FutexWord words[MAXIMUM_WAIT_OBJECTS + 1];
    std::size_t count = 0;
    if (shared_ < count_) words[count++] = {&bell_, bell_seen_, false};
    for (std::size_t i = 0; i < count_; ++i) {
        if (!objects_[i]->shared() || !missing_[i]) continue;
        words[count++] = {&objects_[i]->state().word, seen_[i], true};
    }
    std::timespec soon{};
    if (shared_ > 0) deadline = earlier_of(deadline, kLookAgain, &soon);
    count_sleeper(true);
    {
        const Breakable ends_here;
        if (count == 1) futex_sleep(words[0], deadline);
        if (count > 1) sleep_for_several(words, count, deadline);
    }
    count_sleeper(false);
}

// Before the sleep and after it, where others look whether anybody sleeps.
void Waiter::count_sleeper(bool begins) {
    for (std::size_t i = 0; i < count_; ++i) {
        if (!objects_[i]->shared() || !missing_[i]) continue;
        std::atomic<std::uint32_t>& sleepers = objects_[i]->state().sleepers;
        begins ? sleepers.fetch_add(1) : sleepers.fetch_sub(1);
    }
}

// Without the kernel's help there is one word to sleep on, of which all who signal an object of
// several processes think from the first time on that somebody slept there. But nobody rings for an
// owner that dies.
void Waiter::sleep_for_several(const FutexWord* words, std::size_t count,
                               const std::timespec* deadline) {
    if (!fallback_forced && futex_sleep(words, count, deadline)) return;
    std::atomic<std::uint32_t>& bell = common_bell();
    if ((common_bell_seen_ & kCommonBellInUse) == 0) {
        bell |= kCommonBellInUse;
        return;  // and look again: what changed so far didn't ring
    }
    std::timespec soon{};
    if (shared_mutexes_ > 0) deadline = earlier_of(deadline, kLookForOwner, &soon);
    futex_sleep({&bell, common_bell_seen_, true}, deadline);
}

void force_wait_fallback(bool force) {
    fallback_forced = force;
}

}  // namespace platform
