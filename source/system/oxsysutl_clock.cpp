// The high-resolution clock and sleeps.
#include <algorithm>

#include "moltelib/clock.h"
#include "platform/ticks.h"

namespace {

constexpr int32_t kMilliPerSecond = 1000;
constexpr int32_t kMicroPerMilli = 1000;

}  // namespace

int64_t MOLTE_HiResoTickCount(void) {
    LARGE_INTEGER ticks;
    if (QueryPerformanceCounter(&ticks) == 0) return GetTickCount();
    return ticks.QuadPart;
}

int64_t MOLTE_HiResoTickPerSec(void) {
    LARGE_INTEGER frequency;
    if (QueryPerformanceFrequency(&frequency) == 0) return kMilliPerSecond;
    return frequency.QuadPart;
}

double MOLTE_HiResoTickToSec(int64_t nTicks) {
    return static_cast<double>(nTicks) / static_cast<double>(MOLTE_HiResoTickPerSec());
}

int32_t ORVEX_Sleep(int32_t nSeconds) {
    // The platform counts milliseconds in 32 bits: a long sleep is several of a million seconds.
    constexpr int32_t longest = 1000000;
    for (int32_t left = nSeconds; left > 0; left -= longest) {
        Sleep(static_cast<DWORD>(std::min(left, longest)) * kMilliPerSecond);
    }
    return nSeconds;
}

int32_t ORVEX_SleepMilli(int32_t nMilliSeconds) {
    ORVEX_Sleep(nMilliSeconds / kMilliPerSecond);
    const int32_t rest = nMilliSeconds % kMilliPerSecond;
    if (rest > 0) Sleep(static_cast<DWORD>(rest));
    return 1;
}

int32_t ORVEX_SleepMicro(int32_t nMicroSeconds) {
    return ORVEX_SleepMilli(nMicroSeconds / kMicroPerMilli);
}
