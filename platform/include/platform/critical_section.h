// A lock between the threads of one process. The thread that holds it may enter again and then
// leaves as many times. Entering and leaving make no system call unless another thread is in the
// way.
//
// In a forked child the thread that forked holds what it held; what any other thread of the parent
// held is free, in whatever state that thread left what the section guards.
//
// Each of these functions wants a section that was initialized; none reports a failure. A section
// is not to be copied or moved, and nobody may hold it when it is deleted.
#pragma once

#include "platform/types.h"

#if defined(_WIN32)

namespace platform {

// Whether the calling thread holds the section.
inline bool holds_section(const CRITICAL_SECTION* section) {
    return HandleToULong(section->OwningThread) == GetCurrentThreadId();
}

}  // namespace platform

#else

#include <atomic>
#include <cstdint>

struct CRITICAL_SECTION {
    // 0 free; else the generation it was taken in with 1, or 3 when it is perhaps waited for.
    std::atomic<std::uint32_t> state;
    std::uint32_t entered_again;  // the holder's
    std::atomic<void*> holder;    // thread pointer, null when free
};
// Callers keep it in a block of this size.
static_assert(sizeof(CRITICAL_SECTION) <= 64);

void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);

namespace platform {

void wait_for_section(CRITICAL_SECTION* section);
void wake_waiter(CRITICAL_SECTION* section);

// How many forks lie between the first process and this one, times 4; and the thread pointer of the
// thread that made the last of them.
extern std::atomic<std::uint32_t> section_generation;
extern void* section_survivor;
// In a forked child: the sections of all other threads become free.
void forget_other_holders();

// Whether the calling thread holds the section. Only the thread itself ever stores its thread
// pointer, which may once have been that of a thread the parent had.
inline bool holds_section(const CRITICAL_SECTION* section, const void* self) {
    if (section->holder.load(std::memory_order_relaxed) != self) return false;
    const std::uint32_t taken_in = section->state.load(std::memory_order_relaxed) & ~3U;
    return taken_in == section_generation.load(std::memory_order_relaxed) ||
           self == section_survivor;
}

inline bool holds_section(const CRITICAL_SECTION* section) {
    return holds_section(section, __builtin_thread_pointer());
}

// Whether it was held by a thread that the fork left behind.
inline bool is_left_behind(const CRITICAL_SECTION* section, std::uint32_t state) {
    return (state & ~3U) != section_generation.load(std::memory_order_relaxed) &&
           section->holder.load(std::memory_order_relaxed) != section_survivor;
}

}  // namespace platform

// Not zero when the calling thread now holds it, 0 when another does. Never waits.
inline BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    void* const self = __builtin_thread_pointer();
    if (platform::holds_section(section, self)) {
        ++section->entered_again;
        return TRUE;
    }
    const std::uint32_t held = platform::section_generation.load(std::memory_order_relaxed) | 1;
    std::uint32_t state = 0;
    while (state == 0 || platform::is_left_behind(section, state)) {
        if (!section->state.compare_exchange_weak(state, held, std::memory_order_acquire,
                                                  std::memory_order_relaxed)) {
            continue;
        }
        section->entered_again = 0;
        section->holder.store(self, std::memory_order_relaxed);
        return TRUE;
    }
    return FALSE;
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
    const std::uint32_t state = section->state.exchange(0, std::memory_order_release);
    if ((state & 2) != 0) platform::wake_waiter(section);
}

#endif

namespace platform {

// The same for an object of C++, to be declared constinit: it is ready before any code runs.
class Lock {
 public:
#if defined(_WIN32)
    void lock() {
        AcquireSRWLockExclusive(&section_);
    }
    void unlock() {
        ReleaseSRWLockExclusive(&section_);
    }

 private:
    SRWLOCK section_ = SRWLOCK_INIT;  // isn't entered again
#else
    void lock() {
        EnterCriticalSection(&section_);
    }
    void unlock() {
        LeaveCriticalSection(&section_);
    }

 private:
    CRITICAL_SECTION section_ = {};
#endif
};

}  // namespace platform
