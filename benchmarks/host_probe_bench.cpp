// The Internet checksum beside the plain loop over words of 16 bits. This file is compiled with
// -O2.
#include <cstdlib>
#include <string>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

[[gnu::noinline]] int32_t plain_checksum(const void* data, int32_t size) {
    const auto* word = static_cast<const uint16_t*>(data);
    uint64_t sum = 0;
    for (; size > 1; size -= 2) sum += *word++;
    if (size > 0) sum += *reinterpret_cast<const uint8_t*>(word);
    while (sum > 0xFFFF) sum = (sum >> 16) + (sum & 0xFFFF);
    return static_cast<int32_t>(~sum & 0xFFFF);
}

void compare(const char* name, int32_t size) {
    std::vector<uint16_t> words(static_cast<size_t>(size) / 2);
    uint32_t seed = 1;
    for (uint16_t& word : words) {
        seed = seed * 1664525 + 1013904223;
        word = static_cast<uint16_t>(seed >> 16);
    }
    if (UTIL_CheckSum(words.data(), size) != plain_checksum(words.data(), size)) std::abort();
    molte_bench::pair(
        name, "plain loop", [&] { molte_bench::keep(UTIL_CheckSum(words.data(), size)); },
        [&] { molte_bench::keep(plain_checksum(words.data(), size)); });
}

}  // namespace

int main() {
    compare("checksum of 1,500 bytes", 1500);
    compare("checksum of 64 MiB", 64 << 20);
}
