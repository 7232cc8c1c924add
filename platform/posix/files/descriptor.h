// An open descriptor that closes itself, the one way in which files are opened, and their state.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

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

// By which an open file can be opened or named once more.
struct OpenPath {
    explicit OpenPath(int fd) { std::snprintf(text, sizeof text, "/proc/self/fd/%d", fd); }
    char text[32];
};

// open(2) with the kernel's own flags, for anything but a folder; the descriptor isn't inherited.
// -1 with errno, and EACCES for a folder. STATUS tells of the file that was opened.
int open_file(const char* path, int flags, unsigned permission);
int open_file(const char* path, int flags, unsigned permission, struct stat* status);

// From the kernel's state of a file to the library's.
void fill_status(const struct stat& from, struct _stat64* to);

// False with errno when not all could be written.
bool write_all(int fd, const char* bytes, size_t size);

// Takes room on the disk for what lies between two positions, zeros where there was nothing, and
// makes the file that long, never shorter. False with errno when there isn't so much; the length is
// then as it was. A file system that can't take room in advance just gets the length.
bool take_room(int fd, uint64_t from, uint64_t to);
// The same behind the end of a file.
bool lengthen(int fd, uint64_t size);

}  // namespace platform
