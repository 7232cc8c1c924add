#include "picture.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>

#include "files.h"
#include "interrupt.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

constexpr size_t kPaletteEntry = 4;  // blue, green, red, nothing

struct FreeImage {
    void operator()(OXBMPFILESTRUCT* image) const { ORVEX_OXBMPFILESTRUCT_Free(image); }
};

void must_have_size(int64_t width, int64_t height, const std::string& what) {
    if (width * height <= kMostPixels) return;
    throw Failure(what + " has more than " + std::to_string(kMostPixels) + " pixels");
}

// The planes of rows that have so many bytes a pixel, of which the first three count.
std::vector<Picture::Plane> apart(const uint8_t* data, size_t pixels, size_t bytes) {
    std::vector<Picture::Plane> planes(std::min<size_t>(bytes, 3), Picture::Plane(pixels));
    for (size_t i = 0; i < planes.size(); ++i) {
        for (size_t at = 0; at < pixels; ++at) planes[i][at] = data[at * bytes + i];
    }
    return planes;
}

std::vector<uint8_t> together(const Picture& picture) {
    const size_t count = picture.planes.size(), pixels = picture.planes[0].size();
    std::vector<uint8_t> data(pixels * count);
    for (size_t i = 0; i < count; ++i) {
        for (size_t at = 0; at < pixels; ++at) data[at * count + i] = picture.planes[i][at];
    }
    return data;
}

std::vector<Pixel> palette_at(const uint8_t* data, size_t count) {
    std::vector<Pixel> palette(count);
    for (Pixel& pixel : palette) {
        pixel = {data[0], data[1], data[2]};
        data += kPaletteEntry;
    }
    return palette;
}

Picture load_file(const std::string& argument, const std::string& name) {
    const std::string failed = "\"" + shown(name) + "\" can't be read";
    if (fs::is_directory(native_path(argument))) throw Failure(failed + ": it is a folder");
    const PermissionsKept permissions(argument);
    OXBMPFILESTRUCT image;
    check(ORVEX_LoadBMPFromFile(library_path(argument).c_str(), &image), failed);
    const std::unique_ptr<OXBMPFILESTRUCT, FreeImage> owner(&image);
    const OXBITMAPINFOHEADER& info = *image.pInfo;
    must_have_size(info.nWidth, info.nHeight, "\"" + shown(name) + "\"");
    Picture picture{info.nWidth, info.nHeight, {}, {}, info.nXPelsPerMeter, info.nYPelsPerMeter};
    const auto pixels = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
    picture.planes = apart(image.pData, pixels, info.nBitCount / 8);
    if (info.nBitCount == 8) {
        picture.palette = palette_at(reinterpret_cast<const uint8_t*>(image.pInfo + 1),
                                     std::min<size_t>(info.nColorsUsed, 256));
    }
    return picture;
}

void save_file(const std::string& library_name, const Picture& picture, const std::string& failed) {
    std::vector<uint8_t> data = together(picture);
    const auto count = static_cast<int32_t>(picture.planes.size());
    // A file of a positive height, which every program reads, begins with the bottom row.
    check(MOLTE_UTIL_UpSideDownData(data.data(), picture.width * count, picture.height), failed);
    OXBITMAPINFOHEADER info{};
    info.nSize = sizeof info;
    info.nWidth = picture.width;
    info.nHeight = picture.height;
    info.nPlanes = 1;
    info.nBitCount = static_cast<uint16_t>(8 * count);
    info.nXPelsPerMeter = picture.x_density;
    info.nYPelsPerMeter = picture.y_density;
    info.nColorsUsed = static_cast<uint32_t>(picture.palette.size());
    std::vector<uint8_t> block(sizeof info + picture.palette.size() * kPaletteEntry);
    std::memcpy(block.data(), &info, sizeof info);
    uint8_t* entry = block.data() + sizeof info;
    for (const Pixel& pixel : picture.palette) {
        entry[0] = pixel.blue;
        entry[1] = pixel.green;
        entry[2] = pixel.red;
        entry += kPaletteEntry;
    }
    OXBMPFILESTRUCT image{};
    image.pInfo = reinterpret_cast<OXBITMAPINFOHEADER*>(block.data());
    image.pData = data.data();
    check(ORVEX_SaveBMPToFile(library_name.c_str(), &image), failed);
    ORVEX_Err_ClearError();  // that a new file had no mode before
}

}  // namespace

bool Picture::is_grey() const {
    return planes.size() == 1 && std::all_of(palette.begin(), palette.end(),
                                             [](const Pixel& pixel) { return pixel.is_grey(); });
}

Pixel Picture::at(size_t index) const {
    if (planes.size() == 3) return {planes[0][index], planes[1][index], planes[2][index]};
    const uint8_t number = planes[0][index];
    return number < palette.size() ? palette[number] : Pixel{};  // as other programs have it
}

Pixel Picture::at(int32_t x, int32_t y) const {
    return at(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x));
}

Picture load_picture(Output& out, const std::string& argument) {
    if (!is_stream(argument)) return load_file(argument, argument);
    const std::string bytes = read_whole(argument);
    const Passing folder;  // the library knows files by their names alone
    write_whole(out, folder.file(), bytes);
    return load_file(folder.file(), argument);
}

void save_picture(Output& out, const std::string& argument, const Picture& picture) {
    const std::string failed = "\"" + shown(argument) + "\" can't be written";
    if (argument == "-") {
        const Passing folder;
        save_file(library_path(folder.file()), picture, failed);
        return out.bytes(read_whole(folder.file()));
    }
    Beside file(argument);
    save_file(file.for_library(), picture, failed);
    file.keep_file();
}

Picture captured_screen() {
    struct Free {
        void operator()(uint8_t* data) const { ORVEX_free(data); }
    };
    uint8_t* data = nullptr;
    int32_t length = 0;
    check(CaptureScreen(&data, &length), "The screen can't be captured");
    const std::unique_ptr<uint8_t, Free> owner(data);

    // A whole file, bottom row first; most are of 32 bits, which can't be loaded from a file.
    OXBITMAPINFOHEADER info;
    std::memcpy(&info, data + sizeof(OXBITMAPFILEHEADER), sizeof info);
    const uint8_t* const palette = data + sizeof(OXBITMAPFILEHEADER) + sizeof info;
    const uint8_t* const pixels = palette + info.nColorsUsed * kPaletteEntry;
    if (info.nBitCount != 8 && info.nBitCount != 24 && info.nBitCount != 32) {
        throw Failure("A screen of " + std::to_string(info.nBitCount) + " bits can't be captured");
    }
    must_have_size(info.nWidth, info.nHeight, "The screen");
    const auto width = static_cast<size_t>(info.nWidth), height = static_cast<size_t>(info.nHeight);
    const size_t bytes = info.nBitCount / 8, stride = (width * bytes + 3) / 4 * 4;
    std::vector<uint8_t> rows(width * bytes * height);
    for (size_t y = 0; y < height; ++y) {
        std::memcpy(&rows[(height - 1 - y) * width * bytes], pixels + y * stride, width * bytes);
    }
    Picture picture{info.nWidth, info.nHeight, apart(rows.data(), width * height, bytes), {}};
    if (bytes > 1) return picture;
    picture.palette = palette_at(palette, info.nColorsUsed);
    return mixable(picture, {0, 0, 1});  // which is no grey
}

Picture mixable(const Picture& picture, Pixel colour) {
    if (picture.planes.size() == 3) return picture;
    const bool grey = picture.is_grey() && colour.is_grey();
    const size_t pixels = picture.planes[0].size();
    Picture result = picture;
    result.planes.assign(grey ? 1 : 3, Picture::Plane(pixels));
    for (size_t i = 0; i < pixels; ++i) {
        const Pixel pixel = picture.at(i);
        result.planes[0][i] = pixel.blue;
        if (grey) continue;
        result.planes[1][i] = pixel.green;
        result.planes[2][i] = pixel.red;
    }
    result.palette.clear();
    for (int i = 0; grey && i < 256; ++i) {
        const auto value = static_cast<uint8_t>(i);
        result.palette.push_back({value, value, value});
    }
    return result;
}

}  // namespace tool
