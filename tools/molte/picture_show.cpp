// A picture in the terminal: two rows of it in a line, by half blocks in colour or by characters.
#include <algorithm>
#include <array>

#include "interrupt.h"
#include "picture.h"

namespace tool {

namespace {

// The same picture in as many cells as the terminal has columns; a cell is the mean of its pixels.
class Cells {
 public:
    Cells(const Picture& picture, int columns)
        : picture_(picture), columns_(std::min(columns, picture.width)) {
        const int64_t scaled = int64_t{picture.height} * columns_ / picture.width;
        rows_ = static_cast<int>(std::max<int64_t>(scaled, 1));
    }
    [[nodiscard]] int columns() const { return columns_; }
    [[nodiscard]] int rows() const { return rows_; }
    [[nodiscard]] Pixel at(int column, int row) const {
        const auto [left, right] = span(column, columns_, picture_.width);
        const auto [top, bottom] = span(row, rows_, picture_.height);
        std::array<int64_t, 3> sums{};
        for (int32_t y = top; y < bottom; ++y) {
            for (int32_t x = left; x < right; ++x) {
                const Pixel pixel = picture_.at(x, y);
                sums[0] += pixel.blue;
                sums[1] += pixel.green;
                sums[2] += pixel.red;
            }
        }
        const int64_t count = int64_t{right - left} * (bottom - top);
        const auto mean = [&](int64_t sum) { return static_cast<uint8_t>(sum / count); };
        return {mean(sums[0]), mean(sums[1]), mean(sums[2])};
    }

 private:
    static std::pair<int32_t, int32_t> span(int cell, int cells, int32_t pixels) {
        const auto begin = [&](int64_t at) { return static_cast<int32_t>(at * pixels / cells); };
        return {begin(cell), begin(cell + 1)};
    }

    const Picture& picture_;
    int columns_, rows_;
};

std::string colour_code(const char* place, Pixel pixel) {
    return std::string("\x1b[") + place + ";2;" + std::to_string(pixel.red) + ";" +
           std::to_string(pixel.green) + ";" + std::to_string(pixel.blue) + "m";
}

// The upper half in the colour of letters, the lower one in that of their ground.
std::string blocks(const Cells& cells, int row) {
    std::string line, before;
    for (int column = 0; column < cells.columns(); ++column) {
        std::string codes = colour_code("38", cells.at(column, row));
        if (row + 1 < cells.rows()) codes += colour_code("48", cells.at(column, row + 1));
        if (codes != before) line += codes;
        before = codes;
        line += "\u2580";
    }
    return line + "\x1b[0m";
}

// More ink is more light, as letters are bright in most terminals.
std::string characters(const Cells& cells, int row) {
    constexpr std::string_view ramp = " .:-=+*#%@";
    std::string line;
    for (int column = 0; column < cells.columns(); ++column) {
        size_t light = 0, count = 0;
        for (; count < 2 && row + static_cast<int>(count) < cells.rows(); ++count) {
            const Pixel pixel = cells.at(column, row + static_cast<int>(count));
            light +=
                (size_t{299} * pixel.red + size_t{587} * pixel.green + size_t{114} * pixel.blue) /
                1000;
        }
        line += ramp[light * ramp.size() / (256 * count)];
    }
    return line;
}

}  // namespace

bool show_picture(Tool& tool, const Picture& picture) {
    const int columns = tool.out.columns();
    if (columns == 0 || tool.settings.json) {
        tool.warn("not shown: pictures are drawn in a terminal alone");
        return false;
    }
    const Cells cells(picture, columns);
    const bool colours = tool.out.has_colours() && tool.settings.encoding == Encoding::utf8;
    for (int row = 0; row < cells.rows(); row += 2) {
        end_if_interrupted();
        tool.out.line(colours ? blocks(cells, row) : characters(cells, row));
    }
    return true;
}

}  // namespace tool
