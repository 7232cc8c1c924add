// Finding some bytes in others, sixteen places at a time.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace molte {

namespace find_bytes_detail {

typedef uint8_t Block __attribute__((vector_size(16)));

inline Block load(const char* text) {
    Block block;
    std::memcpy(&block, text, sizeof block);
    return block;
}

// A bit for each byte that isn't 0, of bytes that are 0 or 0xFF; the lowest for the first.
inline uint64_t bits_of(Block bytes) {
    uint64_t halves[2];
    std::memcpy(halves, &bytes, sizeof halves);
    uint64_t bits = 0;
    for (int i = 1; i >= 0; --i) {
        if constexpr (std::endian::native == std::endian::big) {
            halves[i] = __builtin_bswap64(halves[i]);
        }
        bits = bits << 8 | ((halves[i] & 0x8040201008040201U) * 0x0101010101010101U) >> 56;
    }
    return bits;
}

template <typename Word>
bool same_ends(const char* a, const char* b, size_t size) {
    Word heads[2];
    Word tails[2];
    std::memcpy(&heads[0], a, sizeof(Word));
    std::memcpy(&heads[1], b, sizeof(Word));
    std::memcpy(&tails[0], a + size - sizeof(Word), sizeof(Word));
    std::memcpy(&tails[1], b + size - sizeof(Word), sizeof(Word));
    return ((heads[0] ^ heads[1]) | (tails[0] ^ tails[1])) == 0;
}

// memcmp for a few bytes, which needs no call and one branch on their values.
inline bool same_bytes(const char* a, const char* b, size_t size) {
    if (size > 16) return std::memcmp(a, b, size) == 0;
    if (size >= 8) return same_ends<uint64_t>(a, b, size);
    if (size >= 4) return same_ends<uint32_t>(a, b, size);
    if (size >= 2) return same_ends<uint16_t>(a, b, size);
    return size == 0 || *a == *b;
}

}  // namespace find_bytes_detail

// The first place from TEXT up to LAST where the bytes of a part stand and ACCEPT(place) holds, or
// null. All bytes up to LAST + size - 1 can be read; size is 1 or more. A place may be asked for
// twice once it was refused.
template <typename Accept>
const char* find_bytes(const char* text, const char* last, const char* part, size_t size,
                       Accept accept) {
    using namespace find_bytes_detail;
    constexpr ptrdiff_t kBlock = sizeof(Block);
    constexpr ptrdiff_t kPlaces = 64;
    if (last - text < kBlock - 1) {
        for (; text <= last; ++text) {
            if (same_bytes(text, part, size) && accept(text)) return text;
        }
        return nullptr;
    }
    const char* const last_block = last - (kBlock - 1);
    const Block first_byte = Block{} + static_cast<uint8_t>(part[0]);
    const Block last_byte = Block{} + static_cast<uint8_t>(part[size - 1]);
    for (; text <= last; text += kPlaces) {
        text = std::min(text, last_block);
        // The places where the first and the last byte stand.
        uint64_t places = 0;
        for (const char* at = text; at <= last && at != text + kPlaces; at += kBlock) {
            const char* block = std::min(at, last_block);
            const auto hits = static_cast<Block>((load(block) == first_byte) &
                                                 (load(block + size - 1) == last_byte));
            places |= bits_of(hits) << (block - text);
        }
        for (; places != 0; places &= places - 1) {
            const char* place = text + std::countr_zero(places);
            if (same_bytes(place, part, size) && accept(place)) return place;
        }
    }
    return nullptr;
}

}  // namespace molte
