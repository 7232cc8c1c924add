// A picture of the screen as a BMP file in memory.
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/bitmap.h"
#include "platform/display.h"

using molte::here;

namespace {

constexpr auto kModule = molte::kOximgop;

constexpr LONG kResolution = 3000;
constexpr int kMostColors = 256;

int32_t fail(int32_t line, const char* call) {
    return kModule.fail_text(line, molte::kBadArgument, molte::SystemError::platform, call);
}

// A device context of the screen or of memory; null for none.
class Context {
 public:
    explicit Context(HDC context) : context_(context) {}
    ~Context() {
        if (context_ != nullptr) DeleteDC(context_);
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    [[nodiscard]] HDC get() const { return context_; }

 private:
    HDC context_;
};

// A bitmap, which a context may hold; null for none. It leaves the context before it is deleted.
class Bitmap {
 public:
    explicit Bitmap(HBITMAP bitmap) : bitmap_(bitmap) {}
    ~Bitmap() {
        leave();
        if (bitmap_ != nullptr) DeleteObject(bitmap_);
    }
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;
    [[nodiscard]] HBITMAP get() const { return bitmap_; }
    bool enter(HDC context) {
        context_ = context;
        before_ = SelectObject(context, bitmap_);
        return before_ != nullptr;
    }
    // The pixels may be asked for only then.
    void leave() {
        if (before_ != nullptr) SelectObject(context_, before_);
        before_ = nullptr;
    }

 private:
    HBITMAP bitmap_;
    HDC context_ = nullptr;
    HGDIOBJ before_ = nullptr;
};

int rounded_bits(int bits) {
    for (const int known : {1, 4, 8, 16, 24}) {
        if (bits <= known) return known;
    }
    return 32;
}

// An info header with room for a palette, as the calls of the system want it.
struct Info {
    BITMAPINFOHEADER header;
    RGBQUAD colors[kMostColors];
};

// What the file will be.
struct Picture {
    explicit Picture(const BITMAP& bitmap)
        : bits(rounded_bits(int{bitmap.bmPlanes} * bitmap.bmBitsPixel)),
          colors(bits <= 8 ? 1 << bits : 0),
          image_size((int64_t{bits} * bitmap.bmWidth / 8 + 3) / 4 * bitmap.bmHeight * 4),
          header_size(static_cast<int64_t>(sizeof(OXBITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER)) +
                      colors * static_cast<int64_t>(sizeof(RGBQUAD))),
          // A row of few bits is longer than the image size says.
          room(header_size + (int64_t{bits} * bitmap.bmWidth + 31) / 32 * bitmap.bmHeight * 4) {
        info.header.biSize = sizeof info.header;
        info.header.biWidth = bitmap.bmWidth;
        info.header.biHeight = bitmap.bmHeight;
        info.header.biPlanes = bitmap.bmPlanes;
        info.header.biBitCount = bitmap.bmBitsPixel;
        info.header.biSizeImage = static_cast<DWORD>(image_size);
        info.header.biXPelsPerMeter = kResolution;
        info.header.biYPelsPerMeter = kResolution;
        info.header.biClrUsed = static_cast<DWORD>(colors);
    }
    int bits;
    int colors;
    int64_t image_size;
    int64_t header_size;
    int64_t room;
    Info info{};
};

bool take_palette(HDC screen, Picture* picture) {
    PALETTEENTRY entries[kMostColors] = {};
    if (picture->colors == 0) return true;
    if (GetSystemPaletteEntries(screen, 0, static_cast<UINT>(picture->colors), entries) == 0) {
        return false;
    }
    for (int i = 0; i < picture->colors; ++i) {
        picture->info.colors[i] = {entries[i].peBlue, entries[i].peGreen, entries[i].peRed, 0};
    }
    return true;
}

void write_headers(const Picture& picture, uint8_t* file) {
    OXBITMAPFILEHEADER head{};
    head.nType[0] = OXBITMAP_TYPE & 0xFF;
    head.nType[1] = OXBITMAP_TYPE >> 8;
    ORVEX_OXBITMAPFILEHEADER_SetSize(
        &head, static_cast<uint32_t>(picture.header_size + picture.image_size));
    ORVEX_OXBITMAPFILEHEADER_SetOffsetBits(&head, static_cast<uint32_t>(picture.header_size));
    std::memcpy(file, &head, sizeof head);
    std::memcpy(file + sizeof head, &picture.info,
                static_cast<size_t>(picture.header_size) - sizeof head);
}

int32_t file_of(HDC screen, HBITMAP bitmap, const BITMAP& size, uint8_t** file_out,
                int32_t* length_out) {
    Picture picture(size);
    if (picture.room > INT32_MAX) return kModule.fail(here(), molte::kTooLong);
    if (!take_palette(screen, &picture)) return fail(here(), "GetSystemPaletteEntries");
    auto file = molte::allocate_list<uint8_t>(static_cast<size_t>(picture.room));
    if (file == nullptr) return kModule.trace(here());
    write_headers(picture, file.get());
    uint8_t* const pixels = file.get() + picture.header_size;
    Info asked = picture.info;  // the system writes to it
    if (GetDIBits(screen, bitmap, 0, static_cast<UINT>(size.bmHeight), pixels,
                  reinterpret_cast<BITMAPINFO*>(&asked), DIB_RGB_COLORS) == 0) {
        std::printf("%d\n", static_cast<int>(GetLastError()));  // and no failure: meant so
        std::memset(pixels, 0, static_cast<size_t>(picture.room - picture.header_size));
    }
    *file_out = file.release();
    *length_out = static_cast<int32_t>(picture.header_size + picture.image_size);
    return 1;
}

}  // namespace

int32_t CaptureScreen(uint8_t** ppBuf, int32_t* pnLen) {
    *ppBuf = nullptr;
    *pnLen = 0;
    const Context screen(CreateDCA("DISPLAY", nullptr, nullptr, nullptr));
    if (screen.get() == nullptr) return fail(here(), "CreateDC");
    const Context memory(CreateCompatibleDC(screen.get()));
    if (memory.get() == nullptr) return fail(here(), "CreateCompatibleDC");
    const int width = GetDeviceCaps(screen.get(), HORZRES);
    const int height = GetDeviceCaps(screen.get(), VERTRES);
    if (width < 1 || height < 1) return fail(here(), "GetDeviceCaps");
    Bitmap bitmap(CreateCompatibleBitmap(screen.get(), width, height));
    if (bitmap.get() == nullptr) return fail(here(), "CreateCompatibleBitmap");
    if (!bitmap.enter(memory.get())) return fail(here(), "SelectObject");
    if (BitBlt(memory.get(), 0, 0, width, height, screen.get(), 0, 0, SRCCOPY) == FALSE) {
        return fail(here(), "BitBlt");
    }
    bitmap.leave();
    BITMAP size{};
    if (GetObjectA(bitmap.get(), sizeof size, &size) == 0) return fail(here(), "GetObject");
    return file_of(screen.get(), bitmap.get(), size, ppBuf, pnLen);
}
