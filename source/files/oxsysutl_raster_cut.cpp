// The turned cut. No product and sum may be made in one step here (-ffp-contract=off), so that all
// processors give the same bytes.
#include <algorithm>
#include <cstring>

#include "files/oxsysutl_raster.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace molte {

namespace {

// The place of a target column u and row v in the source.
double place_x(const TurnedCut& cut, double u, double v) {
    return u * cut.cosine + v * cut.sine + cut.x;
}
double place_y(const TurnedCut& cut, double u, double v) {
    return v * cut.cosine - u * cut.sine + cut.y;
}

struct Range {
    int32_t begin;
    int32_t end;
};

// The first column from 0 on of which it is true; it is then true of all behind.
template <typename Test>
int32_t first_column(int32_t count, Test test) {
    int32_t begin = 0;
    while (begin < count) {
        const int32_t middle = begin + (count - begin) / 2;
        if (test(middle)) {
            count = middle;
        } else {
            begin = middle + 1;
        }
    }
    return begin;
}

// The columns whose places are cut to 0 to limit - 1. The places only rise or only fall with the
// column, each rounding included, so they are one range.
template <typename Place>
Range columns_within(int32_t count, int64_t limit, bool rises, Place place) {
    const auto above = [&](int32_t column) { return place(column) > -1.0; };
    const auto below = [&](int32_t column) { return place(column) < static_cast<double>(limit); };
    const auto not_above = [&](int32_t column) { return !above(column); };
    const auto not_below = [&](int32_t column) { return !below(column); };
    return rises ? Range{first_column(count, above), first_column(count, not_below)}
                 : Range{first_column(count, below), first_column(count, not_above)};
}

Range columns_inside(const TurnedCut& cut, double v, int32_t count) {
    const auto along_x = [&](int32_t column) { return place_x(cut, cut.x + column, v); };
    const auto along_y = [&](int32_t column) { return place_y(cut, cut.x + column, v); };
    const Range in_x = columns_within(count, cut.width, cut.cosine >= 0, along_x);
    const Range in_y = columns_within(count, cut.height, cut.sine <= 0, along_y);
    return {std::max(in_x.begin, in_y.begin), std::min(in_x.end, in_y.end)};
}

// Of four pixels; x and y are parts of one.
double mix(double here, double right, double below, double below_right, double x, double y) {
    return (here * (1 - x) + right * x) * (1 - y) + (below_right * x + below * (1 - x)) * y;
}

uint8_t low_byte(double mixed) {
    return static_cast<uint8_t>(static_cast<int32_t>(mixed));
}

#if defined(__x86_64__)

#define MOLTE_AVX2 [[gnu::target("avx2"), gnu::always_inline]] inline

// A pixel and its right neighbour in the low bytes of a number.
MOLTE_AVX2 __m128i pair_at(const uint8_t* at) {
    int32_t pair;
    std::memcpy(&pair, at, sizeof pair);
    return _mm_cvtsi32_si128(pair);
}

// Four of them. Moves of their own are quicker than the processor's gathering.
MOLTE_AVX2 __m128i pairs_at(const uint8_t* source, const int64_t (&places)[4]) {
    return _mm_unpacklo_epi64(
        _mm_unpacklo_epi32(pair_at(source + places[0]), pair_at(source + places[1])),
        _mm_unpacklo_epi32(pair_at(source + places[2]), pair_at(source + places[3])));
}
MOLTE_AVX2 __m256d first_of(__m128i pairs) {
    return _mm256_cvtepi32_pd(_mm_and_si128(pairs, _mm_set1_epi32(0xFF)));
}
MOLTE_AVX2 __m256d second_of(__m128i pairs) {
    return _mm256_cvtepi32_pd(_mm_and_si128(_mm_srli_epi32(pairs, 8), _mm_set1_epi32(0xFF)));
}

// Four target bytes at a time, each sum and product of mix_pixels_plainly in its order. Where it
// would read behind the source, the plain one takes over.
[[gnu::target("avx2")]] int32_t mix_by_fours(const TurnedCut& cut, double v, int32_t begin,
                                             int32_t end, uint8_t* row) {
    const __m256d cosine = _mm256_set1_pd(cut.cosine);
    const __m256d sine = _mm256_set1_pd(cut.sine);
    const __m256d v_cosine = _mm256_set1_pd(v * cut.cosine);
    const __m256d v_sine = _mm256_set1_pd(v * cut.sine);
    const __m256d origin_x = _mm256_set1_pd(cut.x);
    const __m256d origin_y = _mm256_set1_pd(cut.y);
    const __m256i width = _mm256_set1_epi64x(cut.width);
    const __m256i most = _mm256_set1_epi64x((cut.height - 1) * cut.width - 4);
    const __m256d one = _mm256_set1_pd(1);
    const uint8_t* const source = cut.source;
    const int64_t row_size = cut.width;
    const __m128i low_bytes = _mm_set1_epi32(0x0C080400);
    __m256d u = _mm256_add_pd(_mm256_set1_pd(cut.x + begin), _mm256_setr_pd(0, 1, 2, 3));
    int32_t column = begin;
    for (; column + 4 <= end; column += 4, u = _mm256_add_pd(u, _mm256_set1_pd(4))) {
        const __m256d x = _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(u, cosine), v_sine), origin_x);
        const __m256d y = _mm256_add_pd(_mm256_sub_pd(v_cosine, _mm256_mul_pd(u, sine)), origin_y);
        const __m128i left = _mm256_cvttpd_epi32(x);
        const __m128i top = _mm256_cvttpd_epi32(y);
        const __m256i places = _mm256_add_epi64(_mm256_mul_epu32(_mm256_cvtepu32_epi64(top), width),
                                                _mm256_cvtepu32_epi64(left));
        if (_mm256_movemask_epi8(_mm256_cmpgt_epi64(places, most)) != 0) {
            mix_pixels_plainly(cut, v, column, column + 4, row);
            continue;
        }
        alignas(32) int64_t place[4];
        _mm256_store_si256(reinterpret_cast<__m256i*>(place), places);
        const __m128i upper = pairs_at(source, place);
        const __m128i lower = pairs_at(source + row_size, place);
        const __m256d part_x = _mm256_sub_pd(x, _mm256_cvtepi32_pd(left));
        const __m256d part_y = _mm256_sub_pd(y, _mm256_cvtepi32_pd(top));
        const __m256d rest_x = _mm256_sub_pd(one, part_x);
        const __m256d rest_y = _mm256_sub_pd(one, part_y);
        const __m256d above = _mm256_add_pd(_mm256_mul_pd(first_of(upper), rest_x),
                                            _mm256_mul_pd(second_of(upper), part_x));
        const __m256d below = _mm256_add_pd(_mm256_mul_pd(second_of(lower), part_x),
                                            _mm256_mul_pd(first_of(lower), rest_x));
        const __m128i mixed = _mm256_cvttpd_epi32(
            _mm256_add_pd(_mm256_mul_pd(above, rest_y), _mm256_mul_pd(below, part_y)));
        const int32_t bytes = _mm_cvtsi128_si32(_mm_shuffle_epi8(mixed, low_bytes));
        std::memcpy(row + column, &bytes, sizeof bytes);
    }
    _mm256_zeroupper();  // else all that follows is slowed
    return column;
}

#endif

}  // namespace

void mix_pixels_plainly(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row) {
    const int64_t size = cut.width * cut.height;
    // Behind the last column is the next row, behind the last row nothing.
    const auto pixel = [&](int64_t index) {
        return index < size ? static_cast<double>(cut.source[index]) : 0.0;
    };
    for (int32_t column = begin; column < end; ++column) {
        const double x = place_x(cut, cut.x + column, v);
        const double y = place_y(cut, cut.x + column, v);
        const auto left = static_cast<int64_t>(x);
        const auto top = static_cast<int64_t>(y);
        const int64_t at = top * cut.width + left;
        row[column] =
            low_byte(mix(pixel(at), pixel(at + 1), pixel(at + cut.width), pixel(at + cut.width + 1),
                         x - static_cast<double>(left), y - static_cast<double>(top)));
    }
}

void mix_pixels(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row) {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") != 0) begin = mix_by_fours(cut, v, begin, end, row);
#endif
    mix_pixels_plainly(cut, v, begin, end, row);
}

void cut_turned(const TurnedCut& cut, uint8_t* target, int32_t width, int32_t height,
                MixPixels mix) {
    for (int32_t j = 0; j < height; ++j) {
        const double v = cut.y + j;
        const Range inside = columns_inside(cut, v, width);
        mix(cut, v, inside.begin, inside.end, target + int64_t{j} * width);
    }
}

}  // namespace molte
