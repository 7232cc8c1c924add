// The turned cut. No product and sum may be made in one step here (-ffp-contract=off), so that all
// processors give the same bytes.
#include <algorithm>
#include <cstring>

#include "files/oxsysutl_raster.h"

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

// The target pixels [begin, end) of the row at v, all of whose places lie in the source.
void mix_one_by_one(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row) {
    const int64_t size = cut.width * cut.height;
    // Behind the last column is the next row, behind the last row nothing.
    const auto pixel = [&](int64_t index) {
        return index < size ? static_cast<double>(cut.source[index]) : 0.0;
    };
    for (int32_t column = begin; column < end; ++column) {
        const double x = place_x(cut, cut.x + column, v);
        const double y = place_y(cut, cut.x + column, v);
        const auto left = static_cast<int32_t>(x);
        const auto top = static_cast<int32_t>(y);
        const int64_t at = top * cut.width + left;
        row[column] = low_byte(mix(pixel(at), pixel(at + 1), pixel(at + cut.width),
                                   pixel(at + cut.width + 1), x - left, y - top));
    }
}

// A pixel in the low byte, its right neighbour in the next.
int32_t pair_at(const uint8_t* at) {
    uint16_t pair;
    std::memcpy(&pair, at, sizeof pair);
    return pair;
}

constexpr int32_t kPortion = 32;

// The same, as long as there are kPortion of them in short loops: the compiler does these with
// vectors, but for the one that loads.
void mix_pixels(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row) {
    const uint8_t* const second_row = cut.source + cut.width;
    double u[kPortion];
    for (int i = 0; i < kPortion; ++i) u[i] = cut.x + begin + i;
    for (; end - begin >= kPortion; begin += kPortion) {
        double part_x[kPortion];
        double part_y[kPortion];
        int32_t left[kPortion];
        int32_t top[kPortion];
        for (int i = 0; i < kPortion; ++i) {
            const double x = place_x(cut, u[i], v);
            const double y = place_y(cut, u[i], v);
            u[i] += kPortion;
            left[i] = static_cast<int32_t>(x);
            top[i] = static_cast<int32_t>(y);
            part_x[i] = x - left[i];
            part_y[i] = y - top[i];
        }
        if (std::max(top[0], top[kPortion - 1]) >= cut.height - 2) {
            mix_one_by_one(cut, v, begin, begin + kPortion, row);  // neighbours behind the source
            continue;
        }
        int32_t upper[kPortion];
        int32_t lower[kPortion];
        for (int i = 0; i < kPortion; ++i) {
            const int64_t at = top[i] * cut.width + left[i];
            upper[i] = pair_at(cut.source + at);
            lower[i] = pair_at(second_row + at);
        }
        for (int i = 0; i < kPortion; ++i) {
            row[begin + i] = low_byte(mix(upper[i] & 0xFF, upper[i] >> 8, lower[i] & 0xFF,
                                          lower[i] >> 8, part_x[i], part_y[i]));
        }
    }
    mix_one_by_one(cut, v, begin, end, row);
}

}  // namespace

void cut_turned(const TurnedCut& cut, uint8_t* target, int32_t width, int32_t height) {
    if (cut.width < 1 || cut.height < 1) return;
    for (int32_t j = 0; j < height; ++j) {
        const double v = cut.y + j;
        const Range inside = columns_inside(cut, v, width);
        mix_pixels(cut, v, inside.begin, inside.end, target + int64_t{j} * width);
    }
}

}  // namespace molte
