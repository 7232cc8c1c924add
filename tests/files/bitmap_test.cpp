#include "support/scenes.h"

#if defined(HAS_X11)
#include <X11/Xlib.h>

#include "support/x_server.h"
#endif

namespace {

struct Image : Pinned, OXBMPFILESTRUCT {
    Image() : OXBMPFILESTRUCT{} {}
    ~Image() { ORVEX_OXBMPFILESTRUCT_Free(this); }
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
            told += {static_cast<char>(at[2]), static_cast<char>(at[1]), static_cast<char>(*at)};
        }
        return told;
    }
};

// Width, height, bits and colors of what a file gives, and the pixels.
template <auto call, typename Char>
std::string load(const Char* file, Image* image) {
    if (image == nullptr) return outcome(call(file, nullptr));
    ORVEX_OXBMPFILESTRUCT_Free(image);
    std::memset(static_cast<OXBMPFILESTRUCT*>(image), 0x55, sizeof *image);
    const int32_t result = call(file, image);
    if (result < 0) {
        EXPECT_EQ(bytes_of<OXBMPFILESTRUCT>(*image), std::string(sizeof *image, '\0'));
        return outcome(result);
    }
    const OXBITMAPINFOHEADER& info = *image->pInfo;
    std::string told;
    for (const int64_t number : {int64_t{info.nWidth}, int64_t{info.nHeight},
                                 int64_t{info.nBitCount}, int64_t{info.nColorsUsed}}) {
        told += std::to_string(number) + " ";
    }
    return told + image->pixels();
}

std::string load_bytes(const std::string& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
    Image image;
    return load<ORVEX_LoadBMPFromFile>(file.c_str(), &image);
}

class Bitmap : public InFolder {
 protected:
    std::string path_ = folder_ / "image.bmp";
};

[[maybe_unused]] const bool plays = play_scenes<Bitmap>(
    "Bitmap", TEST_ROWS,
    {{"save_data", step_of<ORVEX_SaveDataAsBMP>},
     {"save_data_wide", step_of<ORVEX_SaveDataAsBMPW>},
     {"load", step_of<load<ORVEX_LoadBMPFromFile, char>>},
     {"load_wide", step_of<load<ORVEX_LoadBMPFromFileW, wchar_t>>},
     {"load_changed",
      [](const Texts& step) {
          std::string bytes = read_bytes(step[1]);
          return load_bytes(step[1] + "_",
                            bytes.replace(std::stoul(step[2]), step[3].size(), step[3]));
      }},
     // How many ends of a file that is cut are told.
     {"load_cuts",
      [](const Texts& step) {
          const std::string bytes = read_bytes(step[1]);
          int told = 0;
          for (size_t size = 0; size < bytes.size(); ++size) {
              const std::string error = load_bytes(step[1] + "_", bytes.substr(0, size));
              told += error.starts_with("3 oximgop ") ? 1 : 0;
          }
          return std::to_string(told);
      }},
     // That of one color more, too, which is none.
     {"palette", step_of<[](Image* image) {
          return std::string(reinterpret_cast<char*>(image->pInfo + 1),
                             4 * image->pInfo->nColorsUsed + 4);
      }>},
     {"set_height", step_of<[](Image* image, int32_t height) {
          image->pInfo->nSizeImage = 77;
          return image->pInfo->nHeight = height;
      }>},
     {"save", step_of<[](Text file, Image* image) { return ORVEX_SaveBMPToFile(file, image); }>},
     {"save_wide",
      step_of<[](const wchar_t* file, Image* image) { return ORVEX_SaveBMPToFileW(file, image); }>},
     {"save_made", step_of<[](Text file, Text pixel, uint32_t header, int32_t width, int32_t height,
                              uint16_t bits, uint32_t compression, uint32_t colors) {
          OXBITMAPINFOHEADER info{header, width, height, 1, bits, compression, 0, 0, 0, colors, 0};
          std::string bytes = pixel == nullptr ? "" : pixel;
          auto* data = reinterpret_cast<uint8_t*>(bytes.data());
          const OXBMPFILESTRUCT image{{}, &info, pixel == nullptr ? nullptr : data};
          return ORVEX_SaveBMPToFile(file, &image);
      }>}});

// More than goes through a buffer at once, with and without padding.
TEST_F(Bitmap, EitherRowFirstIsTopRowFirstInMemory) {
    for (const auto& [rows, width] : {std::pair(1, 1), {2, 4}, {3001, 299}, {700, 1504}}) {
        std::string pixels(static_cast<size_t>(3 * rows * width), '\0');
        std::generate(pixels.begin(), pixels.end(), std::minstd_rand(1));
        EXPECT_EQ(ORVEX_SaveDataAsBMP(path_.c_str(), pixels.data(), width, rows, 24), 1);
        Image image;
        ASSERT_EQ(ORVEX_LoadBMPFromFile(path_.c_str(), &image), 1);
        EXPECT_TRUE(image.pixels() == pixels) << rows;
        image.pInfo->nHeight = rows;  // so its first row is said to be the lowest
        EXPECT_EQ(ORVEX_SaveBMPToFile(path_.c_str(), &image), 1);
        EXPECT_EQ(fs::file_size(path_), static_cast<size_t>(54 + (3 * width + 3) / 4 * 4 * rows));
        ORVEX_OXBMPFILESTRUCT_Free(&image);
        ASSERT_EQ(ORVEX_LoadBMPFromFile(path_.c_str(), &image), 1);
        MOLTE_UTIL_UpSideDownData(pixels.data(), 3 * width, rows);
        EXPECT_TRUE(image.pixels() == pixels) << rows;
    }
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

#if defined(_WIN32)

// Where there is no desktop to be seen, it is told.
TEST_F(Bitmap, APictureOfTheDesktopIsAWholeFile) {
    uint8_t* block = nullptr;
    int32_t length = 0;
    if (CaptureScreen(&block, &length) < 0) {
        EXPECT_TRUE(error_of_this_thread().starts_with("50 oximgop ")) << error_of_this_thread();
        EXPECT_TRUE(block == nullptr && length == 0);
    } else {
        int32_t told = 0;
        std::memcpy(&told, block + 2, sizeof told);
        EXPECT_EQ(told, length);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(block), 2), "BM");
        ORVEX_free(block);
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

TEST_F(Bitmap, ThereIsNoPictureWithoutADisplay) {
    unsetenv("DISPLAY");
    auto* block = reinterpret_cast<uint8_t*>(this);
    int32_t length = 5;
    EXPECT_EQ(error_of(CaptureScreen(&block, &length)), "50 oximgop CreateDC");
    EXPECT_TRUE(block == nullptr && length == 0);
}

#endif

// Files of fuzz/corpus are by ImageMagick and netpbm, of one picture; both read ours.
TEST_F(Bitmap, ProgramsAndTheLibraryReadOneAnother) {
    std::string expected;
    for (int i = 0; i < 20; ++i) {
        const int x = i % 5, y = i / 5;
        for (const int part : {x * 40 + 10, y * 50 + 5, x * 7 + y * 31}) {
            expected += static_cast<char>(part);
        }
    }
    int loaded = 0;
    std::string missing;
    for (const auto& entry : fs::directory_iterator(FUZZ_CORPUS "/bitmap")) {
        const std::string bytes = read_bytes(entry.path());
        if (entry.path().filename().string().starts_with("refused")) {
            EXPECT_EQ(load_bytes(path_, bytes), "299 oximgop should 8 or 24 bits") << entry.path();
            continue;
        }
        Image image;
        ASSERT_EQ(ORVEX_LoadBMPFromFile(folder_.write("read", bytes).c_str(), &image), 1);
        EXPECT_EQ(image.colors(), expected) << entry.path();
        ++loaded;
#if !defined(_WIN32)
        image.pInfo->nHeight = -4;
        EXPECT_EQ(ORVEX_SaveBMPToFile(path_.c_str(), &image), 1);
        for (const std::string program : {"bmptopnm", "convert-im6.q16"}) {
            if (!has_program(program)) {
                missing = program;
                continue;
            }
            const std::string to = program == "bmptopnm" ? "" : " -depth 8 ppm:-";
            EXPECT_EQ(colors_of(output_of(program + " " + path_ + to)), expected) << entry.path();
        }
#endif
    }
    EXPECT_EQ(loaded, 6);
    if (!missing.empty()) GTEST_SKIP() << missing << " is missing: scripts/setup installs it";
}

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
    // Sizes of file and pixels, offset, bits, colors.
    const std::string heads[] = {
        "BM\xCA\xC9\0\0\0\0\0\0\x36\0\0\0(\0\0\0\x85\0\0\0a\0\0\0\1\0\x20\0\0\0\0\0"
        "\x94\xC9\0\0\xB8\x0B\0\0\xB8\x0B\0\0\0\0\0\0\0\0\0\0"s,
        "BM\xBE\x37\0\0\0\0\0\0\x36\4\0\0(\0\0\0\x85\0\0\0a\0\0\0\1\0\x08\0\0\0\0\0"
        "\x88\x33\0\0\xB8\x0B\0\0\xB8\x0B\0\0\0\1\0\0\0\0\0\0"s};
    for (const std::string& head : heads) {
        const XServer server(head[28] == 8 ? "133x97x8" : "133x97x24");
        if (!server.up) GTEST_SKIP() << "there is no Xvfb: scripts/setup installs it";
        Display* const display = XOpenDisplay(nullptr);
        draw(display);
        uint8_t* file = nullptr;
        int32_t length = 0;
        EXPECT_EQ(CaptureScreen(&file, &length), 1);
        const std::string bytes(reinterpret_cast<char*>(file), static_cast<size_t>(length));
        ORVEX_free(file);
        EXPECT_EQ(bytes.substr(0, 54), head);
        EXPECT_EQ(bytes.size(), static_cast<uint8_t>(head[3]) << 8 | static_cast<uint8_t>(head[2]));
        const std::string ours = output_of("bmptopnm " + folder_.write("screen.bmp", bytes));
        const std::string theirs = colors_of(output_of("xwd -root -silent | xwdtopnm"));
        EXPECT_NE(theirs, std::string(theirs.rbegin(), theirs.rend()));
        EXPECT_TRUE(colors_of(ours) == theirs) << bytes.size();
        XCloseDisplay(display);
    }
}

#elif !defined(_WIN32)

TEST_F(Bitmap, AScreenIsWhatXwdSays) {
    GTEST_SKIP() << "built without the headers of libX11: scripts/setup installs them";
}

#endif

}  // namespace
