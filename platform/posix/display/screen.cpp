#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "display/picture.h"
#include "display/x11.h"
#include "platform/display.h"

using namespace platform;

namespace {

// What a context of memory holds at first; it stays black.
struct {
    Bitmap bitmap{1, 1, 32};
    uint32_t pixel = 0;
} first_bitmap;

DeviceContext* context_of(HDC context) {
    return static_cast<DeviceContext*>(context);
}

// Null with ERROR_NOT_ENOUGH_MEMORY.
DeviceContext* make_context(Display* display, Bitmap* bitmap) {
    auto* const context = new (std::nothrow) DeviceContext{display, false, bitmap};
    if (context == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return context;
}

int size_of(Display* display, const char* which) {
    return x11.call<int>(which, display, x11.call<int>("XDefaultScreen", display));
}

bool has_palette(Display* display) {
    return visual_of(display).red_mask == 0;
}

bool is_within(int at, int size, int whole) {
    return at >= 0 && size >= 1 && at <= whole - size;
}

// Behind a call that failed, or must have: why.
bool tell_loss(DeviceContext& screen) {
    screen.lost = is_lost(screen.display, 0);
    if (screen.lost) SetLastError(ERROR_BROKEN_PIPE);
    return screen.lost;
}

template <typename Result>
Result refuse(DWORD error) {
    SetLastError(error);
    return Result{};
}

struct Color {
    unsigned long pixel;
    unsigned short red;
    unsigned short green;
    unsigned short blue;
    char flags;
    char pad;
};

}  // namespace

HDC CreateDCA(const char* driver, const char* device, const char* port, const void* settings) {
    if (driver == nullptr || strcmp(driver, "DISPLAY") != 0 || device != nullptr ||
        port != nullptr || settings != nullptr) {
        return refuse<HDC>(ERROR_INVALID_PARAMETER);
    }
    Display* const display = open_display();
    if (display == nullptr) return nullptr;
    DeviceContext* const screen = make_context(display, nullptr);
    if (screen == nullptr) close_display(display);
    return screen;
}

int GetDeviceCaps(HDC context, int what) {
    Display* const display = context_of(context)->display;
    if (display == nullptr || (what != HORZRES && what != VERTRES)) return 0;
    return size_of(display, what == HORZRES ? "XDisplayWidth" : "XDisplayHeight");
}

HDC CreateCompatibleDC(HDC) {
    return make_context(nullptr, &first_bitmap.bitmap);
}

BOOL DeleteDC(HDC context) {
    DeviceContext* const closed = context_of(context);
    if (closed->lost) {
        keep_lost_display(closed->display);
    } else if (closed->display != nullptr) {
        close_display(closed->display);
    }
    delete closed;
    return TRUE;
}

HBITMAP CreateCompatibleBitmap(HDC screen, int width, int height) {
    Display* const display = context_of(screen)->display;
    if (display == nullptr || width < 1 || height < 1) {
        return refuse<HBITMAP>(ERROR_INVALID_PARAMETER);
    }
    const Bitmap bitmap{width, height, has_palette(display) ? 8 : 32};
    auto* const made = static_cast<Bitmap*>(
        std::calloc(static_cast<size_t>(height) + 1, std::max(bitmap.stride(), sizeof bitmap)));
    if (made == nullptr) return refuse<HBITMAP>(ERROR_NOT_ENOUGH_MEMORY);
    *made = bitmap;
    return made;
}

HGDIOBJ SelectObject(HDC memory, HGDIOBJ bitmap) {
    DeviceContext* const context = context_of(memory);
    if (context->bitmap == nullptr || bitmap == nullptr) {
        return refuse<HGDIOBJ>(ERROR_INVALID_PARAMETER);
    }
    return std::exchange(context->bitmap, static_cast<Bitmap*>(bitmap));
}

BOOL DeleteObject(HGDIOBJ bitmap) {
    if (bitmap != &first_bitmap.bitmap) std::free(bitmap);
    return TRUE;
}

BOOL BitBlt(HDC memory, int x, int y, int width, int height, HDC screen, int screen_x, int screen_y,
            DWORD operation) {
    Bitmap* const bitmap = context_of(memory)->bitmap;
    DeviceContext& source = *context_of(screen);
    if (operation != SRCCOPY || bitmap == nullptr || source.display == nullptr ||
        !is_within(x, width, bitmap->width) || !is_within(y, height, bitmap->height) ||
        !is_within(screen_x, width, GetDeviceCaps(screen, HORZRES)) ||
        !is_within(screen_y, height, GetDeviceCaps(screen, VERTRES))) {
        return refuse<BOOL>(ERROR_INVALID_PARAMETER);
    }
    // A display that is known to be lost isn't asked: its library would unlock it twice.
    if (tell_loss(source)) return FALSE;
    if (copy_screen(source.display, screen_x, screen_y, width, height, *bitmap, x, y)) return TRUE;
    if (!tell_loss(source)) SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
}

int GetObjectA(HGDIOBJ bitmap, int size, void* record) {
    if (size != sizeof(BITMAP)) return refuse<int>(ERROR_INVALID_PARAMETER);
    const Bitmap& told = *static_cast<Bitmap*>(bitmap);
    *static_cast<BITMAP*>(record) = {0,           told.width,
                                     told.height, static_cast<LONG>(told.stride()),
                                     1,           static_cast<WORD>(told.bits),
                                     nullptr};
    return size;
}

UINT GetSystemPaletteEntries(HDC screen, UINT first, UINT count, PALETTEENTRY* entries) {
    DeviceContext& context = *context_of(screen);
    if (context.display == nullptr || !has_palette(context.display)) {
        return refuse<UINT>(ERROR_NOT_SUPPORTED);
    }
    constexpr UINT kMost = 256;
    const auto known = std::min(static_cast<UINT>(visual_of(context.display).map_entries), kMost);
    if (first >= known) return refuse<UINT>(ERROR_INVALID_PARAMETER);
    count = std::min(count, known - first);
    Color colors[kMost] = {};
    for (UINT i = 0; i < count; ++i) colors[i].pixel = first + i;
    const auto map = static_cast<unsigned long>(x11.call<unsigned long>(
        "XDefaultColormap", context.display, x11.call<int>("XDefaultScreen", context.display)));
    x11.call<int>("XQueryColors", context.display, map, &colors[0], static_cast<int>(count));
    if (tell_loss(context)) return 0;
    for (UINT i = 0; i < count; ++i) {
        const auto byte = [](unsigned short part) { return static_cast<BYTE>(part >> 8); };
        entries[i] = {byte(colors[i].red), byte(colors[i].green), byte(colors[i].blue), 0};
    }
    return count;
}

int GetDIBits(HDC, HBITMAP bitmap, UINT first, UINT count, void* pixels, BITMAPINFO* info,
              UINT colors) {
    Bitmap& source = *static_cast<Bitmap*>(bitmap);
    const BITMAPINFOHEADER& asked = info->bmiHeader;
    const bool bottom_first = asked.biHeight > 0;
    if (first != 0 || count != static_cast<UINT>(source.height) || colors != DIB_RGB_COLORS ||
        asked.biWidth != source.width || asked.biPlanes != 1 || asked.biBitCount != source.bits ||
        asked.biCompression != 0 || std::abs(int64_t{asked.biHeight}) != source.height) {
        return refuse<int>(ERROR_INVALID_PARAMETER);
    }
    auto* row = static_cast<uint8_t*>(pixels);
    for (int y = 0; y < source.height; ++y, row += source.stride()) {
        memcpy(row, source.row(bottom_first ? source.height - 1 - y : y), source.stride());
    }
    return source.height;
}
