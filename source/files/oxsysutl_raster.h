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

// Writes what the source has for a target; what it hasn't stays.
void cut_turned(const TurnedCut& cut, uint8_t* target, int32_t width, int32_t height);

}  // namespace molte
