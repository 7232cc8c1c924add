// The kernel's figures, which are text files.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

// What a file tells, or its first part, terminated. Empty when it can't be read; errno says why.
class KernelText {
 public:
    explicit KernelText(const char* path);
    KernelText(int folder, const char* name);

    [[nodiscard]] const char* text() const { return text_; }
    [[nodiscard]] bool valid() const { return text_[0] != '\0'; }
    // The number behind a label that begins a line, as "MemTotal:"; 0 when there is none.
    [[nodiscard]] uint64_t number(const char* label) const;

 private:
    char text_[8192];
};

}  // namespace platform
