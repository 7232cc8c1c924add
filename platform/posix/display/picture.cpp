#include "display/picture.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace platform {

namespace {

// The head of the library's own record; functions that work on it follow.
struct Image {
    int width;
    int height;
    int x_offset;
    int format;
    char* data;
    int byte_order;
    int bitmap_unit;
    int bitmap_bit_order;
    int bitmap_pad;
    int depth;
    int bytes_per_line;
    int bits_per_pixel;
    unsigned long red_mask;
    unsigned long green_mask;
    unsigned long blue_mask;
};

constexpr int kWholePixels = 2;  // not planes
constexpr int kLowByteFirst = 0;

// A pixel's part under a mask, in 0 to 255.
uint8_t color_of(unsigned long pixel, unsigned long mask) {
    if (mask == 0) return 0;
    const int shift = std::countr_zero(mask);
    const unsigned long most = mask >> shift;
    return static_cast<uint8_t>((((pixel & mask) >> shift) * 255 + most / 2) / most);
}

// Whether its pixels lie as those of a bitmap do.
bool lies_alike(const Image& image, const Bitmap& bitmap) {
    if (image.bits_per_pixel != bitmap.bits) return false;
    return bitmap.bits == 8 || (image.byte_order == kLowByteFirst && image.red_mask == 0xFF0000 &&
                                image.green_mask == 0xFF00 && image.blue_mask == 0xFF);
}

void copy_pixel_by_pixel(Image* image, int y, uint8_t* row, int bits) {
    for (int x = 0; x < image->width; ++x) {
        const auto pixel = x11.call<unsigned long>("XGetPixel", image, x, y);
        if (bits == 8) {
            row[x] = static_cast<uint8_t>(pixel);
            continue;
        }
        uint8_t* const at = row + ptrdiff_t{4} * x;
        at[0] = color_of(pixel, image->blue_mask);
        at[1] = color_of(pixel, image->green_mask);
        at[2] = color_of(pixel, image->red_mask);
        at[3] = 0;
    }
}

}  // namespace

const Visual& visual_of(Display* display) {
    const int screen = x11.call<int>("XDefaultScreen", display);
    return *x11.call<const Visual*>("XDefaultVisual", display, screen);
}

bool copy_screen(Display* display, int screen_x, int screen_y, int width, int height,
                 Bitmap& bitmap, int x, int y) {
    const auto root =
        x11.call<Window>("XRootWindow", display, x11.call<int>("XDefaultScreen", display));
    auto* const image = x11.call<Image*>("XGetImage", display, root, screen_x, screen_y,
                                         static_cast<unsigned>(width),
                                         static_cast<unsigned>(height), ~0UL, kWholePixels);
    if (image == nullptr) return false;
    const int bytes = bitmap.bits / 8;
    for (int i = 0; i < height; ++i) {
        uint8_t* const row = bitmap.row(y + i) + ptrdiff_t{bytes} * x;
        if (lies_alike(*image, bitmap)) {
            std::memcpy(row, image->data + ptrdiff_t{i} * image->bytes_per_line,
                        static_cast<size_t>(width) * static_cast<size_t>(bytes));
        } else {
            copy_pixel_by_pixel(image, i, row, bitmap.bits);
        }
    }
    x11.call<int>("XDestroyImage", image);
    return true;
}

}  // namespace platform
