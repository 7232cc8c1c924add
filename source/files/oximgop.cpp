// Images in BMP files.
#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "core/modules.h"
#include "core/owners.h"
#include "core/transfer.h"
#include "data/oxdatcnv.h"
#include "files/oxfileop.h"
#include "moltelib/bitmap.h"

using molte::Decimal;
using molte::Descriptor;
using molte::Heap;
using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOximgop;

constexpr uint32_t kNoBitmap = 299;
constexpr uint32_t kBadSave = 407;
constexpr uint32_t kBadLoad = 408;

constexpr int64_t kHeadersSize = sizeof(OXBITMAPFILEHEADER) + sizeof(OXBITMAPINFOHEADER);
constexpr uint32_t kColorSize = 4;
constexpr uint32_t kMostColors = 256;
constexpr int32_t kResolution = 20000;

static_assert(std::endian::native == std::endian::little, "the info header is stored as it stands");

int32_t fail_open(int32_t line, const char* name) {
    return kModule.fail_text(line, molte::kNotOpened, SystemError::runtime, name);
}
int32_t fail_open(int32_t line, const wchar_t* name) {
    return kModule.fail_bytes(line, molte::kNotOpened, SystemError::runtime, name,
                              static_cast<int64_t>(std::wcslen(name) * sizeof(wchar_t)));
}

int32_t open_to_load(const char* name) {
    return ORVEX_FileOpenByChmod(name, ORVEX_OPEN_READ);
}
int32_t open_to_load(const wchar_t* name) {
    return ORVEX_FileOpenByChmodW(name, ORVEX_OPEN_READ);
}

bool can_hold(const OXBITMAPINFOHEADER& info) {
    return (info.nBitCount == 8 || info.nBitCount == 24) && info.nCompression == 0 &&
           info.nSize >= sizeof info && info.nWidth > 0 && info.nHeight != 0 &&
           info.nHeight != INT32_MIN;
}

// The pixels, in memory and in a file.
struct Layout {
    explicit Layout(const OXBITMAPINFOHEADER& info)
        : rows(std::abs(int64_t{info.nHeight})),
          row((int64_t{info.nBitCount} * info.nWidth) >> 3),
          stride((row + 3) & ~int64_t{3}) {}
    [[nodiscard]] bool is_padded() const { return stride != row; }
    // Rows that go through a buffer at once: as many as stay in the cache.
    [[nodiscard]] int64_t portion() const {
        constexpr int64_t kPortion = 0x10000;
        return std::clamp<int64_t>(kPortion / stride, 1, rows);
    }
    int64_t rows;
    int64_t row;
    int64_t stride;
};

// ---- Whole transfers, also of more than a call can ----

constexpr int64_t kMostAtOnce = 0x40000000;

int32_t read_bytes(const Descriptor& file, uint8_t* bytes, int64_t size) {
    for (int64_t done = 0; done < size; done += kMostAtOnce) {
        const auto count = static_cast<int32_t>(std::min(size - done, kMostAtOnce));
        if (!molte::read_whole(file.get(), bytes + done, count)) {
            return molte::fail_read(kModule, here(), file.get(), bytes + done, count);
        }
    }
    return 1;
}

int32_t write_bytes(const Descriptor& file, const uint8_t* bytes, int64_t size) {
    for (int64_t done = 0; done < size; done += kMostAtOnce) {
        const auto count = static_cast<int32_t>(std::min(size - done, kMostAtOnce));
        if (!molte::write_whole(file.get(), bytes + done, count)) {
            return molte::fail_write(kModule, here(), file.get(), bytes + done, count);
        }
    }
    return 1;
}

template <typename Record>
int32_t read_record(const Descriptor& file, Record* record) {
    return read_bytes(file, reinterpret_cast<uint8_t*>(record), sizeof *record);
}
template <typename Record>
int32_t write_record(const Descriptor& file, const Record& record) {
    return write_bytes(file, reinterpret_cast<const uint8_t*>(&record), sizeof record);
}

int32_t seek(const Descriptor& file, int64_t position) {
    if (molte::file::seek_whole(file.get(), position)) return 1;
    return kModule.fail(here(), molte::kNoPosition, SystemError::runtime, "fd=%d offset=%s op=%d",
                        file.get(), Decimal(position).text(), SEEK_SET);
}

// ---- Loading ----

uint32_t low_first(const uint8_t (&bytes)[4]) {
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

bool is_bitmap(const OXBITMAPFILEHEADER& head) {
    return (head.nType[0] | head.nType[1] << 8) == OXBITMAP_TYPE;
}

// The blocks of a record, until it is known that all went well.
struct Blocks {
    Heap<uint8_t> info;
    Heap<uint8_t> pixels;
};

// A file is compared with what it tells before any memory is taken.
int32_t must_hold(const Descriptor& file, int64_t length, int64_t position, int64_t count,
                  int64_t size) {
    if (position <= length && (length - position) / size >= count) return 1;
    return kModule.fail(here(), molte::kNotRead, SystemError::none,
                        "fd=%d filelen=%s start=%s count=%s size=%s", file.get(),
                        Decimal(length).text(), Decimal(position).text(), Decimal(count).text(),
                        Decimal(size).text());
}

// Header and palette, which lies behind a header of any length.
int32_t load_info(const Descriptor& file, int64_t length, OXBITMAPINFOHEADER info, Blocks* blocks) {
    if (info.nBitCount == 8 && info.nColorsUsed == 0) info.nColorsUsed = kMostColors;
    const int64_t palette = int64_t{sizeof(OXBITMAPFILEHEADER)} + info.nSize;
    const int64_t size = int64_t{info.nColorsUsed} * kColorSize;
    if (must_hold(file, length, palette, info.nColorsUsed, kColorSize) < 0) return -1;
    const int64_t block_size = size + static_cast<int64_t>(sizeof info) + kColorSize;
    blocks->info = molte::allocate<uint8_t>(block_size);
    if (blocks->info == nullptr) return kModule.trace(here());
    std::memset(blocks->info.get(), 0, static_cast<size_t>(block_size));
    if (palette != kHeadersSize && seek(file, palette) < 0) return -1;
    if (read_bytes(file, blocks->info.get() + sizeof info, size) < 0) return -1;
    info.nSize = sizeof info;
    std::memcpy(blocks->info.get(), &info, sizeof info);
    return 1;
}

// Rows that aren't in the file as they are in memory go to their places from a buffer.
int32_t read_rows(const Descriptor& file, const Layout& layout, bool bottom_first,
                  uint8_t* pixels) {
    if (!bottom_first && !layout.is_padded()) {
        return read_bytes(file, pixels, layout.rows * layout.row);
    }
    const auto buffer = molte::allocate<uint8_t>(layout.portion() * layout.stride);
    if (buffer == nullptr) return kModule.trace(here());
    for (int64_t first = 0; first < layout.rows; first += layout.portion()) {
        const int64_t end = std::min(first + layout.portion(), layout.rows);
        const uint8_t* source = buffer.get();
        if (read_bytes(file, buffer.get(), (end - first) * layout.stride) < 0) return -1;
        for (int64_t i = first; i < end; ++i, source += layout.stride) {
            const int64_t row = bottom_first ? layout.rows - 1 - i : i;
            std::memcpy(pixels + row * layout.row, source, static_cast<size_t>(layout.row));
        }
    }
    return 1;
}

int32_t load_pixels(const Descriptor& file, int64_t length, const OXBITMAPFILEHEADER& head,
                    const OXBITMAPINFOHEADER& info, bool bottom_first, Blocks* blocks) {
    const Layout layout(info);
    const int64_t offset = low_first(head.nOffsetBits);
    if (must_hold(file, length, offset, layout.rows, layout.stride) < 0) return -1;
    if (seek(file, offset) < 0) return -1;
    blocks->pixels = molte::allocate_list<uint8_t>(static_cast<size_t>(layout.rows * layout.row));
    if (blocks->pixels == nullptr) return kModule.trace(here());
    return read_rows(file, layout, bottom_first, blocks->pixels.get());
}

int32_t load_from(const Descriptor& file, OXBMPFILESTRUCT* image) {
    OXBITMAPFILEHEADER head;
    OXBITMAPINFOHEADER info;
    if (read_record(file, &head) < 0 || read_record(file, &info) < 0) return -1;
    if (!is_bitmap(head) || !can_hold(info)) {
        return kModule.fail(here(), kNoBitmap, SystemError::none, "should 8 or 24 bits");
    }
    const bool bottom_first = info.nHeight > 0;
    info.nHeight = std::abs(info.nHeight);
    const int64_t length = _filelengthi64(file.get());
    Blocks blocks;
    if (load_info(file, length, info, &blocks) < 0 ||
        load_pixels(file, length, head, info, bottom_first, &blocks) < 0) {
        return -1;
    }
    image->stFileHead = head;
    image->pInfo = reinterpret_cast<OXBITMAPINFOHEADER*>(blocks.info.release());
    image->pData = blocks.pixels.release();
    return 1;
}

template <typename Char>
int32_t load(const Char* name, OXBMPFILESTRUCT* image) {
    if (image != nullptr) *image = {};
    if (name == nullptr || image == nullptr) return kModule.fail(here(), kBadLoad);
    const Descriptor file(open_to_load(name));
    return file.valid() ? load_from(file, image) : fail_open(here(), name);
}

// ---- Saving ----

struct Palette {
    const uint8_t* colors;
    uint32_t count;
};

int32_t write_padded(const Descriptor& file, const Layout& layout, const uint8_t* pixels,
                     uint8_t* buffer) {
    for (int64_t first = 0; first < layout.rows; first += layout.portion()) {
        const int64_t count = std::min(layout.portion(), layout.rows - first);
        for (int64_t i = 0; i < count; ++i) {
            std::memcpy(buffer + i * layout.stride, pixels + (first + i) * layout.row,
                        static_cast<size_t>(layout.row));
        }
        if (write_bytes(file, buffer, count * layout.stride) < 0) return -1;
    }
    return 1;
}

// Head has its reserved words, info all but the size of the pixels.
template <typename Char>
int32_t save(const Char* name, OXBITMAPFILEHEADER head, OXBITMAPINFOHEADER info,
             const Palette& palette, const uint8_t* pixels) {
    const Layout layout(info);
    const int64_t offset = kHeadersSize + int64_t{palette.count} * kColorSize;
    if (layout.rows > (int64_t{UINT32_MAX} - offset) / layout.stride) {
        return kModule.fail(here(), kBadSave);
    }
    head.nType[0] = OXBITMAP_TYPE & 0xFF;
    head.nType[1] = OXBITMAP_TYPE >> 8;
    ORVEX_OXBITMAPFILEHEADER_SetSize(&head,
                                     static_cast<uint32_t>(layout.rows * layout.stride + offset));
    ORVEX_OXBITMAPFILEHEADER_SetOffsetBits(&head, static_cast<uint32_t>(offset));
    info.nSizeImage = 0;

    Heap<uint8_t> padded;  // taken before the file is emptied
    if (layout.is_padded()) {
        const int64_t size = layout.portion() * layout.stride;
        padded = molte::allocate<uint8_t>(size);
        if (padded == nullptr) return kModule.trace(here());
        std::memset(padded.get(), 0, static_cast<size_t>(size));  // the padding stays so
    }
    molte::file::add_owner_mode(name);
    const Descriptor file(molte::file::open(name, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!file.valid()) return fail_open(here(), name);
    if (write_record(file, head) < 0 || write_record(file, info) < 0 ||
        write_bytes(file, palette.colors, int64_t{palette.count} * kColorSize) < 0) {
        return -1;
    }
    return layout.is_padded() ? write_padded(file, layout, pixels, padded.get())
                              : write_bytes(file, pixels, layout.rows * layout.row);
}

template <typename Char>
int32_t save_data(const Char* name, const void* data, int32_t width, int32_t height, int32_t bits) {
    if (name == nullptr || data == nullptr || width < 1 || height < 1 ||
        (bits != 8 && bits != 24)) {
        return kModule.fail(here(), kBadSave);
    }
    OXBITMAPINFOHEADER info{};
    info.nSize = sizeof info;
    info.nWidth = width;
    info.nHeight = -height;
    info.nPlanes = 1;
    info.nBitCount = static_cast<uint16_t>(bits);
    info.nXPelsPerMeter = kResolution;
    info.nYPelsPerMeter = kResolution;
    uint8_t greys[kMostColors][kColorSize] = {};
    for (uint32_t i = 0; i < kMostColors; ++i) std::memset(greys[i], static_cast<int>(i), 3);
    return save(name, {}, info, {greys[0], bits == 8 ? kMostColors : 0},
                static_cast<const uint8_t*>(data));
}

template <typename Char>
int32_t save_image(const Char* name, const OXBMPFILESTRUCT* image) {
    if (name == nullptr || image == nullptr || image->pInfo == nullptr || image->pData == nullptr ||
        !can_hold(*image->pInfo) || image->pInfo->nSize != sizeof(OXBITMAPINFOHEADER) ||
        image->pInfo->nColorsUsed > kMostColors) {
        return kModule.fail(here(), kBadSave);
    }
    const auto* colors = reinterpret_cast<const uint8_t*>(image->pInfo + 1);
    return save(name, image->stFileHead, *image->pInfo, {colors, image->pInfo->nColorsUsed},
                image->pData);
}

void set_low_first(uint8_t (&bytes)[4], uint32_t number) {
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(number);
        number >>= 8;
    }
}

}  // namespace

int32_t ORVEX_SaveDataAsBMP(const char* pszName, const void* pData, int32_t nWidth, int32_t nHeight,
                            int32_t nBits) {
    return save_data(pszName, pData, nWidth, nHeight, nBits);
}

int32_t ORVEX_SaveDataAsBMPW(const wchar_t* pwszName, const void* pData, int32_t nWidth,
                             int32_t nHeight, int32_t nBits) {
    return save_data(pwszName, pData, nWidth, nHeight, nBits);
}

int32_t ORVEX_LoadBMPFromFile(const char* pszName, OXBMPFILESTRUCT* pImage) {
    return load(pszName, pImage);
}

int32_t ORVEX_LoadBMPFromFileW(const wchar_t* pwszName, OXBMPFILESTRUCT* pImage) {
    return load(pwszName, pImage);
}

int32_t ORVEX_SaveBMPToFile(const char* pszName, const OXBMPFILESTRUCT* pImage) {
    return save_image(pszName, pImage);
}

int32_t ORVEX_SaveBMPToFileW(const wchar_t* pwszName, const OXBMPFILESTRUCT* pImage) {
    return save_image(pwszName, pImage);
}

int32_t ORVEX_OXBMPFILESTRUCT_Free(OXBMPFILESTRUCT* pImage) {
    ORVEX_free(pImage->pData);
    ORVEX_free(pImage->pInfo);
    *pImage = {};
    return 1;
}

void ORVEX_OXBITMAPFILEHEADER_SetSize(OXBITMAPFILEHEADER* pHead, uint32_t nSize) {
    set_low_first(pHead->nSize, nSize);
}

void ORVEX_OXBITMAPFILEHEADER_SetOffsetBits(OXBITMAPFILEHEADER* pHead, uint32_t nOffset) {
    set_low_first(pHead->nOffsetBits, nOffset);
}
