// A line on standard error that tells how far a long command is, with rate and time left. Only on a
// terminal; drawn ten times a second at most, removed at the end.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace tool {

class Progress {
 public:
    // In bytes, or in whatever the unit says; a total of 0 is unknown.
    Progress(std::string what, uint64_t total, std::string unit = "");
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void advance(uint64_t by) { reach(done_ + by); }
    void reach(uint64_t done);  // also looks whether the command was interrupted
    [[nodiscard]] bool is_shown() const { return shown_; }

 private:
    void draw() const;

    std::string what_, unit_;
    uint64_t total_, done_ = 0;
    bool shown_;
    std::chrono::steady_clock::time_point begin_, drawn_;
};

}  // namespace tool
