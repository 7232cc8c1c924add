#include "system/kernel_text.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "files/descriptor.h"

namespace platform {

KernelText::KernelText(const char* path) : KernelText(AT_FDCWD, path) {}

KernelText::KernelText(int folder, const char* name) {
    OpenFile descriptor(openat(folder, name, O_RDONLY | O_CLOEXEC));
    FILE* file = descriptor.valid() ? fdopen(descriptor.get(), "r") : nullptr;
    if (file == nullptr) return;
    static_cast<void>(descriptor.release());
    char* text = nullptr;
    size_t room = 0;
    const bool told = getdelim(&text, &room, '\0', file) >= 0;
    const int error = errno;
    text_.reset(text);
    if (!told) text_.reset();
    fclose(file);
    errno = error;
}

uint64_t KernelText::number(const char* label) const {
    const size_t length = strlen(label);
    const char* line = text();
    while (line != nullptr && strncmp(line, label, length) != 0) {
        line = strchr(line, '\n');
        if (line != nullptr) ++line;
    }
    return line != nullptr ? strtoull(line + length, nullptr, 10) : 0;
}

}  // namespace platform
