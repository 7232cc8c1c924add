// Byte fields beside plain loops that turn the bytes round.
#include <cstring>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr int32_t kNumbers = 16 << 20;  // 64 MiB

std::vector<uint32_t> numbers(kNumbers, 0x01020304);
const auto* const bytes = reinterpret_cast<const uint8_t*>(numbers.data());

template <typename T>
T loaded(size_t at) {
    T value;
    memcpy(&value, bytes + at, sizeof value);
    return value;
}

template <typename Read>
void sum(size_t step, Read read) {
    uint64_t total = 0;
    for (size_t at = 0; at < size_t{kNumbers} * 4; at += step) total += read(at);
    molte_bench::keep(total);
}

void swap_loop() {
    for (auto& number : numbers) number = __builtin_bswap32(number);
    molte_bench::keep(numbers.data());
}

}  // namespace

int main() {
    molte_bench::pair(
        "MOLTE_Int4_lton, 64 MiB", "plain loop",
        [] {
            MOLTE_Int4_lton(numbers.data(), kNumbers);
            molte_bench::keep(numbers.data());
        },
        swap_loop);
    molte_bench::pair(
        "Char2To_uint2, 64 MiB", "plain loop",
        [] { sum(2, [](size_t at) { return Char2To_uint2(bytes + at); }); },
        [] { sum(2, [](size_t at) { return __builtin_bswap16(loaded<uint16_t>(at)); }); });
    molte_bench::pair(
        "Char4To_uint4, 64 MiB", "plain loop",
        [] { sum(4, [](size_t at) { return Char4To_uint4(bytes + at); }); },
        [] { sum(4, [](size_t at) { return __builtin_bswap32(loaded<uint32_t>(at)); }); });
    molte_bench::pair(
        "Char8To_uint8, 64 MiB", "plain loop",
        [] { sum(8, [](size_t at) { return Char8To_uint8(bytes + at); }); },
        [] { sum(8, [](size_t at) { return __builtin_bswap64(loaded<uint64_t>(at)); }); });
    molte_bench::pair(
        "uint4ToChar4, 64 MiB", "plain loop",
        [] {
            auto* out = reinterpret_cast<uint8_t*>(numbers.data());
            for (uint32_t i = 0; i < kNumbers; ++i) uint4ToChar4(i, out + i * 4UL);
            molte_bench::keep(out);
        },
        [] {
            for (uint32_t i = 0; i < kNumbers; ++i) numbers[i] = __builtin_bswap32(i);
            molte_bench::keep(numbers.data());
        });
}
