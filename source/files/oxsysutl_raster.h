// The turned cut, by any angle that isn't a right one.
#pragma once

#include <cstdint>

namespace molte {

// What is cut of an image of one byte per pixel: as MOLTE_UTIL_RotateCutInDeg says.
struct TurnedCut {
    const uint8_t* source;
    int64_t width;
    int64_t height;
    double cosine;
    double sine;
    double x;
    double y;
};

// Mixes target pixels [begin, end) of the row at v of that cut, all of whose places lie in the
// source: four at a time where the processor can, or one by one.
using MixPixels = void (*)(const TurnedCut& cut, double v, int32_t begin, int32_t end,
                           uint8_t* row);
void mix_pixels(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row);
void mix_pixels_plainly(const TurnedCut& cut, double v, int32_t begin, int32_t end, uint8_t* row);

// Writes what the source has for a target; what it hasn't stays.
void cut_turned(const TurnedCut& cut, uint8_t* target, int32_t width, int32_t height,
                MixPixels mix = mix_pixels);

}  // namespace molte
