#include "platform/files.h"

namespace {

int with_status(int fd, struct _stat64* status) {
    if (fd < 0 || _fstat64(fd, status) == 0) return fd;
    _close(fd);
    return -1;
}

}  // namespace

namespace platform {

int open_to_read(const char* name, struct _stat64* status) {
    return with_status(_open(name, _O_RDONLY | _O_BINARY), status);
}

int open_to_read(const wchar_t* name, struct _stat64* status) {
    return with_status(_wopen(name, _O_RDONLY | _O_BINARY), status);
}

// The state of the run-time has no number of a file.
bool is_file(int fd, const char* name) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE named = CreateFileA(name, 0, kShareAll, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (named == INVALID_HANDLE_VALUE) return false;
    BY_HANDLE_FILE_INFORMATION one;
    BY_HANDLE_FILE_INFORMATION other;
    auto* const opened = reinterpret_cast<HANDLE>(_get_osfhandle(fd));
    const bool same = GetFileInformationByHandle(opened, &one) != 0 &&
                      GetFileInformationByHandle(named, &other) != 0 &&
                      one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
                      one.nFileIndexHigh == other.nFileIndexHigh &&
                      one.nFileIndexLow == other.nFileIndexLow;
    CloseHandle(named);
    return same;
}

bool is_link(const char* name) {
    const DWORD attributes = GetFileAttributesA(name);
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

}  // namespace platform
