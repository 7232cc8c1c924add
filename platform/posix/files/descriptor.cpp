#include "files/descriptor.h"

#include <fcntl.h>

#include "system/failure.h"

namespace platform {

// The kernel itself refuses to open a folder to be written.
int open_file(const char* path, int flags, unsigned permission) {
    struct stat status;
    if ((flags & O_ACCMODE) == O_RDONLY) return open_file(path, flags, permission, &status);
    const int fd = ::open(path, flags | O_CLOEXEC | O_NOCTTY, permission);
    return fd >= 0 ? fd : fail();
}

int open_file(const char* path, int flags, unsigned permission, struct stat* status) {
    OpenFile file(::open(path, flags | O_CLOEXEC | O_NOCTTY, permission));
    if (!file.valid() || fstat(file.get(), status) != 0) return fail();
    return S_ISDIR(status->st_mode) ? fail(EISDIR) : file.release();
}

bool write_all(int fd, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t count = ::write(fd, bytes, size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

}  // namespace platform
