// The text files of module "oxparam": opened, locked, read and rewritten.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>

#include "core/modules.h"
#include "core/owners.h"

namespace molte::ini {

constexpr auto kModule = kOxparam;

using molte::kBadArgument;
using molte::kNotOpened;
using molte::kNotRead;
using molte::kNotWritten;
inline constexpr uint32_t kAbsent = 52;
inline constexpr uint32_t kTooLarge = 303;

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

}  // namespace molte::ini
