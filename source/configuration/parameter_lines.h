// The lines of an INI file, as moltelib/parameter_file.h tells them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace molte::ini {

// Pieces of lines are taken from the front of a text. One ends with LF, with the text, or is cut
// before it gets longer than this many bytes, CR LF counted as one.
inline constexpr size_t kLongestLine = 2047;
std::string_view take_line(std::string_view& text, size_t longest = kLongestLine);

// LF, CR LF or nothing: what a line ends with.
std::string_view line_end(std::string_view line);

// The names that a call is about.
struct Names {
    const char* const* list;
    int32_t count;

    // The first index of a name for which WANTED, or -1.
    template <typename Wanted>
    [[nodiscard]] int32_t find(std::string_view name, Wanted wanted) const {
        for (int32_t i = 0; i < count; ++i) {
            if (wanted(i) && equal(list[i], name)) return i;
        }
        return -1;
    }

 private:
    static bool equal(const char* wanted, std::string_view name);
};

// A line taken apart as far as is asked for. All views are parts of the line.
class Line {
 public:
    explicit Line(std::string_view line);

    [[nodiscard]] bool named() const { return !name_.empty(); }
    [[nodiscard]] std::string_view name() const { return name_; }
    // Whether there is a "=", and then the value.
    bool value(std::string_view* out) const;
    // From the first "#" on, with the line end; empty when there is none.
    [[nodiscard]] std::string_view comment() const;

 private:
    std::string_view name_;
    std::string_view rest_;  // behind the name, with the line end
};

}  // namespace molte::ini
