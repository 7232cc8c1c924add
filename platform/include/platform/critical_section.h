// A lock between the threads of one process. The thread that holds it may enter again and then
// leaves as many times. Entering and leaving make no system call unless another thread is in the
// way.
//
// In a forked child the thread that forked holds what it held; what any other thread of the parent
// held is free, in whatever state that thread left what the section guards. (Not so a section that
// such a thread was just entering or leaving, between two instructions.)
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
    std::atomic<std::uint32_t> state;   // 0 free, 1 held, 2 held and perhaps waited for
    std::uint32_t entered_again;        // the holder's
    std::atomic<std::uint64_t> holder;  // the number of a thread, 0 when free
};
// Callers keep it in a block of this size.
static_assert(sizeof(CRITICAL_SECTION) <= 64);

void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);

namespace platform {

void wait_for_section(CRITICAL_SECTION* section, std::uint64_t self);
void wake_waiter(CRITICAL_SECTION* section);
// Takes a section whose holder is gone, since it was a thread of a forked process's parent.
bool take_left_behind(CRITICAL_SECTION* section, std::uint64_t self);
// In a forked child: all threads but the calling one are gone.
void forget_other_holders();

// A number that no other thread of the process, or of those it was forked from, ever has.
extern __thread std::uint64_t section_number __attribute__((tls_model("initial-exec")));
std::uint64_t new_section_number();
inline std::uint64_t own_section_number() {
    return section_number != 0 ? section_number : new_section_number();
}

// Whether the calling thread holds the section. Only the thread itself ever stores its number.
inline bool holds_section(const CRITICAL_SECTION* section) {
    return section->holder.load(std::memory_order_relaxed) == own_section_number();
}

}  // namespace platform

// Not zero when the calling thread now holds it, 0 when another does. Never waits.
inline BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    const std::uint64_t self = platform::own_section_number();
    if (section->holder.load(std::memory_order_relaxed) == self) {
        ++section->entered_again;
        return TRUE;
    }
    std::uint32_t free = 0;
    if (!section->state.compare_exchange_strong(free, 1, std::memory_order_acquire,
                                                std::memory_order_relaxed)) {
        return platform::take_left_behind(section, self) ? TRUE : FALSE;
    }
    section->holder.store(self, std::memory_order_relaxed);
    return TRUE;
}

inline void EnterCriticalSection(CRITICAL_SECTION* section) {
    if (TryEnterCriticalSection(section) == FALSE) {
        platform::wait_for_section(section, platform::own_section_number());
    }
}

// Only by the thread that holds the section.
inline void LeaveCriticalSection(CRITICAL_SECTION* section) {
    if (section->entered_again != 0) {
        --section->entered_again;
        return;
    }
    section->holder.store(0, std::memory_order_relaxed);
    if (section->state.exchange(0, std::memory_order_release) == 2) platform::wake_waiter(section);
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
