// Tick counters and sleeping. platform::clock, the elapsed time of the process, is in
// platform/time.h.
#pragma once

#include <cstdint>

#include "platform/time.h"
#include "platform/types.h"

#if !defined(_WIN32)

struct LARGE_INTEGER {
    std::int64_t QuadPart;
};

// The time limit that means none.
constexpr DWORD INFINITE = 0xFFFFFFFF;

// A clock that never goes back, and its ticks per second: here nanoseconds. Always succeed.
BOOL QueryPerformanceCounter(LARGE_INTEGER* ticks);
BOOL QueryPerformanceFrequency(LARGE_INTEGER* ticks_per_second);

// Milliseconds since the system started; wraps after 49.7 days.
DWORD GetTickCount();

// At least this many milliseconds; 0 gives way to other threads, INFINITE never returns.
void Sleep(DWORD milliseconds);

#endif

namespace platform {

// For measuring short spans at the least cost: a reading of the processor's own counter where the
// system keeps its time by it, else of the clock. Readings mean something in differences alone.
std::uint64_t span_reading();

// The ticks of QueryPerformanceCounter between two readings; 0 for readings in the wrong order.
std::int64_t span_ticks(std::uint64_t from, std::uint64_t to);

}  // namespace platform
