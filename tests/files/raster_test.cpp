#include "support/test.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes noise(int64_t size) {
    static std::minstd_rand random(7);
    Bytes bytes(static_cast<size_t>(size));
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() >> 8);
    return bytes;
}

// What a target holds whose pixel (x, y) is told.
template <typename Pixel>
Bytes image(int width, int height, Pixel pixel) {
    Bytes bytes;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) bytes.push_back(static_cast<uint8_t>(pixel(x, y)));
    }
    return bytes;
}

// A source whose pixels are asked for by place.
struct Source {
    int width, height;
    Bytes bytes = noise(int64_t{width} * height);
    [[nodiscard]] uint8_t at(int64_t x, int64_t y) const {
        return bytes[static_cast<size_t>(y * width + x)];
    }
    [[nodiscard]] int at_or(int x, int y, int other) const {
        return x >= 0 && x < width && y >= 0 && y < height ? at(x, y) : other;
    }
};

constexpr int kSizes[] = {1, 2, 3, 7, 15, 16, 17, 31, 48, 63, 64, 65, 81, 130};

TEST(Raster, RightAnglesOfAllSizes) {
    for (const int width : kSizes) {
        for (const int height : kSizes) {
            const Source from{width, height};
            const Bytes turned[] = {
                from.bytes, image(height, width, [&](int x, int y) { return from.at(y, x); }),
                image(width, height,
                      [&](int x, int y) { return from.at(width - 1 - x, height - 1 - y); }),
                image(height, width, [&](int x, int y) { return from.at(width - 1 - y, x); })};
            decltype(&MOLTE_UTIL_Rotate90Deg) const calls[] = {
                nullptr, MOLTE_UTIL_Rotate90Deg, MOLTE_UTIL_Rotate180Deg, MOLTE_UTIL_Rotate270Deg};
            for (int turn = 0; turn < 4; ++turn) {
                Bytes source = from.bytes;
                Bytes target(source.size());
                int32_t turned_width = 0, turned_height = 0;
                uint8_t* block = nullptr;
                ASSERT_EQ(
                    MOLTE_UTIL_RotateInDeg(source.data(), width, height, &block, &turned_width,
                                           &turned_height, 90 * turn - 720 * 2),
                    turn == 0 ? 0 : 1);  // a negative one without a remainder is 360
                if (turn == 0) continue;
                EXPECT_EQ(Bytes(block, block + source.size()), turned[turn]);
                EXPECT_EQ(turned_width, turn == 2 ? width : height);
                EXPECT_EQ(turned_height, turn == 2 ? height : width);
                ORVEX_free(block);
                EXPECT_EQ(calls[turn](source.data(), width, height, target.data()), 1);
                EXPECT_EQ(target, turned[turn]) << turn << " " << width << " " << height;
                EXPECT_EQ(calls[turn](source.data(), width, height, nullptr), 1);
                EXPECT_EQ(source, target);
            }
        }
    }
}

TEST(Raster, AnglesThatArentRight) {
    uint8_t pixels[] = {1, 2};
    uint8_t* block = nullptr;
    int32_t width = 7, height = 8;
    for (const int angle : {45, -360, -720, 1, 89, 361, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(MOLTE_UTIL_RotateInDeg(pixels, 2, 1, &block, &width, &height, angle), 0) << angle;
    }
    EXPECT_EQ((Ints{width, height, block == nullptr}), (Ints{7, 8, 1}));
    for (const int angle : {0, 360, 720}) {
        EXPECT_EQ(MOLTE_UTIL_RotateInDeg(pixels, 2, 1, &block, &width, &height, angle), 1);
        EXPECT_EQ((Ints{width, height, block[0], block[1]}), (Ints{2, 1, 1, 2}));
        ORVEX_free(block);
    }
    EXPECT_EQ(MOLTE_UTIL_RotateAnyAngle(pixels, 2, 1, &block, &width, &height, 0), 0);
}

TEST(Raster, Mirrors) {
    for (int size = 0; size < 70; ++size) {
        const Source from{size, 3};
        Bytes bytes = from.bytes;
        EXPECT_EQ(MOLTE_UTIL_LeftRightData(bytes.data(), size, 3), 1);
        EXPECT_EQ(bytes, image(size, 3, [&](int x, int y) { return from.at(size - 1 - x, y); }));
        bytes = from.bytes;
        EXPECT_EQ(MOLTE_UTIL_UpSideDownData(bytes.data(), 3, size), 1);  // as so many rows of 3
        const Source rows{3, size, from.bytes};
        EXPECT_EQ(bytes, image(3, size, [&](int x, int y) { return rows.at(x, size - 1 - y); }));
        Bytes copy(from.bytes.size(), 0);
        MOLTE_UTIL_ReverseCopy(from.bytes.data() + std::max(size - 1, 0), copy.data(), size);
        EXPECT_TRUE(std::equal(copy.begin(), copy.begin() + size, from.bytes.rend() - size));
    }
}

// What 180 and 270 give is what a cut with exchanged sizes leaves, turned as it lies in memory.
void check_cuts(const Source& from, int width, int height, int x, int y) {
    Bytes target(static_cast<size_t>(width * height), 9);
    const auto part = [&](int across, int down, int left, int top) {
        return image(across, down, [&](int i, int j) { return from.at_or(left + i, top + j, 9); });
    };
    const auto reversed = [](Bytes bytes) { return Bytes(bytes.rbegin(), bytes.rend()); };
    const bool meets = x < from.width && y < from.height && x + width > 0 && y + height > 0;
    EXPECT_EQ(MOLTE_UTIL_RectCut(from.bytes.data(), from.width, from.height, target.data(), width,
                                 height, x, y),
              meets ? 1 : 0);
    EXPECT_EQ(target, part(width, height, x, y));
    for (const auto& [angle, expected] :
         {std::pair(0, target),
          {-270,
           image(width, height, [&](int i, int j) { return from.at_or(x - 1 - j, y + i, 9); })},
          {180, reversed(part(height, width, x - width, y - height))},
          {270, reversed(part(height, width, x, y - width))}}) {
        Bytes turned(target.size());
        EXPECT_EQ(MOLTE_UTIL_RotateCutInDeg(from.bytes.data(), from.width, from.height,
                                            turned.data(), width, height, angle, x, y, 0, 0, 9),
                  1);
        EXPECT_EQ(turned, expected) << angle << " " << x << " " << y;
    }
}

TEST(Raster, CutsAtEachSideAndRightAngle) {
    const Source from{7, 5};
    for (const auto& [width, height] :
         {std::pair(4, 3), {9, 11}, {1, 1}, {7, 5}, {4, 4}, {12, 2}}) {
        for (int x = -12; x < 20; ++x) {
            for (int y = -12; y < 20; ++y) check_cuts(from, width, height, x, y);
        }
    }
}

// The plain double loop, with nothing thought of but the two bounds that are told.
Bytes turned_plainly(const Source& from, int width, int height, double radians, int left, int top) {
    const double cosine = std::cos(radians), sine = std::sin(radians);
    return image(width, height, [&](int i, int j) {
        const double u = double(left) + i, v = double(top) + j;
        const double x = u * cosine + v * sine + left;
        const double y = v * cosine - u * sine + top;
        const auto column = static_cast<int64_t>(x), row = static_cast<int64_t>(y);
        if (column < 0 || column >= from.width || row < 0 || row >= from.height) return 9;
        const auto pixel = [&](int64_t right, int64_t down) {
            const auto at = static_cast<size_t>((row + down) * from.width + column + right);
            return at < from.bytes.size() ? double{0} + from.bytes[at] : 0.0;
        };
        const double fx = x - static_cast<double>(column), fy = y - static_cast<double>(row);
        return static_cast<int>((pixel(0, 0) * (1 - fx) + pixel(1, 0) * fx) * (1 - fy) +
                                (pixel(1, 1) * fx + pixel(0, 1) * (1 - fx)) * fy);
    });
}

TEST(Raster, TurnedCutsAreThoseOfThePlainLoopAtEachAngle) {
    int inside = 0;
    for (const Source& from : {Source{127, 47}, Source{1, 40}, Source{40, 1}, Source{2, 2}}) {
        for (int angle = -360; angle < 400; ++angle) {
            if (angle % 90 == 0 && angle != -360) continue;
            const double radians =
                (angle < 0 ? angle + 360 + (angle == -360 ? 360 : 0) : angle % 360) *
                3.141592653589793 / 180;
            for (const auto& [x, y] : {std::pair(0, 0), {-9, 13}, {17, -30}, {INT32_MAX, 5}}) {
                const int width = 1 + (angle & 255), height = 60;
                const Bytes plain = turned_plainly(from, width, height, radians, x, y);
                inside += static_cast<int>(std::count_if(plain.begin(), plain.end(),
                                                         [](uint8_t byte) { return byte != 9; }));
                Bytes target(plain.size());
                MOLTE_UTIL_RotateCutInDeg(from.bytes.data(), from.width, from.height, target.data(),
                                          width, height, angle, x, y, 1, 2, 9);
                ASSERT_EQ(target, plain) << angle << " " << x << " " << y;
            }
        }
    }
    EXPECT_GT(inside, 300000);
}

TEST(Raster, NoPixelsAreNoFailure) {
    uint8_t byte = 5;
    EXPECT_EQ(MOLTE_UTIL_UpSideDownData(&byte, -1, 1) + MOLTE_UTIL_UpSideDownData(&byte, 1, -1), 2);
    EXPECT_EQ(MOLTE_UTIL_LeftRightData(&byte, -1, 1) + MOLTE_UTIL_LeftRightData(&byte, 1, -1), 2);
    EXPECT_EQ(MOLTE_UTIL_Rotate90Deg(&byte, -1, 1, nullptr), 1);
    EXPECT_EQ(MOLTE_UTIL_RotateCutInDeg(&byte, 1, 1, &byte, -1, 1, 33, 0, 0, 0, 0, 7), 1);
    EXPECT_EQ(MOLTE_UTIL_RectCut(&byte, 1, 1, &byte, 0, 1, 0, 0), 1);
    EXPECT_EQ(byte, 5);
    for (const auto& [width, height, angle] : {std::tuple(90, 0, 1), {0, 90, 89}}) {
        Bytes target(90 * 90);
        EXPECT_EQ(MOLTE_UTIL_RotateCutInDeg(&byte, width, height, target.data(), 90, 90, angle, 0,
                                            0, 0, 0, 9),
                  1);
        EXPECT_EQ(target, Bytes(90 * 90, 9));
    }
}

}  // namespace
