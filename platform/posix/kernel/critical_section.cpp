#include "platform/critical_section.h"

#include "kernel/fork.h"
#include "kernel/futex.h"

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    section->state.store(0, std::memory_order_relaxed);
    section->entered_again = 0;
    section->holder.store(0, std::memory_order_relaxed);
}

void DeleteCriticalSection(CRITICAL_SECTION* /*section*/) {}

namespace platform {

__thread std::uint64_t section_number = 0;

namespace {

constinit std::atomic<std::uint64_t> last_number{0};

// Of the threads up to that number only the survivor is there; none are gone before the first fork.
std::uint64_t last_gone = 0;
std::uint64_t survivor = 0;

// Whoever uses sections wants forks to be seen.
const bool watched = fork_is_watched();

}  // namespace

std::uint64_t new_section_number() {
    return section_number = ++last_number;
}

void forget_other_holders() {
    last_gone = last_number;
    survivor = section_number;
}

// Of several who try, one puts its number in the place of the holder's, which nobody else changes.
bool take_left_behind(CRITICAL_SECTION* section, std::uint64_t self) {
    std::uint64_t holder = section->holder.load(std::memory_order_relaxed);
    const bool gone = holder != 0 && holder <= last_gone && holder != survivor;
    if (!gone || !section->holder.compare_exchange_strong(holder, self)) return false;
    section->entered_again = 0;
    section->state.store(2, std::memory_order_relaxed);
    return true;
}

// Who slept takes the section as one that is waited for: others may still sleep.
void wait_for_section(CRITICAL_SECTION* section, std::uint64_t self) {
    while (section->state.exchange(2, std::memory_order_acquire) != 0) {
        if (take_left_behind(section, self)) return;
        futex_sleep({&section->state, 2, false}, nullptr);
    }
    section->holder.store(self, std::memory_order_relaxed);
}

void wake_waiter(CRITICAL_SECTION* section) {
    futex_wake(section->state, 1, false);
}

}  // namespace platform
