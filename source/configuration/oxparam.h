// What both files of module "oxparam" share: text files, opened, locked, read and rewritten; and
// the lines of an INI file, as moltelib/parameter_file.h tells them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "core/modules.h"
#include "core/owners.h"
#include "data/oxstring.h"

namespace molte::ini {

constexpr auto kModule = kOxparam;

using molte::kAbsent;
using molte::kBadArgument;
using molte::kFileTooLarge;
using molte::kNotOpened;
using molte::kNotRead;
using molte::kNotWritten;

inline constexpr int64_t kSizeLimit = 0x40000000;  // no file is this large

// A file that is open and locked from open() to close() or the end of the block.
class LockedFile {
 public:
    // To be read; to be read, and made when it is missing; to be changed, and made when it is
    // missing. Bytes are never translated, and no open empties a file. Error 1 at that line.
    int32_t open(const char* path, int32_t line);
    int32_t open_or_make(const char* path, int32_t line);
    int32_t open_to_change(const char* path, int32_t line);
    void close() { stream_.reset(); }
    [[nodiscard]] int32_t fd() const { return fd_; }
    // Makes one text the whole content in place of another, which is put back when that fails.
    [[nodiscard]] int32_t change(std::string_view from, std::string_view to) const;

 private:
    int32_t take(FILE* stream, const char* path, int32_t line);
    [[nodiscard]] int32_t replace(std::string_view text) const;

    Stream stream_;
    int32_t fd_ = -1;
};

// The content of a file; a usual one needs no heap.
class FileText {
 public:
    // From the present position, which is the start; 1 or -1. When the system gives less than the
    // file has, as before a bad place on a disk, that is a failure.
    int32_t load(int32_t fd);
    [[nodiscard]] std::string_view text() const { return text_; }

 private:
    int32_t load_rest(int32_t fd, int64_t size);

    std::string_view text_;
    Heap<char> far_;
    char near_[16384];
};

// ---- Lines ----

constexpr bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

inline void skip_blanks(std::string_view& text) {
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
}

inline constexpr size_t kLongestLine = 2047;

inline std::string_view take_line(std::string_view& text, size_t longest = kLongestLine) {
    return molte::take_line(text, longest);
}

// The byte order mark that some editors put before UTF-8 text, or nothing.
inline std::string_view byte_order_mark(std::string_view text) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    return text.substr(0, text.starts_with(kMark) ? kMark.size() : 0);
}

// LF, CR LF or nothing: what a line ends with.
std::string_view line_end(std::string_view line);

// The names that a call is about.
class Names {
 public:
    Names(const char* const* list, int32_t count);

    [[nodiscard]] int32_t count() const { return count_; }
    [[nodiscard]] const char* at(int32_t i) const { return list_[i]; }

    // False for lines, most of them, that can't be about the only name. Made to be fast.
    [[nodiscard]] bool may_be_in(std::string_view line) const {
        if (only_.empty()) return true;
        skip_blanks(line);
        return line.size() > only_.size() && line[only_.size() - 1] == only_.back() &&
               line.starts_with(only_);
    }

    // The first index of a name for which WANTED, or -1.
    template <typename Wanted>
    [[nodiscard]] int32_t find(std::string_view name, Wanted wanted) const {
        for (int32_t i = 0; i < count_; ++i) {
            if (wanted(i) && equal(list_[i], name)) return i;
        }
        return -1;
    }

 private:
    static bool equal(const char* wanted, std::string_view name);

    const char* const* list_;
    int32_t count_;
    std::string_view only_;  // empty when there are several, or they are compared otherwise
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
