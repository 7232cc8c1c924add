// What a packet says that came for a probe.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace molte {

// The data bytes of a probe.
inline constexpr int32_t kEchoData = 32;

// The ticks that the answer took in a packet with its IP header, for a request sent at one moment
// and a packet that came at another; none unless it counts as the answer to that identifier. The
// packet may hold anything.
std::optional<int64_t> answer_ticks(std::span<const uint8_t> packet, uint16_t identifier,
                                    int64_t sent, int64_t came);

// Ticks in microseconds, of which the low 32 bits are left.
int32_t whole_microseconds(int64_t ticks);

}  // namespace molte
