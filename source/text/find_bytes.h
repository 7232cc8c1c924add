// Finding some bytes in others, sixteen places at a time.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/byte_block.h"

namespace molte {

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

// The first place from TEXT up to LAST where the bytes of a part stand and ACCEPT(place) holds, or
// null. All bytes up to LAST + size - 1 can be read; size is 1 or more. A place may be asked for
// twice once it was refused.
template <typename Accept>
const char* find_bytes(const char* text, const char* last, const char* part, size_t size,
                       Accept accept) {
    constexpr ptrdiff_t kBlock = sizeof(platform::ByteBlock);
    constexpr ptrdiff_t kPlaces = 64;
    if (last - text < kBlock - 1) {
        for (; text <= last; ++text) {
            if (same_bytes(text, part, size) && accept(text)) return text;
        }
        return nullptr;
    }
    const char* const last_block = last - (kBlock - 1);
    const platform::ByteBlock first_byte = platform::block_of(part[0]);
    const platform::ByteBlock last_byte = platform::block_of(part[size - 1]);
    for (; text <= last; text += kPlaces) {
        text = std::min(text, last_block);
        // The places where the first and the last byte stand. Always four blocks, the last ones
        // perhaps the same: that is faster than to ask how many there are.
        uint64_t places = 0;
        for (ptrdiff_t offset = 0; offset < kPlaces; offset += kBlock) {
            const char* block = std::min(text + offset, last_block);
            const platform::ByteBlock heads = platform::load_block(block);
            const platform::ByteBlock tails = platform::load_block(block + size - 1);
            const auto hits = (heads == first_byte) & (tails == last_byte);
            places |= platform::bits_of(platform::ByteBlock(hits)) << (block - text);
        }
        for (; places != 0; places &= places - 1) {
            const char* place = text + std::countr_zero(places);
            if (same_bytes(place, part, size) && accept(place)) return place;
        }
    }
    return nullptr;
}

}  // namespace molte
