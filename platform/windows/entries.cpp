#include "platform/entries.h"

#include <windows.h>

#include <cerrno>
#include <cwchar>
#include <string_view>

#include "platform/files.h"

namespace {

// By the part before the first dot, however it is written.
bool is_device(std::wstring_view base) {
    while (!base.empty() && base.back() == L' ') base.remove_suffix(1);
    const auto is = [](std::wstring_view a, std::wstring_view b) {
        return a.size() == b.size() && _wcsnicmp(a.data(), b.data(), a.size()) == 0;
    };
    for (const std::wstring_view device :
         {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$", L"CLOCK$"}) {
        if (is(base, device)) return true;
    }
    constexpr std::wstring_view digits = L"0123456789\u00B9\u00B2\u00B3";
    const bool numbered = base.size() == 4 && digits.find(base[3]) != std::wstring_view::npos;
    return numbered && (is(base.substr(0, 3), L"COM") || is(base.substr(0, 3), L"LPT"));
}

}  // namespace

namespace platform {

// By what the system makes of the bytes.
bool is_entry_name(const char* name) {
    wchar_t wide[MAX_PATH + 16];
    constexpr int room = sizeof wide / sizeof *wide;
    const UINT page = AreFileApisANSI() != 0 ? CP_ACP : CP_OEMCP;
    const int size = MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, name, -1, wide, room);
    if (size <= 1) return false;
    const std::wstring_view text(wide, static_cast<size_t>(size) - 1);
    for (const wchar_t c : text) {
        if (c < L' ' || std::wcschr(L"\\/:*?\"<>|", c) != nullptr) return false;
    }
    if (text.back() == L'.' || text.back() == L' ') return false;
    return !is_device(text.substr(0, text.find(L'.')));
}

// A link that came just now would be changed itself.
int add_owner_mode(const char* name) {
    if (!is_link(name)) return _chmod(name, _S_IREAD | _S_IWRITE);
    errno = ELOOP;
    return -1;
}

// While it is open nobody can put a link in its place.
int enter_folder(const char* name) {
    const HANDLE folder =
        CreateFileA(name, FILE_LIST_DIRECTORY, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    const bool link = is_link(name);
    const int result = link ? -1 : _chdir(name);
    if (link) errno = ENOTDIR;
    if (folder != INVALID_HANDLE_VALUE) CloseHandle(folder);
    return result;
}

int create_entry(const char* name, int permission) {
    if (is_link(name)) {
        errno = ELOOP;
        return -1;
    }
    const int fd = _open(name, _O_RDWR | _O_CREAT | _O_TRUNC | _O_BINARY, permission);
    struct _stat64 status {};
    if (fd < 0 || (_fstat64(fd, &status) == 0 && (status.st_mode & _S_IFREG) != 0)) return fd;
    _close(fd);
    errno = EACCES;
    return -1;
}

}  // namespace platform
