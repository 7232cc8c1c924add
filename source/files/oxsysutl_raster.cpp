// Mirrors, turns and cuts of raster images.
#include "files/oxsysutl_raster.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/raster.h"

using molte::here;

namespace {

constexpr auto kModule = molte::kOxsysutl;

constexpr int64_t kWord = sizeof(uint64_t);

uint64_t reversed_word(const uint8_t* at) {
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    return __builtin_bswap64(word);
}

void reverse_copy(const uint8_t* source, uint8_t* target, int64_t count) {
    const uint8_t* end = source + count;
    for (; end - source >= kWord; target += kWord) {
        end -= kWord;
        const uint64_t word = reversed_word(end);
        std::memcpy(target, &word, sizeof word);
    }
    std::reverse_copy(source, end, target);
}

void reverse(uint8_t* begin, uint8_t* end) {
    for (; end - begin >= 2 * kWord; begin += kWord) {
        end -= kWord;
        const uint64_t first = reversed_word(begin);
        const uint64_t last = reversed_word(end);
        std::memcpy(begin, &last, sizeof last);
        std::memcpy(end, &first, sizeof first);
    }
    std::reverse(begin, end);
}

// ---- Transposition, by blocks that lie in registers ----

constexpr int64_t kBlock = 16;
constexpr int64_t kTile = 64;  // rows and columns that share lines of the cache

using Row = uint8_t __attribute__((vector_size(kBlock)));

// An image, or the part of one: where its row 0 begins, and how far the next one is.
template <typename Byte>
struct Rows {
    Byte* first;
    int64_t stride;
    [[nodiscard]] Byte* at(int64_t row, int64_t column) const {
        return first + row * stride + column;
    }
};

// Each of the four steps takes row i and row i + 8 to rows 2i and 2i + 1, byte by byte in turns.
void transpose_block(Rows<const uint8_t> source, Rows<uint8_t> target, int64_t row,
                     int64_t column) {
    Row rows[kBlock];
#pragma GCC unroll 16
    for (int i = 0; i < kBlock; ++i) std::memcpy(&rows[i], source.at(row + i, column), kBlock);
#pragma GCC unroll 4
    for (int step = 0; step < 4; ++step) {
        Row next[kBlock];
#pragma GCC unroll 8
        for (int i = 0; i < kBlock / 2; ++i) {
            const Row upper = rows[i];
            const Row lower = rows[i + kBlock / 2];
            next[2 * i] = __builtin_shufflevector(upper, lower, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20,
                                                  5, 21, 6, 22, 7, 23);
            next[2 * i + 1] = __builtin_shufflevector(upper, lower, 8, 24, 9, 25, 10, 26, 11, 27,
                                                      12, 28, 13, 29, 14, 30, 15, 31);
        }
#pragma GCC unroll 16
        for (int i = 0; i < kBlock; ++i) rows[i] = next[i];
    }
#pragma GCC unroll 16
    for (int i = 0; i < kBlock; ++i) std::memcpy(target.at(column + i, row), &rows[i], kBlock);
}

void transpose_tile(Rows<const uint8_t> source, Rows<uint8_t> target, int64_t top, int64_t left,
                    int64_t bottom, int64_t right) {
    const int64_t whole_bottom = bottom - (bottom - top) % kBlock;
    const int64_t whole_right = right - (right - left) % kBlock;
    for (int64_t column = left; column < whole_right; column += kBlock) {
        for (int64_t row = top; row < whole_bottom; row += kBlock) {
            transpose_block(source, target, row, column);
        }
    }
    for (int64_t row = top; row < bottom; ++row) {
        const int64_t from = row < whole_bottom ? whole_right : left;
        for (int64_t column = from; column < right; ++column) {
            *target.at(column, row) = *source.at(row, column);
        }
    }
}

void transpose(Rows<const uint8_t> source, Rows<uint8_t> target, int64_t width, int64_t height) {
    for (int64_t top = 0; top < height; top += kTile) {
        for (int64_t left = 0; left < width; left += kTile) {
            transpose_tile(source, target, top, left, std::min(top + kTile, height),
                           std::min(left + kTile, width));
        }
    }
}

// ---- Turns ----

using Turn = void (*)(const uint8_t* source, int64_t width, int64_t height, uint8_t* target);

void turn_by_90(const uint8_t* source, int64_t width, int64_t height, uint8_t* target) {
    transpose({source, width}, {target, height}, width, height);
}

void turn_by_180(const uint8_t* source, int64_t width, int64_t height, uint8_t* target) {
    reverse_copy(source, target, width * height);
}

void turn_by_270(const uint8_t* source, int64_t width, int64_t height, uint8_t* target) {
    transpose({source, width}, {target + (width - 1) * height, -height}, width, height);
}

void copy(const uint8_t* source, int64_t width, int64_t height, uint8_t* target) {
    std::memcpy(target, source, static_cast<size_t>(width * height));
}

int32_t turn_to(Turn turn, void* data, int32_t width, int32_t height, void* target) {
    if (width < 1 || height < 1) return 1;
    auto* bytes = static_cast<uint8_t*>(data);
    if (target != nullptr) {
        turn(bytes, width, height, static_cast<uint8_t*>(target));
        return 1;
    }
    const auto before =
        molte::allocate_list<uint8_t>(static_cast<size_t>(width) * static_cast<size_t>(height));
    if (before == nullptr) return kModule.trace(here());
    copy(bytes, width, height, before.get());
    turn(before.get(), width, height, bytes);
    return 1;
}

int64_t normalised(int64_t angle) {
    return angle >= 0 ? angle % 360 : angle - angle / 360 * 360 + 360;
}

// ---- Cuts ----

// What a cut takes along one side: from where in the source, to where in the target, how much.
struct Side {
    int64_t from;
    int64_t to;
    int64_t count;
};

// False when the cut lies beside the source.
bool cut_side(int64_t size, int64_t target_size, int64_t at, Side* side) {
    if (at < 0) {
        if (target_size + at < 1) return false;
        *side = {0, -at, std::min(target_size + at, size)};
        return true;
    }
    if (at >= size) return false;
    *side = {at, 0, std::min(size - at, target_size)};
    return true;
}

struct Image {
    const uint8_t* bytes;
    int64_t width;
    int64_t height;
};

int32_t cut(const Image& source, uint8_t* target, int64_t width, int64_t height, int64_t x,
            int64_t y) {
    Side across;
    Side down;
    if (!cut_side(source.width, width, x, &across) || !cut_side(source.height, height, y, &down)) {
        return 0;
    }
    if (across.count < 1) return 1;
    for (int64_t i = 0; i < down.count; ++i) {
        std::memcpy(target + (down.to + i) * width + across.to,
                    source.bytes + (down.from + i) * source.width + across.from,
                    static_cast<size_t>(across.count));
    }
    return 1;
}

// Sine and cosine are taken once.
void cut_by_angle(const Image& source, uint8_t* target, int32_t width, int32_t height,
                  int64_t angle, int32_t x, int32_t y) {
    constexpr double kPi = 3.141592653589793;
    const double radians = static_cast<double>(angle) * kPi / 180;
    const molte::TurnedCut turned{source.bytes,          source.width,      source.height,
                                  std::cos(radians),     std::sin(radians), static_cast<double>(x),
                                  static_cast<double>(y)};
    molte::cut_turned(turned, target, width, height);
}

}  // namespace

int32_t MOLTE_UTIL_UpSideDownData(void* pData, int32_t nRowSize, int32_t nRows) {
    if (nRowSize < 1 || nRows < 1) return 1;
    const auto size = static_cast<size_t>(nRowSize);
    const auto row = molte::allocate<uint8_t>(nRowSize);
    if (row == nullptr) return kModule.trace(here());
    auto* upper = static_cast<uint8_t*>(pData);
    auto* lower = upper + (static_cast<size_t>(nRows) - 1) * size;
    for (; upper < lower; upper += size, lower -= size) {
        std::memcpy(row.get(), upper, size);
        std::memcpy(upper, lower, size);
        std::memcpy(lower, row.get(), size);
    }
    return 1;
}

int32_t MOLTE_UTIL_LeftRightData(void* pData, int32_t nRowSize, int32_t nRows) {
    if (nRowSize < 1) return 1;
    auto* row = static_cast<uint8_t*>(pData);
    for (int32_t i = 0; i < nRows; ++i, row += nRowSize) reverse(row, row + nRowSize);
    return 1;
}

void MOLTE_UTIL_ReverseCopy(const void* pLast, void* pTarget, int32_t nCount) {
    if (nCount < 1) return;
    const auto* first = static_cast<const uint8_t*>(pLast) - (nCount - 1);
    reverse_copy(first, static_cast<uint8_t*>(pTarget), nCount);
}

int32_t MOLTE_UTIL_Rotate90Deg(void* pData, int32_t nWidth, int32_t nHeight, void* pTarget) {
    return turn_to(turn_by_90, pData, nWidth, nHeight, pTarget);
}

int32_t MOLTE_UTIL_Rotate180Deg(void* pData, int32_t nWidth, int32_t nHeight, void* pTarget) {
    return turn_to(turn_by_180, pData, nWidth, nHeight, pTarget);
}

int32_t MOLTE_UTIL_Rotate270Deg(void* pData, int32_t nWidth, int32_t nHeight, void* pTarget) {
    return turn_to(turn_by_270, pData, nWidth, nHeight, pTarget);
}

int32_t MOLTE_UTIL_RotateInDeg(const void* pData, int32_t nWidth, int32_t nHeight, uint8_t** ppBuf,
                               int32_t* pnWidth, int32_t* pnHeight, int32_t nAngle) {
    const int64_t angle = normalised(nAngle);
    if (angle % 90 != 0 || angle == 360) return 0;
    constexpr Turn kTurns[] = {copy, turn_by_90, turn_by_180, turn_by_270};
    const bool has_pixels = nWidth > 0 && nHeight > 0;
    auto turned = molte::allocate_list<uint8_t>(
        has_pixels ? static_cast<size_t>(nWidth) * static_cast<size_t>(nHeight) : 1);
    if (turned == nullptr) return kModule.trace(here());
    if (has_pixels) {
        kTurns[angle / 90](static_cast<const uint8_t*>(pData), nWidth, nHeight, turned.get());
    }
    const bool exchanged = angle % 180 != 0;
    *ppBuf = turned.release();
    *pnWidth = exchanged ? nHeight : nWidth;
    *pnHeight = exchanged ? nWidth : nHeight;
    return 1;
}

int32_t MOLTE_UTIL_RotateAnyAngle(const void* /*pData*/, int32_t /*nWidth*/, int32_t /*nHeight*/,
                                  uint8_t** /*ppBuf*/, int32_t* /*pnWidth*/, int32_t* /*pnHeight*/,
                                  int32_t /*nAngle*/) {
    return 0;
}

int32_t MOLTE_UTIL_RectCut(const void* pSource, int32_t nWidth, int32_t nHeight, void* pTarget,
                           int32_t nTargetWidth, int32_t nTargetHeight, int32_t x, int32_t y) {
    return cut({static_cast<const uint8_t*>(pSource), nWidth, nHeight},
               static_cast<uint8_t*>(pTarget), nTargetWidth, nTargetHeight, x, y);
}

int32_t MOLTE_UTIL_RotateCutInDeg(const void* pSource, int32_t nWidth, int32_t nHeight,
                                  void* pTarget, int32_t nTargetWidth, int32_t nTargetHeight,
                                  int32_t nAngle, int32_t x, int32_t y, int32_t /*nIgnored1*/,
                                  int32_t /*nIgnored2*/, uint8_t byFill) {
    if (nTargetWidth < 1 || nTargetHeight < 1) return 1;
    const Image source{static_cast<const uint8_t*>(pSource), nWidth, nHeight};
    auto* const target = static_cast<uint8_t*>(pTarget);
    const int64_t width = nTargetWidth;
    const int64_t height = nTargetHeight;
    std::memset(target, byFill, static_cast<size_t>(width * height));
    int32_t turned = 1;
    switch (const int64_t angle = normalised(nAngle)) {
        case 0:
            cut(source, target, width, height, x, y);
            break;
        case 90:
            cut(source, target, height, width, x - height, y);
            turned = MOLTE_UTIL_Rotate270Deg(target, nTargetHeight, nTargetWidth, nullptr);
            break;
        case 180:  // with the sizes exchanged as well: meant so
            cut(source, target, height, width, x - width, y - height);
            turned = MOLTE_UTIL_Rotate180Deg(target, nTargetWidth, nTargetHeight, nullptr);
            break;
        case 270:  // by 180: meant so
            cut(source, target, height, width, x, y - width);
            turned = MOLTE_UTIL_Rotate180Deg(target, nTargetHeight, nTargetWidth, nullptr);
            break;
        default:
            cut_by_angle(source, target, nTargetWidth, nTargetHeight, angle, x, y);
    }
    return turned < 0 ? kModule.trace(here()) : 1;
}
