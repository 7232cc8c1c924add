// Spans by the time-stamp counter of x86-64. The kernel has tested whether it runs steadily and
// alike on all processors, and tells by the clock that it keeps time with.
#include <cstdio>
#include <cstring>

#include "platform/ticks.h"

#if defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace platform {

namespace {

std::uint64_t clock_ticks() {
    LARGE_INTEGER ticks;
    QueryPerformanceCounter(&ticks);
    return static_cast<std::uint64_t>(ticks.QuadPart);
}

#if defined(__x86_64__)

constexpr int kFractionBits = 32;

bool kernel_uses_counter() {
    FILE* file =
        std::fopen("/sys/devices/system/clocksource/clocksource0/current_clocksource", "re");
    if (file == nullptr) return false;
    char name[16] = "";
    const bool read = std::fgets(name, sizeof name, file) != nullptr;
    std::fclose(file);
    return read && std::strcmp(name, "tsc\n") == 0;
}

// Both counters at one moment.
struct Moment {
    std::uint64_t cycles;
    std::uint64_t ticks;
};

// The tightest of some readings: a thread that loses the processor in one doesn't spoil it.
Moment read_moment() {
    Moment best{};
    std::uint64_t best_gap = UINT64_MAX;
    for (int i = 0; i < 5; ++i) {
        const std::uint64_t before = __rdtsc();
        const std::uint64_t ticks = clock_ticks();
        const std::uint64_t gap = __rdtsc() - before;
        if (gap >= best_gap) continue;
        best_gap = gap;
        best = {before + gap / 2, ticks};
    }
    return best;
}

// Ticks of the clock per cycle, with 32 bits of fraction; 0 where spans are read off the clock. One
// thousandth is near enough, and known in 50 microseconds.
std::uint64_t measure() {
    constexpr std::uint64_t kLongEnough = 50'000;
    if (!kernel_uses_counter()) return 0;
    const Moment begin = read_moment();
    while (clock_ticks() - begin.ticks < kLongEnough) {
    }
    const Moment end = read_moment();
    return ((end.ticks - begin.ticks) << kFractionBits) / (end.cycles - begin.cycles);
}

std::uint64_t ticks_per_cycle() {
    static const std::uint64_t factor = measure();
    return factor;
}

#endif

}  // namespace

#if defined(__x86_64__)

std::uint64_t span_reading() {
    return ticks_per_cycle() != 0 ? __rdtsc() : clock_ticks();
}

std::int64_t span_ticks(std::uint64_t from, std::uint64_t to) {
    const std::uint64_t span = to > from ? to - from : 0;
    const std::uint64_t factor = ticks_per_cycle();
    if (factor == 0) return static_cast<std::int64_t>(span);
    __extension__ using Wide = unsigned __int128;
    return static_cast<std::int64_t>(static_cast<Wide>(span) * factor >> kFractionBits);
}

#else

std::uint64_t span_reading() {
    return clock_ticks();
}

std::int64_t span_ticks(std::uint64_t from, std::uint64_t to) {
    return to > from ? static_cast<std::int64_t>(to - from) : 0;
}

#endif

}  // namespace platform
