// Names of files: how the program spells them and how the kernel takes them.
#pragma once

#include <climits>
#include <cstddef>

namespace platform {

// True for text that is UTF-8 throughout, as plain ASCII is.
bool is_utf8(const char* text);

// The bytes of the character at text, which is not empty: by UTF-8, or by the current code page.
size_t character_size(const char* text, bool utf8);

// The last `\` or `/` of a name that separates; null when there is none.
const char* last_separator(const char* name);

// A name for the kernel, by the rules of platform/files.h. It lies in the object or, where nothing
// is to change, is the caller's own text, which must stay while the object is used.
class KernelPath {
 public:
    explicit KernelPath(const char* name);
    explicit KernelPath(const wchar_t* name);
    KernelPath(const KernelPath&) = delete;
    KernelPath& operator=(const KernelPath&) = delete;

    // Null when the name can't be used; errno says why.
    [[nodiscard]] const char* get() const { return path_; }
    [[nodiscard]] bool valid() const { return path_ != nullptr; }

 private:
    const char* path_ = nullptr;
    char text_[PATH_MAX];
};

}  // namespace platform
