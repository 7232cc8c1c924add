#include "platform/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdint>

#include "files/descriptor.h"
#include "files/path.h"
#include "system/failure.h"

using platform::fail;
using platform::KernelPath;

namespace platform {

int handle_descriptor(HANDLE file) {
    const auto value = reinterpret_cast<intptr_t>(file);
    return value > 0 && value % 2 == 1 && value / 2 <= INT_MAX ? static_cast<int>(value / 2) : -1;
}

}  // namespace platform

namespace {

// The most that one call of the kernel transfers.
constexpr size_t kMaxTransfer = 0x7FFFF000;
// A new file is never writable for everyone, whatever the caller's number means.
constexpr unsigned kMostPermission = 0775;

// 0, or the failure that errno tells.
int done(int result) {
    return result == 0 ? 0 : fail();
}

// The kernel's open flags; -1 for a combination that Windows refuses, or that isn't supported.
int kernel_flags(int flags) {
    constexpr int access = _O_WRONLY | _O_RDWR;
    constexpr int hints = _O_RANDOM | _O_SEQUENTIAL | _O_NOINHERIT | _O_BINARY;
    constexpr int known = access | hints | _O_APPEND | _O_CREAT | _O_TRUNC | _O_EXCL;
    const bool truncates = (flags & _O_TRUNC) != 0;
    const bool creates = (flags & _O_CREAT) != 0;
    if ((flags & ~known) != 0 || (flags & access) == access) return -1;
    if (truncates && (flags & access) == 0) return -1;
    int result = (flags & _O_RDWR) != 0 ? O_RDWR : (flags & _O_WRONLY) != 0 ? O_WRONLY : O_RDONLY;
    if (truncates) result |= O_TRUNC;
    if (creates) result |= O_CREAT;
    if (creates && (flags & _O_EXCL) != 0) result |= O_EXCL;
    if ((flags & _O_APPEND) != 0) result |= O_APPEND;
    return result;
}

int open_path(const KernelPath& path, int flags, int permission) {
    const int kernel = kernel_flags(flags);
    if (!path.valid()) return fail();
    if (kernel < 0) return fail(EINVAL);
    const int fd = platform::open_file(path.get(), kernel,
                                       static_cast<unsigned>(permission) & kMostPermission);
    if (fd < 0 && errno == EEXIST) SetLastError(ERROR_FILE_EXISTS);
    return fd;
}

int open_path_to_read(const KernelPath& path, struct _stat64* status) {
    if (!path.valid()) return fail();
    struct stat found;
    const int fd = platform::open_file(path.get(), O_RDONLY | O_NONBLOCK, 0, &found);
    if (fd >= 0) platform::fill_status(found, status);
    return fd;
}

int status_of_path(const KernelPath& path, struct _stat64* status) {
    if (path.valid() && status == nullptr) errno = EINVAL;
    struct stat found;
    if (!path.valid() || status == nullptr || stat(path.get(), &found) != 0) return fail();
    platform::fill_status(found, status);
    return 0;
}

int access_path(const KernelPath& path, int mode) {
    if (!path.valid()) return fail();
    return done(faccessat(AT_FDCWD, path.get(), mode, AT_EACCESS));
}

int change_mode(const KernelPath& path, int mode) {
    constexpr unsigned owner = S_IRUSR | S_IWUSR;
    constexpr unsigned write = S_IWUSR | S_IWGRP | S_IWOTH;
    constexpr unsigned all = 07777;
    struct stat found;
    if (!path.valid() || stat(path.get(), &found) != 0) return fail();
    const unsigned present = found.st_mode & all;
    unsigned wanted = static_cast<unsigned>(mode) & all;
    if ((wanted & ~owner) == 0) wanted |= present & ~owner;
    if ((wanted & S_IWUSR) == 0) wanted &= ~write;
    return wanted == present ? 0 : done(chmod(path.get(), wanted));
}

// Calls the kernel until all is transferred or it tells that no more can be.
template <typename Byte, typename Call>
int transfer(Byte* bytes, unsigned count, bool whole, Call call) {
    if (count > INT_MAX) return fail(EINVAL);
    size_t moved = 0;
    while (moved < count) {
        const size_t chunk = std::min<size_t>(count - moved, kMaxTransfer);
        const ssize_t result = call(bytes + moved, chunk);
        if (result < 0 && errno == EINTR) continue;
        if (result < 0 && moved == 0) return fail();
        if (result <= 0) break;
        moved += static_cast<size_t>(result);
        if (!whole && static_cast<size_t>(result) < kMaxTransfer) break;
    }
    return static_cast<int>(moved);
}

}  // namespace

int _open(const char* name, int flags, int permission) {
    return open_path(KernelPath(name), flags, permission);
}

int _wopen(const wchar_t* name, int flags, int permission) {
    return open_path(KernelPath(name), flags, permission);
}

int _read(int fd, void* buffer, unsigned count) {
    return transfer(static_cast<char*>(buffer), count, false,
                    [fd](char* to, size_t size) { return ::read(fd, to, size); });
}

int _write(int fd, const void* data, unsigned count) {
    return transfer(static_cast<const char*>(data), count, true,
                    [fd](const char* from, size_t size) { return ::write(fd, from, size); });
}

int _close(int fd) {
    return done(::close(fd));
}

int64_t _lseeki64(int fd, int64_t offset, int origin) {
    const int64_t position = lseek(fd, offset, origin);
    return position >= 0 ? position : fail();
}

int64_t _telli64(int fd) {
    return _lseeki64(fd, 0, SEEK_CUR);
}

int64_t _filelengthi64(int fd) {
    struct stat status;
    return fstat(fd, &status) == 0 ? status.st_size : fail();
}

int _commit(int fd) {
    return done(fsync(fd));
}

int _fstat64(int fd, struct _stat64* status) {
    struct stat found;
    if (status == nullptr) return fail(EINVAL);
    if (fstat(fd, &found) != 0) return fail();
    platform::fill_status(found, status);
    return 0;
}

int _stat64(const char* name, struct _stat64* status) {
    return status_of_path(KernelPath(name), status);
}

int _wstat64(const wchar_t* name, struct _stat64* status) {
    return status_of_path(KernelPath(name), status);
}

int _access(const char* name, int mode) {
    return access_path(KernelPath(name), mode);
}

int _waccess(const wchar_t* name, int mode) {
    return access_path(KernelPath(name), mode);
}

int _chmod(const char* name, int mode) {
    return change_mode(KernelPath(name), mode);
}

int _wchmod(const wchar_t* name, int mode) {
    return change_mode(KernelPath(name), mode);
}

intptr_t _get_osfhandle(int fd) {
    if (fcntl(fd, F_GETFD) < 0) return fail();
    return intptr_t{fd} * 2 + 1;
}

BOOL SetEndOfFile(HANDLE file) {
    const int fd = platform::handle_descriptor(file);
    const off_t position = lseek(fd, 0, SEEK_CUR);
    if (position >= 0 && ftruncate(fd, position) == 0) return TRUE;
    // The kernel's word for a descriptor that is open for reading alone.
    if (errno == EINVAL) errno = EACCES;
    fail();
    return FALSE;
}

namespace platform {

int open_to_read(const char* name, struct _stat64* status) {
    return open_path_to_read(KernelPath(name), status);
}

int open_to_read(const wchar_t* name, struct _stat64* status) {
    return open_path_to_read(KernelPath(name), status);
}

bool is_file(int fd, const char* name) {
    const KernelPath path(name);
    struct stat one;
    struct stat other;
    return path.valid() && fstat(fd, &one) == 0 && stat(path.get(), &other) == 0 &&
           one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

}  // namespace platform
