// The turned cut. No product and sum may be made in one step here (-ffp-contract=off), so that all
// processors give the same bytes.
#include <algorithm>
#include <cmath>
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

// The columns of a row whose places are cut to 0 to limit - 1. The places only rise or only fall
// with the column, each rounding included, so there is one range.
template <typename Place>
Range columns_within(int32_t count, double limit, bool rises, Place place) {
    const auto above = [&](int32_t column) { return place(column) > -1.0; };
    const auto below = [&](int32_t column) { return place(column) < limit; };
    const auto not_above = [&](int32_t column) { return !above(column); };
    const auto not_below = [&](int32_t column) { return !below(column); };
    return rises ? Range{first_column(count, above), first_column(count, not_below)}
                 : Range{first_column(count, below), first_column(count, not_above)};
}

Range columns_inside(const TurnedCut& cut, double v, int32_t count, int64_t rows) {
    const auto along_x = [&](int32_t column) { return place_x(cut, cut.x + column, v); };
    const auto along_y = [&](int32_t column) { return place_y(cut, cut.x + column, v); };
    const Range in_x =
        columns_within(count, static_cast<double>(cut.width), cut.cosine >= 0, along_x);
    const Range in_y = columns_within(count, static_cast<double>(rows), cut.sine <= 0, along_y);
    return {std::max(in_x.begin, in_y.begin), std::min(in_x.end, in_y.end)};
}

// Of four pixels; x and y are parts of one.
double mix(double here, double right, double below, double below_right, double x, double y) {
    return (here * (1 - x) + right * x) * (1 - y) + (below_right * x + below * (1 - x)) * y;
}

uint8_t low_byte(double mixed) {
    return static_cast<uint8_t>(static_cast<int32_t>(mixed));
}

// PIXEL(index) tells one of the source by its place in memory.
template <typename Pixel>
void mix_one_by_one(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row,
                    Pixel pixel) {
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

// Anywhere in the source: behind the last column is the next row, behind the last row nothing.
void mix_at_edges(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row) {
    const int64_t size = cut.width * cut.height;
    mix_one_by_one(cut, v, begin, end, row, [&](int64_t index) {
        return index < size ? static_cast<double>(cut.source[index]) : 0.0;
    });
}

#if defined(__x86_64__)

// Two neighbours of each of four places, in the low halves of four numbers.
[[gnu::target("avx2")]] inline __m128i pairs_at(const uint8_t* source, const int64_t* places) {
    int16_t pairs[4];
    for (int i = 0; i < 4; ++i) std::memcpy(&pairs[i], source + places[i], sizeof pairs[i]);
    return _mm_setr_epi16(pairs[0], 0, pairs[1], 0, pairs[2], 0, pairs[3], 0);
}

[[gnu::target("avx2")]] inline __m256d first_of(__m128i pairs) {
    return _mm256_cvtepi32_pd(_mm_and_si128(pairs, _mm_set1_epi32(0xFF)));
}
[[gnu::target("avx2")]] inline __m256d second_of(__m128i pairs) {
    return _mm256_cvtepi32_pd(_mm_srli_epi32(pairs, 8));
}

// Four target bytes at a time: the sums and products of mix_one_by_one in their order.
[[gnu::target("avx2")]] void mix_pixels_with_avx2(const TurnedCut& cut, double v, int32_t begin,
                                                  int32_t end, uint8_t* row) {
    const __m256d cosine = _mm256_set1_pd(cut.cosine);
    const __m256d sine = _mm256_set1_pd(cut.sine);
    const __m256d x = _mm256_set1_pd(cut.x);
    const __m256d y = _mm256_set1_pd(cut.y);
    const __m256d v_sine = _mm256_set1_pd(v * cut.sine);
    const __m256d v_cosine = _mm256_set1_pd(v * cut.cosine);
    const __m256d one = _mm256_set1_pd(1);
    const __m256i width = _mm256_set1_epi64x(cut.width);
    const __m128i low_bytes =
        _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    __m256d u = _mm256_add_pd(_mm256_set1_pd(cut.x + begin), _mm256_setr_pd(0, 1, 2, 3));
    int32_t column = begin;
    for (; column + 4 <= end; column += 4, u = _mm256_add_pd(u, _mm256_set1_pd(4))) {
        const __m256d at_x = _mm256_add_pd(_mm256_add_pd(_mm256_mul_pd(u, cosine), v_sine), x);
        const __m256d at_y = _mm256_add_pd(_mm256_sub_pd(v_cosine, _mm256_mul_pd(u, sine)), y);
        const __m128i left = _mm256_cvttpd_epi32(at_x);
        const __m128i top = _mm256_cvttpd_epi32(at_y);
        const __m256d part_x = _mm256_sub_pd(at_x, _mm256_cvtepi32_pd(left));
        const __m256d part_y = _mm256_sub_pd(at_y, _mm256_cvtepi32_pd(top));
        const __m256d rest_x = _mm256_sub_pd(one, part_x);
        const __m256d rest_y = _mm256_sub_pd(one, part_y);
        alignas(32) int64_t places[4];
        _mm256_store_si256(reinterpret_cast<__m256i*>(places),
                           _mm256_add_epi64(_mm256_mul_epu32(_mm256_cvtepu32_epi64(top), width),
                                            _mm256_cvtepu32_epi64(left)));
        const __m128i upper = pairs_at(cut.source, places);
        const __m128i lower = pairs_at(cut.source + cut.width, places);
        const __m256d above = _mm256_add_pd(_mm256_mul_pd(first_of(upper), rest_x),
                                            _mm256_mul_pd(second_of(upper), part_x));
        const __m256d below = _mm256_add_pd(_mm256_mul_pd(second_of(lower), part_x),
                                            _mm256_mul_pd(first_of(lower), rest_x));
        const __m256d mixed =
            _mm256_add_pd(_mm256_mul_pd(above, rest_y), _mm256_mul_pd(below, part_y));
        const int32_t bytes =
            _mm_cvtsi128_si32(_mm_shuffle_epi8(_mm256_cvttpd_epi32(mixed), low_bytes));
        std::memcpy(row + column, &bytes, sizeof bytes);
    }
    mix_pixels_plainly(cut, v, column, end, row);
}

#endif

}  // namespace

void mix_pixels_plainly(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row) {
    mix_one_by_one(cut, v, begin, end, row,
                   [&](int64_t index) { return static_cast<double>(cut.source[index]); });
}

MixPixels best_mix_pixels() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") != 0) return mix_pixels_with_avx2;
#endif
    return mix_pixels_plainly;
}

void cut_turned(const TurnedCut& cut, uint8_t* target, int32_t width, int32_t height,
                MixPixels mix) {
    for (int32_t j = 0; j < height; ++j) {
        const double v = cut.y + j;
        uint8_t* const row = target + int64_t{j} * width;
        const Range inside = columns_inside(cut, v, width, cut.height);
        // No row at all is none above the image either.
        const Range deep =
            cut.height > 2 ? columns_inside(cut, v, width, cut.height - 2) : Range{0, 0};
        if (deep.begin < deep.end) {
            mix_at_edges(cut, v, inside.begin, deep.begin, row);
            mix(cut, v, deep.begin, deep.end, row);
            mix_at_edges(cut, v, deep.end, inside.end, row);
        } else {
            mix_at_edges(cut, v, inside.begin, inside.end, row);
        }
    }
}

}  // namespace molte
