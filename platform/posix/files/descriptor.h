// An open descriptor that closes itself, the one way in which files are opened, and their state.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>

#include "platform/files.h"

namespace platform {

class OpenFile {
 public:
    explicit OpenFile(int fd) : fd_(fd) {}
    ~OpenFile() {
        if (fd_ >= 0) ::close(fd_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] bool valid() const { return fd_ >= 0; }
    [[nodiscard]] int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

 private:
    int fd_;
};

// open(2) with the kernel's own flags, for anything but a folder; the descriptor isn't inherited.
// -1 with errno, and EACCES for a folder. STATUS tells of the file that was opened.
int open_file(const char* path, int flags, unsigned permission);
int open_file(const char* path, int flags, unsigned permission, struct stat* status);

// From the kernel's state of a file to the library's.
void fill_status(const struct stat& from, struct _stat64* to);

// False with errno when not all could be written.
bool write_all(int fd, const char* bytes, size_t size);

}  // namespace platform
