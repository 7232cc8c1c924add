// An open descriptor that closes itself, and the one way in which files are opened.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>

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

// False with errno when not all could be written.
bool write_all(int fd, const char* bytes, size_t size);

}  // namespace platform
