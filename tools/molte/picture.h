// Pictures of BMP files, in planes of one byte a pixel as raster.h works on them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool.h"

namespace tool {

struct Pixel {
    uint8_t blue = 0, green = 0, red = 0;

    [[nodiscard]] bool is_grey() const { return blue == green && green == red; }
};

struct Picture {
    using Plane = std::vector<uint8_t>;

    int32_t width = 0, height = 0;
    std::vector<Plane> planes;             // numbers of the palette; or blue, green and red
    std::vector<Pixel> palette;            // 1 to 256; empty for three planes
    int32_t x_density = 0, y_density = 0;  // pixels a metre; 0 is unknown

    [[nodiscard]] bool is_grey() const;
    [[nodiscard]] Pixel at(int32_t x, int32_t y) const;
    [[nodiscard]] Pixel at(size_t index) const;
};

// What a picture may have at most, whether it is loaded or made; a wrong use if it is made.
constexpr int32_t kMostPixels = 1 << 28;

// "-" is standard input and output. What is saved replaces a file that is there.
Picture load_picture(Output& out, const std::string& argument);
void save_picture(Output& out, const std::string& argument, const Picture& picture);

Picture captured_screen();  // in 24 bits

// The picture such that its planes have this colour and can be mixed: of all greys if it and the
// colour are grey, else in three planes.
Picture mixable(const Picture& picture, Pixel colour);

// Draws it in the terminal that standard output is, or tells that it is none: false.
bool show_picture(Tool& tool, const Picture& picture);

}  // namespace tool
