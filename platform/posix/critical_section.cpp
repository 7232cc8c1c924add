#include "platform/critical_section.h"

#include "futex.h"

namespace {

constexpr std::uint32_t kWaitedFor = 2;

}  // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    section->state.store(0, std::memory_order_relaxed);
    section->entered_again = 0;
    section->holder.store(nullptr, std::memory_order_relaxed);
}

void DeleteCriticalSection(CRITICAL_SECTION* /*section*/) {}

namespace platform {

// Who slept takes the section as one that is waited for: others may still sleep.
void wait_for_section(CRITICAL_SECTION* section) {
    while (section->state.exchange(kWaitedFor, std::memory_order_acquire) != 0) {
        futex_sleep({&section->state, kWaitedFor, false}, nullptr);
    }
    section->holder.store(__builtin_thread_pointer(), std::memory_order_relaxed);
}

void wake_waiter(CRITICAL_SECTION* section) {
    futex_wake(section->state, 1, false);
}

}  // namespace platform
