// Turns, mirrors and cuts of images in memory, and BMP files, beside OpenCV; the turned cut beside
// the plain double loop. One thread.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include "moltelib.h"
#include "pair.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

constexpr int kSize = 2000;
constexpr int kCut = 1000;

Bytes noise(size_t size) {
    Bytes bytes(size);
    uint64_t value = 88172645463325252;
    for (uint8_t& byte : bytes) {
        value ^= value << 13;
        value ^= value >> 7;
        value ^= value << 17;
        byte = static_cast<uint8_t>(value);
    }
    return bytes;
}

void must(bool holds) {
    if (!holds) std::abort();
}

void turns() {
    Bytes source = noise(size_t{kSize} * kSize);
    Bytes target(source.size());
    Bytes peer_source = source;
    const cv::Mat from(kSize, kSize, CV_8UC1, peer_source.data());
    cv::Mat to(kSize, kSize, CV_8UC1);
    const auto same = [&] { return std::memcmp(to.data, target.data(), target.size()) == 0; };
    molte_bench::pair(
        "turn by 90", "cv::transpose",
        [&] { MOLTE_UTIL_Rotate90Deg(source.data(), kSize, kSize, target.data()); },
        [&] { cv::transpose(from, to); });
    must(same());
    molte_bench::pair(
        "turn by 180", "cv::flip",
        [&] { MOLTE_UTIL_Rotate180Deg(source.data(), kSize, kSize, target.data()); },
        [&] { cv::flip(from, to, -1); });
    must(same());
    cv::Mat in_place = from;
    molte_bench::pair(
        "mirror in place", "cv::flip",
        [&] { MOLTE_UTIL_LeftRightData(source.data(), kSize, kSize); },
        [&] { cv::flip(in_place, in_place, 1); });
}

// What the header says, in so many words; compiled at -O3 as all of a Release.
void plain_cut(const uint8_t* source, uint8_t* target, double cosine, double sine, int left,
               int top) {
    for (int j = 0; j < kCut; ++j) {
        const double v = top + j;
        for (int i = 0; i < kCut; ++i) {
            const double u = left + i;
            const double x = u * cosine + v * sine + left;
            const double y = v * cosine - u * sine + top;
            const int ix = static_cast<int>(x);
            const int iy = static_cast<int>(y);
            if (ix < 0 || ix >= kSize || iy < 0 || iy >= kSize) continue;
            const double fx = x - ix;
            const double fy = y - iy;
            const uint8_t* p = source + iy * kSize + ix;
            target[j * kCut + i] = static_cast<uint8_t>(
                static_cast<int>((p[0] * (1 - fx) + p[1] * fx) * (1 - fy) +
                                 (p[kSize + 1] * fx + p[kSize] * (1 - fx)) * fy));
        }
    }
}

void turned_cut() {
    const Bytes source = noise(size_t{kSize} * (kSize + 2));
    Bytes ours(size_t{kCut} * kCut);
    Bytes peer(ours.size());
    constexpr int kLeft = 100, kTop = 600;
    molte_bench::pair(
        "cut turned by 33", "plain loop",
        [&] {
            MOLTE_UTIL_RotateCutInDeg(source.data(), kSize, kSize + 2, ours.data(), kCut, kCut, 33,
                                      kLeft, kTop, 0, 0, 255);
        },
        [&] {
            const double angle = 33 * 3.141592653589793 / 180;
            std::memset(peer.data(), 255, peer.size());
            plain_cut(source.data(), peer.data(), std::cos(angle), std::sin(angle), kLeft, kTop);
        });
    must(ours == peer);
}

void load(const std::string& file, OXBMPFILESTRUCT* image) {
    must(ORVEX_LoadBMPFromFile(file.c_str(), image) == 1);
}

void files(const std::string& folder) {
    const std::string file = folder + "/image.bmp";
    const std::string ours = folder + "/ours.bmp";
    const std::string peers = folder + "/peers.bmp";
    Bytes pixels = noise(size_t{3} * kSize * kSize);
    const cv::Mat picture(kSize, kSize, CV_8UC3, pixels.data());
    must(cv::imwrite(file, picture));  // bottom row first
    OXBMPFILESTRUCT image;
    load(file, &image);
    must(std::memcmp(image.pData, pixels.data(), pixels.size()) == 0);
    molte_bench::pair(
        "load BMP", "cv::imread",
        [&] {
            OXBMPFILESTRUCT loaded;
            load(file, &loaded);
            ORVEX_OXBMPFILESTRUCT_Free(&loaded);
        },
        [&] { molte_bench::keep(cv::imread(file).data); });
    // Into new files: one that is emptied waits for the disk.
    const auto save = [&](const OXBMPFILESTRUCT& saved) {
        fs::remove(ours);
        must(ORVEX_SaveBMPToFile(ours.c_str(), &saved) == 1);
    };
    const auto peer_save = [&](const cv::Mat& saved) {
        fs::remove(peers);
        must(cv::imwrite(peers, saved));
    };
    molte_bench::pair(
        "save BMP", "cv::imwrite", [&] { save(image); }, [&] { peer_save(picture); });
    molte_bench::pair(
        "load and save BMP", "cv::imread, cv::imwrite",
        [&] {
            OXBMPFILESTRUCT loaded;
            load(file, &loaded);
            save(loaded);
            ORVEX_OXBMPFILESTRUCT_Free(&loaded);
        },
        [&] { peer_save(cv::imread(file)); });
    ORVEX_OXBMPFILESTRUCT_Free(&image);
}

}  // namespace

int main() {
    cv::setNumThreads(1);
    char folder[] = "/tmp/moltelib-bench-XXXXXX";
    must(mkdtemp(folder) != nullptr);
    turns();
    turned_cut();
    files(folder);
    fs::remove_all(folder);
}
