// Sixteen bytes at a time.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace platform {

// Compared with == it gives bytes that are 0xFF where they are equal and 0 elsewhere.
typedef uint8_t ByteBlock __attribute__((vector_size(16)));

inline ByteBlock load_block(const char* bytes) {
    ByteBlock block;
    std::memcpy(&block, bytes, sizeof block);
    return block;
}

inline ByteBlock block_of(char byte) {
    return ByteBlock{} + static_cast<uint8_t>(byte);
}

// A bit for each byte of bytes that are 0 or 0xFF, the lowest for the first.
inline uint64_t bits_of(ByteBlock bytes) {
#if defined(__SSE2__)
    return static_cast<uint64_t>(_mm_movemask_epi8(reinterpret_cast<__m128i>(bytes)));
#else
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
#endif
}

}  // namespace platform
