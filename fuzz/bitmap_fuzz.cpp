// A BMP file as somebody may have written it: loaded, saved with either row first, loaded again.
#include "frame.h"

namespace {

std::string pixels_of(const OXBMPFILESTRUCT& image) {
    const int64_t row = int64_t{image.pInfo->nWidth} * image.pInfo->nBitCount / 8;
    return {reinterpret_cast<const char*>(image.pData),
            static_cast<size_t>(row * image.pInfo->nHeight)};
}

}  // namespace

void try_input(std::string_view input) {
    OXBMPFILESTRUCT image;
    if (ORVEX_LoadBMPFromFile(file_of(input), &image) < 0) {
        return must(image.pInfo == nullptr && image.pData == nullptr);
    }
    const std::string pixels = pixels_of(image);
    must(pixels.size() <= input.size());
    const bool has_room = image.pInfo->nColorsUsed <= 256;
    image.pInfo->nHeight = -image.pInfo->nHeight;
    const char* const path = file_of("");
    must((ORVEX_SaveBMPToFile(path, &image) == 1) == has_room);
    if (has_room) {
        OXBMPFILESTRUCT again;
        must(ORVEX_LoadBMPFromFile(path, &again) == 1 && pixels_of(again) == pixels);
        ORVEX_OXBMPFILESTRUCT_Free(&again);
    }
    ORVEX_OXBMPFILESTRUCT_Free(&image);
}
