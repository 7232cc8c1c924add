#include "platform/byte_order.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace platform {

void swap_bytes_plainly(uint32_t* numbers, std::size_t count) {
    // By way of memcpy: the numbers may stand at any address of a packed record.
    auto* at = reinterpret_cast<unsigned char*>(numbers);
    for (std::size_t i = 0; i < count; ++i, at += sizeof(uint32_t)) {
        uint32_t number;
        std::memcpy(&number, at, sizeof number);
        number = __builtin_bswap32(number);
        std::memcpy(at, &number, sizeof number);
    }
}

#if defined(__x86_64__)

namespace {

[[gnu::target("ssse3")]] void swap_with_ssse3(uint32_t* numbers, std::size_t count) {
    const __m128i order = _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        auto* at = reinterpret_cast<__m128i*>(numbers + i);
        const __m128i first = _mm_loadu_si128(at);
        const __m128i second = _mm_loadu_si128(at + 1);
        _mm_storeu_si128(at, _mm_shuffle_epi8(first, order));
        _mm_storeu_si128(at + 1, _mm_shuffle_epi8(second, order));
    }
    swap_bytes_plainly(numbers + i, count - i);
}

}  // namespace

void swap_bytes(uint32_t* numbers, std::size_t count) {
    if (__builtin_cpu_supports("ssse3") != 0) {
        swap_with_ssse3(numbers, count);
    } else {
        swap_bytes_plainly(numbers, count);
    }
}

#else

void swap_bytes(uint32_t* numbers, std::size_t count) {
    swap_bytes_plainly(numbers, count);
}

#endif

}  // namespace platform
