// Makes a pattern of ridges, as a finger leaves them, in a BMP file; loads it, turns, mirrors and
// cuts it, and shows it as blocks in the terminal.
//
//     turn_print FILE        the file that is made, e.g. print.bmp
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "moltelib.h"
#include "terminal.h"

namespace {

constexpr int kWidth = 36;
constexpr int kHeight = 44;

int fail(const char* what) {
    std::printf("%s\n", what);
    if (GetRvexErrNo() != 0) terminal::show_error();
    return 1;
}

struct Picture {
    const char* name;
    int width;
    int height;
    std::vector<uint8_t> pixels;
};

// A loop: ridges run around a core, and on to the lower left. 0 is dark.
Picture ridges() {
    Picture print{"as it was loaded", kWidth, kHeight, {}};
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const double across = x - 20.0;
            const double down = y - 17.0;
            const double away = down < 0 ? std::hypot(across, down) : std::abs(across + down / 3);
            const bool is_finger = std::hypot((x - 17.5) / 17, (y - 21.5) / 21) < 1;
            print.pixels.push_back(is_finger && std::cos(away * 1.5) > 0 ? 0 : 255);
        }
    }
    return print;
}

// Each character of a line shows two pixels, one above the other.
std::wstring line_of(const Picture& picture, int y) {
    const wchar_t blocks[] = {L' ', L'\u2584', L'\u2580', L'\u2588'};  // none, lower, upper, both
    std::wstring line;
    for (int x = 0; x < picture.width; ++x) {
        const auto is_dark = [&](int row) {
            return row < picture.height && picture.pixels[row * picture.width + x] < 128 ? 1 : 0;
        };
        line += blocks[2 * is_dark(y) + is_dark(y + 1)];
    }
    return line;
}

void show(const Picture& left, const Picture& right) {
    std::printf("\n  %-46s%s\n", left.name, right.name);
    for (int y = 0; y < left.height || y < right.height; y += 2) {
        std::wstring line = y < left.height ? line_of(left, y) : L"";
        line.resize(46, L' ');
        if (y < right.height) line += line_of(right, y);
        line.erase(line.find_last_not_of(L' ') + 1);
        std::printf("  %s\n", terminal::encoded(line.c_str()).c_str());
    }
}

bool load(const char* file, Picture* print) {
    OXBMPFILESTRUCT image;
    if (ORVEX_LoadBMPFromFile(file, &image) < 1) return false;
    print->width = image.pInfo->nWidth;
    print->height = image.pInfo->nHeight;
    print->pixels.assign(image.pData, image.pData + print->width * print->height);
    ORVEX_OXBMPFILESTRUCT_Free(&image);
    return true;
}

Picture turned(const char* name, const Picture& print, int angle) {
    Picture result{name, 0, 0, {}};
    uint8_t* pixels = nullptr;
    if (MOLTE_UTIL_RotateInDeg(print.pixels.data(), print.width, print.height, &pixels,
                               &result.width, &result.height, angle) == 1) {
        result.pixels.assign(pixels, pixels + result.width * result.height);
    }
    ORVEX_free(pixels);
    return result;
}

Picture mirrored(const Picture& print) {
    Picture result = print;
    result.name = "mirrored";
    MOLTE_UTIL_LeftRightData(result.pixels.data(), result.width, result.height);
    return result;
}

Picture cut_turned(const Picture& print, int angle) {
    Picture result{"24 by 24 of it, turned by 33 degrees", 24, 24, std::vector<uint8_t>(24 * 24)};
    MOLTE_UTIL_RotateCutInDeg(print.pixels.data(), print.width, print.height, result.pixels.data(),
                              result.width, result.height, angle, 1, 10, 0, 0, 255);
    return result;
}

int run(const char* file) {
    const Picture made = ridges();
    if (ORVEX_SaveDataAsBMP(file, made.pixels.data(), made.width, made.height, 8) < 1) {
        return fail("The picture can't be written.");
    }
    Picture print = made;
    if (!load(file, &print)) return fail("The picture can't be read.");
    show(print, mirrored(print));
    show(turned("90: a transposition, so mirrored too", print, 90), turned("270", print, 270));
    show(turned("180", print, 180), cut_turned(print, 33));
    return print.pixels == made.pixels ? 0 : fail("What was read isn't what was written.");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "use: turn_print FILE\n");
        return 2;
    }
    const int result = run(argv[1]);
    ORVEX_BASE_ReleaseVar();
    return result;
}
