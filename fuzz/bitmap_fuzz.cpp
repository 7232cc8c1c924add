// A BMP file as somebody may have written it: loaded beside a plain reader, saved, loaded again.
#include "frame.h"

namespace {

int64_t number_at(std::string_view input, size_t at, size_t size = 4) {
    int64_t number = 0;
    while (size-- > 0) number = number << 8 | static_cast<uint8_t>(input[at + size]);
    return number;
}

// The pixels, top row first; empty when they can't be had.
std::string plain_pixels(std::string_view input) {
    if (input.size() < 54 || !input.starts_with("BM")) return "";
    const int64_t bits = number_at(input, 28, 2);
    const auto width = static_cast<int32_t>(number_at(input, 18));
    const auto height = static_cast<int32_t>(number_at(input, 22));
    const int64_t header = number_at(input, 14);
    int64_t colors = number_at(input, 46);
    if ((bits != 8 && bits != 24) || width < 1 || height == 0 || height == INT32_MIN ||
        header < 40 || number_at(input, 30) != 0) {
        return "";
    }
    if (bits == 8 && colors == 0) colors = 256;
    const auto size = static_cast<int64_t>(input.size());
    const int64_t row = width * (bits / 8);
    const int64_t stride = (row + 3) / 4 * 4;
    const int64_t rows = std::abs(int64_t{height});
    int64_t at = number_at(input, 10);
    if (14 + header + colors * 4 > size || at > size || rows > (size - at) / stride) return "";
    std::string pixels;
    for (int64_t i = 0; i < rows; ++i, at += stride) {
        pixels.insert(height > 0 ? 0 : pixels.size(), input, static_cast<size_t>(at),
                      static_cast<size_t>(row));
    }
    return pixels;
}

std::string pixels_of(const OXBMPFILESTRUCT& image) {
    const int64_t row = int64_t{image.pInfo->nWidth} * image.pInfo->nBitCount / 8;
    return {reinterpret_cast<const char*>(image.pData),
            static_cast<size_t>(row * std::abs(image.pInfo->nHeight))};
}

}  // namespace

void try_input(std::string_view input) {
    const std::string expected = plain_pixels(input);
    OXBMPFILESTRUCT image;
    const int32_t loaded = ORVEX_LoadBMPFromFile(file_of(input), &image);
    must((loaded == 1) == !expected.empty());
    if (loaded != 1) return must(image.pInfo == nullptr && image.pData == nullptr);
    must(pixels_of(image) == expected);
    image.pInfo->nHeight = -image.pInfo->nHeight;
    const char* const path = file_of("");
    must((ORVEX_SaveBMPToFile(path, &image) == 1) == (image.pInfo->nColorsUsed <= 256));
    if (image.pInfo->nColorsUsed <= 256 &&
        (image.pInfo->nBitCount == 24 || image.pInfo->nColorsUsed > 0)) {
        OXBMPFILESTRUCT again;
        must(ORVEX_LoadBMPFromFile(path, &again) == 1 && pixels_of(again) == expected);
        ORVEX_OXBMPFILESTRUCT_Free(&again);
    }
    ORVEX_OXBMPFILESTRUCT_Free(&image);
}
