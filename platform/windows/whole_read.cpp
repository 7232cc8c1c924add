#include "platform/whole_read.h"

#include <cstdio>

namespace platform {

namespace {

int with_status(int fd, struct _stat64* status) {
    if (fd < 0 || _fstat64(fd, status) == 0) return fd;
    _close(fd);
    return -1;
}

}  // namespace

int open_to_read(const char* name, struct _stat64* status) {
    return with_status(_open(name, _O_RDONLY | _O_BINARY), status);
}

int open_to_read(const wchar_t* name, struct _stat64* status) {
    return with_status(_wopen(name, _O_RDONLY | _O_BINARY), status);
}

int read_from_start(int fd, void* block, unsigned size) {
    return _lseeki64(fd, 0, SEEK_SET) == 0 ? _read(fd, block, size) : -1;
}

}  // namespace platform
