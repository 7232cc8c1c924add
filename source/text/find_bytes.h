// Finding some bytes in others, sixteen places at a time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace molte {

// The first place from TEXT up to LAST where the bytes of a part stand, or null. All bytes up to
// LAST + size - 1 can be read; size is 1 or more.
inline const char* find_bytes_plainly(const char* text, const char* last, const char* part,
                                      size_t size) {
    for (; text <= last; ++text) {
        if (*text == *part && std::memcmp(text, part, size) == 0) return text;
    }
    return nullptr;
}

namespace find_bytes_detail {

typedef uint8_t Block __attribute__((vector_size(16)));

inline Block load(const char* text) {
    Block block;
    std::memcpy(&block, text, sizeof block);
    return block;
}

// The first of sixteen places where the part stands, or null. HITS has a bit of each place set
// where its first and last byte do.
inline const char* check(const char* text, Block hits, const char* part, size_t size) {
    uint64_t halves[2];
    std::memcpy(halves, &hits, sizeof halves);
    if constexpr (std::endian::native == std::endian::big) {
        halves[0] = __builtin_bswap64(halves[0]);
        halves[1] = __builtin_bswap64(halves[1]);
    }
    for (const uint64_t half : halves) {
        for (uint64_t left = half; left != 0;) {
            const int place = std::countr_zero(left) / 8;
            if (size < 3 || std::memcmp(text + place + 1, part + 1, size - 2) == 0) {
                return text + place;
            }
            left &= ~(uint64_t{0xFF} << (place * 8));
        }
        text += 8;
    }
    return nullptr;
}

}  // namespace find_bytes_detail

// The same, by the first and the last byte of the part.
inline const char* find_bytes(const char* text, const char* last, const char* part, size_t size) {
    using namespace find_bytes_detail;
    constexpr ptrdiff_t kPlaces = sizeof(Block);
    if (last - text < kPlaces - 1) return find_bytes_plainly(text, last, part, size);
    const Block first_byte = Block{} + static_cast<uint8_t>(part[0]);
    const Block last_byte = Block{} + static_cast<uint8_t>(part[size - 1]);
    for (;;) {
        // The last sixteen places are looked at together, some of them a second time.
        const bool at_end = last - text < kPlaces;
        if (at_end) text = last - (kPlaces - 1);
        const Block hits =
            static_cast<Block>((load(text) == first_byte) & (load(text + size - 1) == last_byte));
        const char* hit = check(text, hits, part, size);
        if (hit != nullptr || at_end) return hit;
        text += kPlaces;
        if (text > last) return nullptr;
    }
}

}  // namespace molte
