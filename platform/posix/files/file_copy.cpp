// CopyFileA: the file system shares the content, or a buffer copies it.
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "files/descriptor.h"
#include "files/path.h"
#include "platform/files.h"
#include "system/failure.h"

using platform::fail;
using platform::KernelPath;
using platform::OpenFile;

namespace {

constexpr size_t kBufferSize = size_t{256} << 10;

size_t to_size(off_t size) {
    return static_cast<size_t>(size);
}

struct Free {
    void operator()(char* memory) const { std::free(memory); }
};

// Size bytes from the position of each file, or to the end of the source; how many, or -1.
off_t copy_by_buffer(int from, int to, off_t size) {
    const std::unique_ptr<char, Free> buffer(static_cast<char*>(std::malloc(kBufferSize)));
    if (buffer == nullptr) return -1;
    for (off_t copied = 0;;) {
        const size_t wanted = std::min<size_t>(kBufferSize, to_size(size - copied));
        const ssize_t count = ::read(from, buffer.get(), wanted);
        if (count < 0 && errno == EINTR) continue;
        if (count == 0) return copied;
        if (count < 0 || !platform::write_all(to, buffer.get(), to_size(count))) return -1;
        copied += count;
    }
}

// Data only: the holes of the source stay holes in the target.
bool copy_with_holes(int from, int to) {
    for (off_t end = 0;;) {
        const off_t start = lseek(from, end, SEEK_DATA);
        // A file system that doesn't tell its holes has none.
        if (start < 0 && errno == EINVAL) return copy_by_buffer(from, to, INT64_MAX) >= 0;
        if (start < 0) return errno == ENXIO && ftruncate(to, lseek(from, 0, SEEK_END)) == 0;
        end = lseek(from, start, SEEK_HOLE);
        if (end < 0 || lseek(from, start, SEEK_SET) < 0 || lseek(to, start, SEEK_SET) < 0) {
            return false;
        }
        const off_t copied = copy_by_buffer(from, to, end - start);
        // Less than there should be: a file of the kernel's, or one that was cut meanwhile.
        if (copied < end - start) return copied >= 0;
    }
}

// A file system that can lets the two files share their blocks. Elsewhere the buffer is faster than
// the kernel's own copying, which goes by a pipe.
bool copy_content(int from, int to, const struct stat& source) {
    constexpr off_t block = 512;
    if (ioctl(to, FICLONE, from) == 0) return true;
    if (source.st_blocks < source.st_size / block) return copy_with_holes(from, to);
    // There may be more: a file that grew, or one of the kernel's that tells no size.
    return copy_by_buffer(from, to, INT64_MAX) >= 0;
}

// Somebody else's file, or a file system without permissions, refuses them: the copy is whole then.
bool copy_state(int to, const struct stat& source) {
    const timespec times[2] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, source.st_mtim};
    const auto done = [](int result) { return result == 0 || errno == EPERM; };
    return done(fchmod(to, source.st_mode & 0777)) && done(futimens(to, times));
}

bool regular(const struct stat& state) {
    if (S_ISREG(state.st_mode)) return true;
    errno = EACCES;
    return false;
}

// Empties the target, which must not be the source itself.
bool prepare_target(int fd, const struct stat& target, const struct stat& source) {
    if (!regular(target)) return false;
    if (target.st_dev == source.st_dev && target.st_ino == source.st_ino) {
        errno = EBUSY;
        return false;
    }
    // Truncating makes some file systems write everything out when the file is closed.
    return target.st_size == 0 || ftruncate(fd, 0) == 0;
}

bool copy_path(const char* from, const char* to, bool must_be_new) {
    // A pipe by that name would keep the open waiting.
    struct stat state;
    const OpenFile source(platform::open_file(from, O_RDONLY | O_NONBLOCK, 0, &state));
    if (!source.valid() || !regular(state)) return false;
    const int flags = O_WRONLY | O_NONBLOCK | O_CREAT | (must_be_new ? O_EXCL : 0);
    struct stat old;
    const OpenFile target(platform::open_file(to, flags, (state.st_mode & 0700) | S_IWUSR, &old));
    if (!target.valid() || !prepare_target(target.get(), old, state)) return false;
    if (copy_content(source.get(), target.get(), state) && copy_state(target.get(), state))
        return true;
    const int reason = errno;
    unlink(to);
    errno = reason;
    return false;
}

}  // namespace

BOOL CopyFileA(const char* source, const char* target, BOOL fail_if_exists) {
    const KernelPath from(source);
    const KernelPath to(target);
    if (from.valid() && to.valid() && copy_path(from.get(), to.get(), fail_if_exists != FALSE)) {
        return TRUE;
    }
    fail();
    const int reason = errno;
    if (reason == EEXIST) SetLastError(ERROR_FILE_EXISTS);
    if (reason == ENOENT && access(from.get(), F_OK) == 0) SetLastError(ERROR_PATH_NOT_FOUND);
    errno = reason;
    return FALSE;
}
