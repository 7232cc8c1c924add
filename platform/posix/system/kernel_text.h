// The kernel's figures, which are text files.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace platform {

// What a file tells, terminated; few bytes or many, for a process may be in 65536 groups. Empty
// when it can't be read; errno says why.
class KernelText {
 public:
    explicit KernelText(const char* path);
    KernelText(int folder, const char* name);

    [[nodiscard]] const char* text() const { return text_ != nullptr ? text_.get() : ""; }
    [[nodiscard]] bool valid() const { return text()[0] != '\0'; }
    // The number behind a label that begins a line, as "MemTotal:"; 0 when there is none.
    [[nodiscard]] uint64_t number(const char* label) const;

 private:
    struct Free {
        void operator()(char* text) const { std::free(text); }
    };

    std::unique_ptr<char, Free> text_;
};

}  // namespace platform
