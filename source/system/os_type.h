// The OS type numbers.
#pragma once

#include <cstdint>

namespace molte {

constexpr int32_t kOsUnix = 11;
constexpr int32_t kOsWindows = 8;

// Windows by the numbers of its version record.
[[nodiscard]] constexpr int32_t nt_type(uint32_t major, uint32_t minor, bool workstation) {
    if (major > 6) return 19;
    if (major == 6 && minor == 0) return workstation ? 14 : 16;
    if (major == 6 && minor == 1) return workstation ? 18 : 17;
    if (major == 6) return 18;
    if (major == 5) return minor == 0 ? 4 : minor == 1 ? 12 : 13;
    if (major == 4) return 3;
    if (major == 3 && minor == 51) return 5;
    return 7;
}

[[nodiscard]] constexpr int32_t windows_type(uint32_t platform, uint32_t major, uint32_t minor,
                                             bool workstation) {
    if (platform == 0) return 6;
    if (platform == 1 && major == 4) return minor == 0 ? 1 : 2;
    if (platform == 2) return nt_type(major, minor, workstation);
    return kOsWindows;
}

}  // namespace molte
