// Tick counters and sleeping. platform::clock, the elapsed time of the process, is in
// platform/time.h.
#pragma once

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
