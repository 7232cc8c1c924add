#include "progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "interrupt.h"
#include "output.h"

namespace tool {

namespace {

using std::chrono::milliseconds;
constexpr size_t kBar = 24;

double seconds(std::chrono::steady_clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

std::string time_text(double seconds) {
    const auto all = static_cast<uint64_t>(std::llround(seconds));
    char text[32];
    if (all >= 3600) {
        std::snprintf(text, sizeof text, "%u:%02u:%02u", static_cast<unsigned>(all / 3600),
                      static_cast<unsigned>(all / 60 % 60), static_cast<unsigned>(all % 60));
    } else {
        std::snprintf(text, sizeof text, "%u:%02u", static_cast<unsigned>(all / 60),
                      static_cast<unsigned>(all % 60));
    }
    return text;
}

}  // namespace

Progress::Progress(std::string what, uint64_t total, std::string unit)
    : what_(std::move(what)),
      unit_(std::move(unit)),
      total_(total),
      shown_(errors_to_terminal()),
      begin_(std::chrono::steady_clock::now()),
      drawn_(begin_) {}

Progress::~Progress() {
    if (shown_) print_error("\r\x1b[K");
}

void Progress::reach(uint64_t done) {
    end_if_interrupted();
    done_ = done;
    if (!shown_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - drawn_ < milliseconds(100)) return;
    drawn_ = now;
    draw();
}

void Progress::draw() const {
    const double time = seconds(drawn_ - begin_);
    const double rate = static_cast<double>(done_) / time;
    const auto amount = [&](double value) {
        if (unit_.empty()) return size_text(value);
        char text[32];
        std::snprintf(text, sizeof text, "%.0f %s", value, unit_.c_str());
        return std::string(text);
    };
    std::string line = "\r\x1b[K" + what_ + " ";
    if (total_ > 0) {
        const double part = std::min(1.0, static_cast<double>(done_) / static_cast<double>(total_));
        const auto full = static_cast<size_t>(part * kBar);
        line += "[" + coloured_error(Colour::green, std::string(full, '#')) +
                std::string(kBar - full, '.') + "] " +
                std::to_string(static_cast<int>(part * 100)) + "% ";
    }
    line += amount(static_cast<double>(done_)) + ", " + amount(rate) + "/s";
    if (total_ > done_ && rate > 0) {
        line += ", " + time_text(static_cast<double>(total_ - done_) / rate) + " left";
    }
    print_error(line);
}

}  // namespace tool
