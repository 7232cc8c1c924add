// Device contexts, of the screen and of memory, and the bitmaps that those of memory hold.
#pragma once

#include <cstddef>
#include <cstdint>

#include "display/x11.h"

namespace platform {

// Rows lie top row first, each padded to four bytes, in the same block behind the record.
struct Bitmap {
    int width;
    int height;
    int bits;  // 8 or 32
    [[nodiscard]] size_t stride() const {
        return (static_cast<size_t>(width) * static_cast<size_t>(bits) / 8 + 3) & ~size_t{3};
    }
    [[nodiscard]] uint8_t* row(int y) {
        return reinterpret_cast<uint8_t*>(this + 1) + static_cast<size_t>(y) * stride();
    }
};

struct DeviceContext {
    Display* display;  // of the screen; null for memory
    bool lost;         // the connection
    Bitmap* bitmap;    // of memory
};

// What the library tells of a screen's way to show colors.
struct Visual {
    void* extension;
    unsigned long id;
    int kind;
    unsigned long red_mask;  // zeros where a pixel is a place in a palette
    unsigned long green_mask;
    unsigned long blue_mask;
    int bits_per_color;
    int map_entries;
};
[[nodiscard]] const Visual& visual_of(Display* display);

// Copies a part of the screen, whose size is that of the bitmap's part at (x, y); false when the
// server gives none.
[[nodiscard]] bool copy_screen(Display* display, int screen_x, int screen_y, int width, int height,
                               Bitmap& bitmap, int x, int y);

}  // namespace platform
