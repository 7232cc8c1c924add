#include "platform/ticks.h"

#include <sched.h>

#include <cerrno>

namespace {

constexpr std::int64_t kNanoseconds = 1'000'000'000;

std::int64_t nanoseconds_of(clockid_t clock) {
    std::timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * kNanoseconds + now.tv_nsec;
}

void sleep_for(std::timespec rest) {
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

}  // namespace

BOOL QueryPerformanceCounter(LARGE_INTEGER* ticks) {
    ticks->QuadPart = nanoseconds_of(CLOCK_MONOTONIC);
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* ticks_per_second) {
    ticks_per_second->QuadPart = kNanoseconds;
    return TRUE;
}

DWORD GetTickCount() {
    return static_cast<DWORD>(nanoseconds_of(CLOCK_BOOTTIME) / 1'000'000);
}

void Sleep(DWORD milliseconds) {
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    do {
        sleep_for({milliseconds / 1000, milliseconds % 1000 * 1'000'000});
    } while (milliseconds == INFINITE);
}
