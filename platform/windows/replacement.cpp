#include "platform/replacement.h"

#include <cerrno>
#include <cstring>

namespace platform {

namespace {

int refuse(int reason) {
    errno = reason;
    return -1;
}

bool is_device(const char* name) {
    const HANDLE file = CreateFileA(name, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    const bool device = GetFileType(file) != FILE_TYPE_DISK;
    CloseHandle(file);
    return device;
}

}  // namespace

int find_target(const char* name, char (&target)[kLongestPath]) {
    const DWORD attributes = GetFileAttributesA(name);
    const bool there = attributes != INVALID_FILE_ATTRIBUTES;
    constexpr DWORD kElsewhere = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    if ((there && (attributes & kElsewhere) != 0) || is_device(name)) return 0;
    if (there && (attributes & FILE_ATTRIBUTE_READONLY) != 0) return refuse(EACCES);
    const std::size_t length = strlen(name);
    if (length >= sizeof target) return refuse(ENAMETOOLONG);
    memcpy(target, name, length + 1);
    return 1;
}

int make_beside(const char* /*target*/, const char* beside) {
    return _open(beside, _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
}

// A file that is open, as the run-time opens it, can't be replaced, but written.
int replace_file(const char* from, const char* target) {
    if (MoveFileExA(from, target, MOVEFILE_REPLACE_EXISTING) != 0) return 0;
    if (CopyFileA(from, target, FALSE) != 0) return _unlink(from);
    return refuse(EACCES);
}

}  // namespace platform
