// The text files of module "oxparam": opened, locked, read and rewritten.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/owners.h"
#include "core/report.h"

namespace molte::ini {

inline constexpr Module kModule("oxparam");

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
    // Bytes are never translated. When the first mode fails the second is tried; when both do:
    // error 1 at that line.
    int32_t open(const char* path, const char* mode, const char* second_mode, int32_t line);
    void close() { stream_.reset(); }
    [[nodiscard]] int32_t fd() const { return fd_; }
    // Makes this the whole content.
    [[nodiscard]] int32_t replace(std::string_view text) const;

 private:
    Stream stream_;
    int32_t fd_ = -1;
};

// The content of a file; a usual one needs no heap.
class FileText {
 public:
    // From the present position, which is the start; 1 or -1.
    int32_t load(int32_t fd);
    [[nodiscard]] std::string_view text() const { return text_; }

 private:
    int32_t load_rest(int32_t fd);

    std::string_view text_;
    Heap<char> far_;
    char near_[16384];
};

}  // namespace molte::ini
