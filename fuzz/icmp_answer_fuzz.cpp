// An ICMP packet as anybody may send it to a probe: 2 bytes of identifier and two moments of 8,
// then the packet, beside a plain reading of it.
#include "network/oxsockop_host_probe.h"

#include <memory>

#include "frame.h"

namespace {

uint64_t number(std::string_view bytes) {
    uint64_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<uint8_t>(byte);
    return value;
}

}  // namespace

void try_input(std::string_view input) {
    if (input.size() < 18) return;
    uint16_t identifier;
    std::memcpy(&identifier, input.data(), sizeof identifier);
    const uint64_t sent = number(input.substr(2, 8));
    const uint64_t came = number(input.substr(10, 8));
    const std::string_view bytes = input.substr(18);
    // On the heap, where each byte too far is noticed.
    const std::unique_ptr<uint8_t[]> packet(new uint8_t[bytes.size()]);
    std::memcpy(packet.get(), bytes.data(), bytes.size());
    const auto ticks = molte::answer_ticks({packet.get(), bytes.size()}, identifier,
                                           static_cast<int64_t>(sent), static_cast<int64_t>(came));
    const size_t header = bytes.empty() ? 0 : static_cast<size_t>(bytes[0] & 15) * 4;
    const bool counts =
        bytes.size() == header + 40 && bytes.substr(header + 4, 2) == input.substr(0, 2);
    must(ticks.has_value() == counts);
    if (!counts) return;
    uint64_t expected = came - number(bytes.substr(header + 8, 8));
    if (expected == 0 || expected >> 63 != 0) expected -= sent;
    must(static_cast<uint64_t>(*ticks) == expected);
    const int64_t microseconds = *ticks / (MOLTE_HiResoTickPerSec() / 1'000'000);
    const auto off = static_cast<uint32_t>(molte::whole_microseconds(*ticks) - microseconds);
    must(off + 8 <= 16);  // what a double loses
    must(UTIL_CheckSum(packet.get(), static_cast<int32_t>(bytes.size())) <= 0xFFFF);
}
