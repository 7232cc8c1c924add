#include "platform/critical_section.h"

#include "kernel/futex.h"

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    section->state.store(0, std::memory_order_relaxed);
    section->entered_again = 0;
    section->holder.store(nullptr, std::memory_order_relaxed);
}

void DeleteCriticalSection(CRITICAL_SECTION* /*section*/) {}

namespace platform {

constinit std::atomic<std::uint32_t> section_generation{0};
void* section_survivor = nullptr;

void forget_other_holders() {
    section_generation += 4;
    section_survivor = __builtin_thread_pointer();
}

// Who slept takes the section as one that is waited for: others may still sleep.
void wait_for_section(CRITICAL_SECTION* section) {
    const std::uint32_t waited_for = section_generation.load(std::memory_order_relaxed) | 3;
    for (;;) {
        const std::uint32_t before = section->state.exchange(waited_for, std::memory_order_acquire);
        if (before == 0 || is_left_behind(section, before)) break;
        futex_sleep({&section->state, waited_for, false}, nullptr);
    }
    section->entered_again = 0;
    section->holder.store(__builtin_thread_pointer(), std::memory_order_relaxed);
}

void wake_waiter(CRITICAL_SECTION* section) {
    futex_wake(section->state, 1, false);
}

}  // namespace platform
