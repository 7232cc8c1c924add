#include "platform/entries.h"

#include <fcntl.h>

#include <cstring>

#include "files/descriptor.h"
#include "files/path.h"
#include "system/failure.h"

namespace platform {

// A slash behind a lead byte, which no character has, still is the kernel's delimiter.
bool is_entry_name(const char* name) {
    const bool dots = strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
    return *name != '\0' && !dots && strchr(name, '/') == nullptr &&
           last_separator(name) == nullptr;
}

// These two by its descriptor: what was looked at is what is changed, or entered.
int add_owner_mode(const char* name) {
    const KernelPath path(name);
    const OpenFile entry(path.valid() ? ::open(path.get(), O_PATH | O_NOFOLLOW | O_CLOEXEC) : -1);
    struct stat status;
    if (!entry.valid() || fstat(entry.get(), &status) != 0) return fail();
    if (S_ISLNK(status.st_mode)) return fail(ELOOP);
    constexpr mode_t all = 07777;
    const mode_t mode = (status.st_mode & all) | S_IRUSR | S_IWUSR;
    return chmod(OpenPath(entry.get()).text, mode) == 0 ? 0 : fail();
}

int enter_folder(const char* name) {
    const KernelPath path(name);
    constexpr int flags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const OpenFile folder(path.valid() ? ::open(path.get(), flags) : -1);
    return folder.valid() && fchdir(folder.get()) == 0 ? 0 : fail();
}

// A pipe doesn't hold the caller up.
int create_entry(const char* name, int permission) {
    const KernelPath path(name);
    if (!path.valid()) return fail();
    constexpr int flags = O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK;
    OpenFile file(open_file(path.get(), flags, static_cast<unsigned>(permission)));
    struct stat status;
    if (!file.valid() || fstat(file.get(), &status) != 0) return fail();
    return S_ISREG(status.st_mode) ? file.release() : fail(EACCES);
}

}  // namespace platform
