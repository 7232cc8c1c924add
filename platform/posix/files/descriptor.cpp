#include "files/descriptor.h"

#include <fcntl.h>
#include <sys/statvfs.h>

#include <algorithm>

#include "system/failure.h"

namespace platform {

namespace {

// In Windows' modes one bit tells a folder. What shares it here passes for its next of kin.
uint16_t mode_bits(mode_t mode) {
    const mode_t rest = mode & ~mode_t{S_IFMT};
    if (S_ISSOCK(mode)) mode = rest | S_IFIFO;
    if (S_ISBLK(mode)) mode = rest | S_IFCHR;
    return static_cast<uint16_t>(mode);
}

// Whether a disk might have that much: so that nothing fills it up only to find that it doesn't.
bool disk_may_have(int fd, uint64_t size) {
    struct statvfs disk {};
    return fstatvfs(fd, &disk) != 0 || disk.f_blocks == 0 || size / disk.f_frsize <= disk.f_bfree;
}

bool allocate(int fd, int mode, uint64_t from, uint64_t size) {
    int result = 0;
    do {
        result = fallocate(fd, mode, static_cast<off_t>(from), static_cast<off_t>(size));
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

bool set_length(int fd, uint64_t size) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return false;
    return static_cast<uint64_t>(status.st_size) >= size ||
           ftruncate(fd, static_cast<off_t>(size)) == 0;
}

}  // namespace

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

void fill_status(const struct stat& from, struct _stat64* to) {
    *to = {.st_dev = from.st_dev,
           .st_ino = from.st_ino,
           .st_mode = mode_bits(from.st_mode),
           .st_nlink = static_cast<uint32_t>(from.st_nlink),
           .st_uid = from.st_uid,
           .st_gid = from.st_gid,
           .st_rdev = from.st_rdev,
           .st_size = S_ISDIR(from.st_mode) ? 0 : from.st_size,
           .st_atime = from.st_atim.tv_sec,
           .st_mtime = from.st_mtim.tv_sec,
           .st_ctime = from.st_ctim.tv_sec};
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

// In steps, for a file system may begin each anew when a signal comes; the length last, so that it
// stays when the room doesn't suffice.
bool take_room(int fd, uint64_t from, uint64_t to) {
    constexpr uint64_t kStep = 16 << 20;
    if (from >= to) return true;
    if (!disk_may_have(fd, to - from)) {
        errno = ENOSPC;
        return false;
    }
    for (uint64_t at = from; at < to; at += kStep) {
        if (allocate(fd, FALLOC_FL_KEEP_SIZE, at, std::min(kStep, to - at))) continue;
        return errno == EOPNOTSUPP && set_length(fd, to);
    }
    return allocate(fd, 0, to - 1, 1);
}

bool lengthen(int fd, uint64_t size) {
    struct stat status {};
    return fstat(fd, &status) == 0 && take_room(fd, static_cast<uint64_t>(status.st_size), size);
}

}  // namespace platform
