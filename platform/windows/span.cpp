#include "platform/ticks.h"

namespace platform {

// The system's counter is the processor's own, read without a system call.
std::uint64_t span_reading() {
    LARGE_INTEGER ticks;
    QueryPerformanceCounter(&ticks);
    return static_cast<std::uint64_t>(ticks.QuadPart);
}

std::int64_t span_ticks(std::uint64_t from, std::uint64_t to) {
    return to > from ? static_cast<std::int64_t>(to - from) : 0;
}

}  // namespace platform
