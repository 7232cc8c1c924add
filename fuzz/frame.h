// What the targets share: each is a try_input().
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "moltelib.h"
#include "support/temp_folder.h"

void try_input(std::string_view input);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try_input({reinterpret_cast<const char*>(data), size});
    return 0;
}

// Ends the run with the input at hand.
inline void must(bool holds) {
    if (!holds) __builtin_trap();
}

// A file in memory with these bytes: one on a disk costs more than all that is tried with it.
inline const char* file_of(std::string_view bytes) {
    static const int file = memfd_create("input", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    must(ftruncate(file, 0) == 0);
    must(pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    return path.c_str();
}

// A pattern up to a line end and the text behind it, each up to its terminator; a byte in front of
// them has chosen the code page, which is set.
struct PatternAndText {
    explicit PatternAndText(std::string_view input)
        : gbk((input[0] & 16) != 0),
          pattern(std::string(input.substr(1, input.find('\n', 1) - 1)).c_str()),
          text(std::string(input.substr(std::min(input.find('\n', 1), input.size() - 1) + 1))
                   .c_str()) {
        OXLANG_SetLocale(gbk ? OXLANG_CHINESE : OXLANG_ENGLISH);
    }
    bool gbk;
    std::string pattern;
    std::string text;
};
