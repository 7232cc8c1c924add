#include "kernel_text.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "descriptor.h"

namespace platform {

KernelText::KernelText(const char* path) : KernelText(AT_FDCWD, path) {}

KernelText::KernelText(int folder, const char* name) {
    const OpenFile file(openat(folder, name, O_RDONLY | O_CLOEXEC));
    size_t size = 0;
    ssize_t part = 0;
    while (file.valid() && size < sizeof text_ - 1) {
        part = read(file.get(), text_ + size, sizeof text_ - 1 - size);
        if (part < 0 && errno == EINTR) continue;
        if (part <= 0) break;
        size += static_cast<size_t>(part);
    }
    text_[size] = '\0';
}

uint64_t KernelText::number(const char* label) const {
    const size_t length = strlen(label);
    const char* line = text_;
    while (line != nullptr && strncmp(line, label, length) != 0) {
        line = strchr(line, '\n');
        if (line != nullptr) ++line;
    }
    return line != nullptr ? strtoull(line + length, nullptr, 10) : 0;
}

}  // namespace platform
