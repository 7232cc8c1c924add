// A lock between the threads of one process. The thread that holds it may enter again and then
// leaves as many times. Entering and leaving make no system call unless another thread is in the
// way.
//
// Each of these functions wants a section that was initialized; none reports a failure. A section
// is not to be copied or moved, and nobody may hold it when it is deleted.
#pragma once

#include "platform/types.h"

#if !defined(_WIN32)

#include <atomic>
#include <cstdint>

struct CRITICAL_SECTION {
    std::atomic<std::uint32_t> state;  // 0 free, 1 held, 2 held and perhaps waited for
    std::uint32_t entered_again;       // the holder's
    std::atomic<void*> holder;         // thread pointer, null when free
};
// Callers keep it in a block of this size.
static_assert(sizeof(CRITICAL_SECTION) <= 64);

void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);

namespace platform {

void wait_for_section(CRITICAL_SECTION* section);
void wake_waiter(CRITICAL_SECTION* section);

}  // namespace platform

// Not zero when the calling thread now holds it, 0 when another does. Never waits.
inline BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    void* const self = __builtin_thread_pointer();
    // Only the thread itself ever stores this value.
    if (section->holder.load(std::memory_order_relaxed) == self) {
        ++section->entered_again;
        return TRUE;
    }
    std::uint32_t free = 0;
    if (!section->state.compare_exchange_strong(free, 1, std::memory_order_acquire,
                                                std::memory_order_relaxed)) {
        return FALSE;
    }
    section->holder.store(self, std::memory_order_relaxed);
    return TRUE;
}

inline void EnterCriticalSection(CRITICAL_SECTION* section) {
    if (TryEnterCriticalSection(section) == FALSE) platform::wait_for_section(section);
}

// Only by the thread that holds the section.
inline void LeaveCriticalSection(CRITICAL_SECTION* section) {
    if (section->entered_again != 0) {
        --section->entered_again;
        return;
    }
    section->holder.store(nullptr, std::memory_order_relaxed);
    if (section->state.exchange(0, std::memory_order_release) == 2) platform::wake_waiter(section);
}

#endif
