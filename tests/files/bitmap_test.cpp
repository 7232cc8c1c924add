#include "support/test.h"

#if defined(HAS_X11)
#include <X11/Xlib.h>

#include "support/x_server.h"
#endif

namespace {

std::string number(int64_t value, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i);
    return bytes;
}

// A file by hand.
struct Made {
    int64_t width = 3, height = 2, bits = 8;
    std::string palette = {}, pixels = {};
    int64_t colors = 0, offset = 0, header = 40, compression = 0, resolution = 20000, type = 19778,
            image_size = 0;
    [[nodiscard]] std::string file() const {
        const auto size = static_cast<int64_t>(14 + header + std::ssize(palette));
        return number(type, 2) + number(size + std::ssize(pixels), 4) + number(0, 4) +
               number(size + offset, 4) + number(header, 4) + number(width, 4) + number(height, 4) +
               number(1, 2) + number(bits, 2) + number(compression, 4) + number(image_size, 4) +
               number(resolution, 4) + number(resolution, 4) + number(colors, 4) + number(0, 4) +
               std::string(static_cast<size_t>(header) - 40, '\7') + palette +
               std::string(static_cast<size_t>(offset), '\6') + pixels;
    }
};

std::string greys() {
    std::string palette;
    for (int i = 0; i < 256; ++i) palette += number(i * 0x10101, 4);
    return palette;
}

struct Image : OXBMPFILESTRUCT {
    Image() : OXBMPFILESTRUCT{} {}
    ~Image() { ORVEX_OXBMPFILESTRUCT_Free(this); }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    [[nodiscard]] std::string pixels() const {
        return {reinterpret_cast<const char*>(pData),
                static_cast<size_t>(pInfo->nWidth * pInfo->nHeight * pInfo->nBitCount / 8)};
    }
    // Red, green and blue of each, as the PNM format has them.
    [[nodiscard]] std::string colors() const {
        std::string told;
        const auto* palette = reinterpret_cast<const uint8_t*>(pInfo + 1);
        const int step = pInfo->nBitCount / 8;
        for (int i = 0; i < pInfo->nWidth * pInfo->nHeight; ++i) {
            const uint8_t* at = step == 3 ? pData + 3 * i : palette + 4 * pData[i];
            told.append(
                {static_cast<char>(at[2]), static_cast<char>(at[1]), static_cast<char>(*at)});
        }
        return told;
    }
};

class Bitmap : public testing::Test {
 protected:
    TempFolder folder_;
    std::string path_ = folder_ / "image.bmp";
    std::string load_error(const std::string& bytes) {
        Image image;
        std::memset(static_cast<OXBMPFILESTRUCT*>(&image), 0x55, sizeof image);
        const std::string error =
            error_of(ORVEX_LoadBMPFromFile(folder_.write("read", bytes).c_str(), &image));
        EXPECT_EQ(bytes_of<OXBMPFILESTRUCT>(image), std::string(sizeof image, '\0'));
        return error;
    }
};

TEST_F(Bitmap, RawDataInBytes) {
    EXPECT_EQ(ORVEX_SaveDataAsBMP(path_.c_str(), "abcdef", 3, 2, 8), 1);
    Made made{.height = -2, .palette = greys(), .pixels = "abc\0def\0"s};
    EXPECT_EQ(read_bytes(path_), made.file());
    const std::wstring wide = fs::path(path_).wstring();
    EXPECT_EQ(ORVEX_SaveDataAsBMPW(wide.c_str(), "abcdefghijkl", 2, 2, 24), 1);  // over the longer
    made = {.width = 2, .height = -2, .bits = 24, .pixels = "abcdef\0\0ghijkl\0\0"s};
    EXPECT_EQ(read_bytes(path_), made.file());
    EXPECT_EQ(ORVEX_SaveDataAsBMP(path_.c_str(), "abcdefghijkl", 4, 1, 24), 1);
    made = {.width = 4, .height = -1, .bits = 24, .pixels = "abcdefghijkl"};
    EXPECT_EQ(read_bytes(path_), made.file());
    const std::string large(299 * 3001, 'x');  // more than goes through a buffer at once
    EXPECT_EQ(ORVEX_SaveDataAsBMP(path_.c_str(), large.data(), 299, 3001, 8), 1);
    Image image;
    ASSERT_EQ(ORVEX_LoadBMPFromFileW(wide.c_str(), &image), 1);
    EXPECT_EQ(image.pixels(), large);
}

TEST_F(Bitmap, EitherRowFirstIsTopRowFirstInMemory) {
    for (const int rows : {1, 2, 3, 700}) {
        for (const int width : {1, 4, 501}) {
            std::string top_first, bottom_first, expected;
            for (int y = 0; y < rows; ++y) {
                std::string row;
                for (int x = 0; x < 3 * width; ++x) row += static_cast<char>(x * 5 + y * 3);
                expected += row;
                row.resize((row.size() + 3) & ~size_t{3}, '\x1F');
                top_first += row;
                bottom_first.insert(0, row);
            }
            for (const bool top : {false, true}) {
                const Made made{.width = width,
                                .height = top ? -rows : rows,
                                .bits = 24,
                                .pixels = top ? top_first : bottom_first,
                                .offset = 5};
                Image image;
                const std::string file = folder_.write("read", made.file());
                ASSERT_EQ(ORVEX_LoadBMPFromFile(file.c_str(), &image), 1);
                EXPECT_EQ(image.pInfo->nHeight, rows);
                EXPECT_TRUE(image.pixels() == expected) << rows << " " << width << " " << top;
                EXPECT_EQ(bytes_of(image.stFileHead), made.file().substr(0, 14));
            }
        }
    }
}

TEST_F(Bitmap, PalettesAndLongHeaders) {
    const std::string palette = greys().substr(400, 80);
    Image image;
    Made made{.palette = palette, .pixels = "\1\2\3\0\4\5\6\0"s, .colors = 20, .header = 124};
    ASSERT_EQ(ORVEX_LoadBMPFromFile(folder_.write("read", made.file()).c_str(), &image), 1);
    EXPECT_EQ(image.pInfo->nSize, 40U);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(image.pInfo + 1), 84), palette + "\0\0\0\0"s);
    // What was loaded is saved upside down, but for who knows.
    EXPECT_EQ(ORVEX_SaveBMPToFile(path_.c_str(), &image), 1);
    made.header = 40;
    made.pixels = "\4\5\6\0\1\2\3\0"s;
    EXPECT_EQ(read_bytes(path_), made.file());
    image.pInfo->nHeight = -2;
    made.height = -2;
    image.pInfo->nSizeImage = 77;
    EXPECT_EQ(ORVEX_SaveBMPToFileW(fs::path(path_).wstring().c_str(), &image), 1);
    EXPECT_EQ(read_bytes(path_), made.file());
    ORVEX_OXBMPFILESTRUCT_Free(&image);
    made.colors = 0;  // stands for 256
    made.palette = greys();
    ASSERT_EQ(ORVEX_LoadBMPFromFile(folder_.write("read", made.file()).c_str(), &image), 1);
    EXPECT_EQ(image.pInfo->nColorsUsed, 256U);
    EXPECT_EQ(image.colors(), "\4\4\4\5\5\5\6\6\6\1\1\1\2\2\2\3\3\3");
}

TEST_F(Bitmap, WhatCantBeLoaded) {
    const std::string bad = "299 oximgop should 8 or 24 bits";
    const Made good{.palette = greys(), .pixels = "abc\0def\0"s};
    const std::string file = good.file();
    const std::pair<size_t, std::string> changes[] = {
        {0, "b"},           {14, "\x0C"},
        {18, number(0, 4)}, {18, number(-3, 4)},
        {22, number(0, 4)}, {22, number(INT32_MIN, 4)},
        {28, "\1"},         {28, "\x20"},
        {30, "\1"}};
    for (const auto& [at, bytes] : changes) {
        EXPECT_EQ(load_error(std::string(file).replace(at, bytes.size(), bytes)), bad) << at;
    }
    // Shorter than it tells, by whatever number.
    for (const size_t at : {10U, 14U, 18U, 22U, 46U}) {
        for (const char* most : {"\xFF\xFF\xFF\x7F", "\1\1\1\1"}) {
            const std::string lie = std::string(file).replace(at, 4, most);
            EXPECT_TRUE(load_error(lie).starts_with("3 oximgop ")) << at;
        }
    }
    for (size_t size = 0; size < file.size(); size += size < 60 ? 7 : 89) {
        EXPECT_TRUE(load_error(file.substr(0, size)).starts_with("3 oximgop ")) << size;
    }
    EXPECT_TRUE(load_error(file.substr(0, file.size() - 1)).starts_with("3 oximgop "));
    Image image;
    EXPECT_EQ(error_of(ORVEX_LoadBMPFromFile(path_.c_str(), &image)), "1 oximgop " + path_);
    EXPECT_EQ(error_of(ORVEX_LoadBMPFromFile(nullptr, &image)), "408 oximgop");
    EXPECT_EQ(error_of(ORVEX_LoadBMPFromFileW(L"x", nullptr)), "408 oximgop");
}

TEST_F(Bitmap, WhatCantBeSaved) {
    const std::string kept = folder_.write("kept", "kept");
    const std::string bad = "407 oximgop";
    const std::tuple<Text, Text, int, int, int> rows[] = {
        {nullptr, "a", 1, 1, 8},       {kept.c_str(), nullptr, 1, 1, 8},
        {kept.c_str(), "a", 0, 1, 8},  {kept.c_str(), "a", 1, 0, 8},
        {kept.c_str(), "a", 1, 1, 32}, {kept.c_str(), "a", INT32_MAX, INT32_MAX, 24}};
    for (const auto& [name, data, width, height, bits] : rows) {
        EXPECT_EQ(error_of(ORVEX_SaveDataAsBMP(name, data, width, height, bits)), bad);
    }
    OXBITMAPINFOHEADER good{};
    good.nSize = 40;
    good.nWidth = good.nHeight = good.nPlanes = 1;
    good.nBitCount = 24;
    uint8_t pixel[4] = {1, 2, 3};
    OXBMPFILESTRUCT image{{}, &good, pixel};
    using Change = void (*)(OXBITMAPINFOHEADER&);
    for (const Change change : std::initializer_list<Change>{
             [](auto& i) { i.nSize = 124; }, [](auto& i) { i.nWidth = 0; },
             [](auto& i) { i.nHeight = INT32_MIN; }, [](auto& i) { i.nHeight = INT32_MAX; },
             [](auto& i) { i.nBitCount = 32; }, [](auto& i) { i.nCompression = 3; },
             [](auto& i) { i.nColorsUsed = 257; }}) {
        OXBITMAPINFOHEADER info = good;
        const OXBMPFILESTRUCT changed{{}, &info, pixel};
        change(info);
        EXPECT_EQ(error_of(ORVEX_SaveBMPToFile(kept.c_str(), &changed)), bad);
    }
    const OXBMPFILESTRUCT no_info{{}, nullptr, pixel}, no_pixels{{}, &good, nullptr};
    for (const OXBMPFILESTRUCT* empty :
         {&no_info, &no_pixels, static_cast<const OXBMPFILESTRUCT*>(nullptr)}) {
        EXPECT_EQ(error_of(ORVEX_SaveBMPToFile(kept.c_str(), empty)), bad);
    }
    EXPECT_EQ(error_of(ORVEX_SaveBMPToFile(nullptr, &image)), bad);
    EXPECT_EQ(read_bytes(kept), "kept");
    const std::string nowhere = folder_ / "none" + "/x";
    EXPECT_EQ(error_of(ORVEX_SaveBMPToFile(nowhere.c_str(), &image)), "1 oximgop " + nowhere);
#if !defined(_WIN32)
    const std::string full = error_of(ORVEX_SaveBMPToFile("/dev/full", &image));
    EXPECT_TRUE(full.starts_with("4 oximgop fd=") && full.ends_with(" size=14")) << full;
#endif
}

TEST_F(Bitmap, AFileIsItsOwnersAndOneMarkedReadOnlyStopsNobody) {
    const auto mode = [&] { return static_cast<int>(fs::status(path_).permissions()); };
#if defined(_WIN32)
    constexpr int kSeen = 0200, kNew = 0200, kAdded = 0200;
#else
    constexpr int kSeen = 0777, kNew = 0600, kAdded = 0640;
#endif
    Image image;
    EXPECT_EQ(ORVEX_SaveDataAsBMP(path_.c_str(), "abc", 1, 1, 24), 1);
    EXPECT_EQ(mode() & kSeen, kNew);
    fs::permissions(path_, fs::perms::group_read);
    ASSERT_EQ(ORVEX_LoadBMPFromFile(path_.c_str(), &image), 1);
    EXPECT_EQ(mode() & kSeen, kAdded);
    fs::permissions(path_, fs::perms::group_read);
    EXPECT_EQ(ORVEX_SaveBMPToFile(path_.c_str(), &image), 1);
    EXPECT_EQ(mode() & kSeen, kAdded);
    fs::remove(path_);
    EXPECT_EQ(ORVEX_SaveBMPToFile(path_.c_str(), &image), 1);
    EXPECT_EQ(mode() & kSeen, kNew);
}

// Those of fuzz/corpus are by ImageMagick and netpbm, of one picture.
TEST_F(Bitmap, FilesOfOtherPrograms) {
    std::string expected;
    for (int i = 0; i < 20; ++i) {
        const int x = i % 5, y = i / 5;
        for (const int part : {x * 40 + 10, y * 50 + 5, x * 7 + y * 31}) {
            expected += static_cast<char>(part);
        }
    }
    int loaded = 0;
    for (const auto& entry : fs::directory_iterator(FUZZ_CORPUS "/bitmap")) {
        const std::string bytes = read_bytes(entry.path());
        if (entry.path().filename().string().starts_with("refused")) {
            EXPECT_EQ(load_error(bytes), "299 oximgop should 8 or 24 bits") << entry.path();
            continue;
        }
        Image image;
        ASSERT_EQ(ORVEX_LoadBMPFromFile(folder_.write("read", bytes).c_str(), &image), 1);
        EXPECT_EQ(image.colors(), expected) << entry.path();
        ++loaded;
    }
    EXPECT_EQ(loaded, 6);
}

#if defined(_WIN32)

// Where there is no desktop to be seen, it is told.
TEST_F(Bitmap, APictureOfTheDesktopIsAWholeFile) {
    uint8_t* block = nullptr;
    int32_t length = 0;
    if (CaptureScreen(&block, &length) < 0) {
        EXPECT_TRUE(error_of_this_thread().starts_with("50 oximgop ")) << error_of_this_thread();
        EXPECT_TRUE(block == nullptr && length == 0);
    } else {
        const std::string head(reinterpret_cast<char*>(block), 6);
        ORVEX_free(block);
        EXPECT_EQ(head, number(19778, 2) + number(length, 4));
    }
}

#else

// What a command writes.
std::string output_of(const std::string& command) {
    FILE* const pipe = popen((command + " 2>/dev/null").c_str(), "r");
    std::string output;
    char buffer[4096];
    while (const size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        output.append(buffer, count);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

bool has_program(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null").c_str()) == 0;
}

// The colors of a PNM picture.
std::string colors_of(const std::string& pnm) {
    int kind = 0, width = 0, height = 0, most = 0, header = 0;
    EXPECT_EQ(std::sscanf(pnm.c_str(), "P%d %d %d %d%n", &kind, &width, &height, &most, &header),
              4);
    std::string colors;
    const size_t step = most > 255 ? 2 : 1;  // the high byte goes first
    for (size_t at = static_cast<size_t>(header) + 1; at < pnm.size(); at += step) {
        colors.append(kind == 5 ? 3 : 1, pnm[at]);
    }
    return colors;
}

TEST_F(Bitmap, ProgramsAndTheLibraryReadOneAnother) {
    if (!has_program("convert-im6.q16") || !has_program("ppmtobmp")) {
        GTEST_SKIP() << "ImageMagick or netpbm is missing: scripts/setup installs them";
    }
    const std::string picture = folder_ / "picture.ppm";
    const std::string magick = "convert-im6.q16 " + picture + " -compress None ";
    const std::string netpbm = "ppmtobmp -windows ";
    for (const auto& [width, height] : {std::pair(7, 5), {5, 6}, {33, 12}}) {
        std::string colors;
        for (int i = 0; i < width * height; ++i) colors += number((i * 7919 & 0x3F) * 0x40404, 3);
        const std::string size = std::to_string(width) + " " + std::to_string(height);
        folder_.write("picture.ppm", "P6 " + size + " 255\n" + colors);
        for (const std::string& made :
             {magick + "-type TrueColor BMP3:", magick + "-type TrueColor BMP:",
              magick + "-type Palette BMP3:", magick + "-type Grayscale BMP:",
              netpbm + "-bpp=24 " + picture + ">", netpbm + "-bpp=8 " + picture + ">"}) {
            output_of(made + path_);
            Image image;
            ASSERT_EQ(ORVEX_LoadBMPFromFile(path_.c_str(), &image), 1) << made;
            EXPECT_EQ(image.colors(), colors) << made;
            const int row = image.pInfo->nWidth * image.pInfo->nBitCount / 8;
            // Ours, the one upside down and the other with its top row first.
            for (const bool upright : {false, true}) {
                const std::string ours = folder_ / "ours.bmp";
                if (upright) image.pInfo->nHeight = -height;
                if (!upright) MOLTE_UTIL_UpSideDownData(image.pData, row, height);
                EXPECT_EQ(ORVEX_SaveBMPToFile(ours.c_str(), &image), 1);
                if (!upright) MOLTE_UTIL_UpSideDownData(image.pData, row, height);
                EXPECT_EQ(colors_of(output_of("bmptopnm " + ours)), colors) << made << upright;
                EXPECT_EQ(colors_of(output_of("convert-im6.q16 " + ours + " -depth 8 ppm:-")),
                          colors);
            }
        }
    }
}

TEST_F(Bitmap, ThereIsNoPictureWithoutADisplay) {
    unsetenv("DISPLAY");
    auto* block = reinterpret_cast<uint8_t*>(this);
    int32_t length = 5;
    EXPECT_EQ(error_of(CaptureScreen(&block, &length)), "50 oximgop CreateDC");
    EXPECT_TRUE(block == nullptr && length == 0);
}

#endif
#if defined(HAS_X11)

// A window with stripes of many colors, and squares that tell up from down.
void draw(Display* display) {
    const int screen = DefaultScreen(display);
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 20, 10, 90, 61,
                                              0, 0, WhitePixel(display, screen));
    GC context = XCreateGC(display, window, 0, nullptr);
    XSelectInput(display, window, ExposureMask);
    XMapWindow(display, window);
    XEvent event;
    do XNextEvent(display, &event);
    while (event.type != Expose);
    for (int i = 0; i < 45; ++i) {
        XColor color{};
        color.red = static_cast<unsigned short>(i * 1400);
        color.green = static_cast<unsigned short>(60000 - i * 900);
        color.blue = static_cast<unsigned short>((i & 7) * 9000);
        XAllocColor(display, DefaultColormap(display, screen), &color);
        XSetForeground(display, context, color.pixel);
        XFillRectangle(display, window, context, 2 * i, i, 3, 10);
    }
    XFreeGC(display, context);
    XSync(display, 0);
}

TEST_F(Bitmap, AScreenIsWhatXwdSays) {
    if (!has_program("xwd") || !has_program("xwdtopnm")) {
        GTEST_SKIP() << "xwd or netpbm is missing: scripts/setup installs them";
    }
    for (const auto& [kind, bits] : {std::pair("133x97x24", 32), {"133x97x8", 8}}) {
        const XServer server(kind);
        if (!server.up) GTEST_SKIP() << "there is no Xvfb: scripts/setup installs it";
        Display* const display = XOpenDisplay(nullptr);
        draw(display);
        uint8_t* file = nullptr;
        int32_t length = 0;
        EXPECT_EQ(CaptureScreen(&file, &length), 1);
        const std::string bytes(reinterpret_cast<char*>(file), static_cast<size_t>(length));
        ORVEX_free(file);
        const size_t palette = bits == 8 ? 1024 : 0;
        const size_t size = (bits == 8 ? 136 : 532) * 97;
        const Made made{.width = 133,
                        .height = 97,
                        .bits = bits,
                        .palette = std::string(palette, ' '),
                        .pixels = std::string(size, ' '),
                        .colors = bits == 8 ? 256 : 0,
                        .resolution = 3000,
                        .image_size = static_cast<int64_t>(size)};
        EXPECT_EQ(bytes.substr(0, 54), made.file().substr(0, 54));
        EXPECT_EQ(bytes.size(), made.file().size());
        const std::string ours = output_of("bmptopnm " + folder_.write("screen.bmp", bytes));
        const std::string theirs = colors_of(output_of("xwd -root -silent | xwdtopnm"));
        EXPECT_NE(theirs, std::string(theirs.rbegin(), theirs.rend()));
        EXPECT_TRUE(colors_of(ours) == theirs) << kind;
        XCloseDisplay(display);
    }
}

#elif !defined(_WIN32)

TEST_F(Bitmap, AScreenIsWhatXwdSays) {
    GTEST_SKIP() << "built without the headers of libX11: scripts/setup installs them";
}

#endif

}  // namespace
