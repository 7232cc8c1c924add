// Open flags and the permission that stand in the interface as numbers.
#pragma once

#include <cstdint>

namespace molte::file {

inline constexpr int32_t kRead = 32768;
inline constexpr int32_t kWrite = 32769;
inline constexpr int32_t kUpdate = 32770;
inline constexpr int32_t kOpenOrMake = 33026;
inline constexpr int32_t kMakeAnew = 33538;
inline constexpr int32_t kReserve = 34050;
inline constexpr int32_t kMakeExclusive = 34562;
inline constexpr int32_t kOwnerReadWrite = 384;

}  // namespace molte::file
