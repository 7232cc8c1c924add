#include "platform/find.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/statvfs.h>

#include <climits>
#include <cstring>
#include <memory>
#include <utility>

#include "files/descriptor.h"
#include "files/path.h"
#include "kernel/open_table.h"
#include "system/failure.h"

using platform::KernelPath;
using platform::OpenFile;

namespace {

// A pattern that is matched often.
class Pattern {
 public:
    // False for one that is too long.
    bool set(const char* text) {
        length_ = strlen(text);
        if (length_ >= sizeof text_) return false;
        memcpy(text_, text, length_ + 1);
        open_end_ = length_ >= 2 && strcmp(text_ + length_ - 2, ".*") == 0;
        all_ = strcmp(text_, "*") == 0 || strcmp(text_, "*.*") == 0;
        return true;
    }

    [[nodiscard]] const char* text() const { return text_; }
    [[nodiscard]] bool wild() const { return strpbrk(text_, "*?") != nullptr; }

    [[nodiscard]] bool matches(const char* name) const {
        if (all_) return true;
        const char* end = text_ + length_;
        return match(name, end) || (open_end_ && match(name, end - 2));
    }

 private:
    // Character by character; on a mismatch the latest `*` takes in one more.
    bool match(const char* name, const char* end) const {
        const bool utf8 = platform::is_utf8(name);
        const char* at = text_;
        const char* star = nullptr;
        const char* retry = nullptr;
        while (*name != '\0') {
            const size_t size = platform::character_size(name, utf8);
            if (at < end && *at == '*') {
                star = ++at;
                retry = name;
            } else if (at < end && *at == '?') {
                ++at;
                name += size;
            } else if (static_cast<size_t>(end - at) >= size && memcmp(at, name, size) == 0) {
                at += size;
                name += size;
            } else if (star != nullptr) {
                retry += platform::character_size(retry, utf8);
                name = retry;
                at = star;
            } else {
                return false;
            }
        }
        while (at < end && *at == '*') ++at;
        return at == end;
    }

    char text_[MAX_PATH] = {};
    size_t length_ = 0;
    bool open_end_ = false;
    bool all_ = false;
};

// An open walk through a folder.
struct Find {
    ~Find() {
        if (folder != nullptr) closedir(folder);
    }
    uint64_t id = 0;
    Find* next = nullptr;
    DIR* folder = nullptr;
    Pattern pattern;
    bool names_only = false;
};

platform::OpenTable<Find> finds(1);

FILETIME file_time(const timespec& time) {
    constexpr int64_t seconds_before_1970 = 11644473600;
    const int64_t ticks = (time.tv_sec + seconds_before_1970) * 10'000'000 + time.tv_nsec / 100;
    return {.dwLowDateTime = static_cast<DWORD>(ticks),
            .dwHighDateTime = static_cast<DWORD>(ticks >> 32)};
}

void fill_state(const struct stat& status, WIN32_FIND_DATAA* found) {
    if (S_ISDIR(status.st_mode)) found->dwFileAttributes |= FILE_ATTRIBUTE_DIRECTORY;
    if ((status.st_mode & S_IWUSR) == 0) found->dwFileAttributes |= FILE_ATTRIBUTE_READONLY;
    found->ftCreationTime = file_time(status.st_ctim);
    found->ftLastAccessTime = file_time(status.st_atim);
    found->ftLastWriteTime = file_time(status.st_mtim);
    const auto size = static_cast<uint64_t>(S_ISDIR(status.st_mode) ? 0 : status.st_size);
    found->nFileSizeHigh = static_cast<DWORD>(size >> 32);
    found->nFileSizeLow = static_cast<DWORD>(size);
}

// The type of an entry, which some file systems don't tell in passing; DT_UNKNOWN when it is gone.
unsigned char entry_type(const Find& find, const char* name, unsigned char told) {
    struct stat status;
    if (told != DT_UNKNOWN) return told;
    const int result = fstatat(dirfd(find.folder), name, &status, AT_SYMLINK_NOFOLLOW);
    return result == 0 ? static_cast<unsigned char>(IFTODT(status.st_mode)) : told;
}

// False for an entry that is gone meanwhile.
bool fill(const Find& find, const char* name, unsigned char told, WIN32_FIND_DATAA* found) {
    const unsigned char type = entry_type(find, name, told);
    if (type == DT_UNKNOWN) return false;
    *found = {};
    memcpy(found->cFileName, name, strnlen(name, sizeof found->cFileName - 1));
    if (type == DT_LNK) found->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    if (type == DT_DIR) found->dwFileAttributes |= FILE_ATTRIBUTE_DIRECTORY;
    if (!find.names_only || type == DT_LNK) {
        const int folder = dirfd(find.folder);
        struct stat status;
        // A link that leads nowhere stands for itself.
        if (fstatat(folder, name, &status, 0) != 0 &&
            fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return false;
        }
        fill_state(status, found);
    }
    if (found->dwFileAttributes == 0) found->dwFileAttributes = FILE_ATTRIBUTE_NORMAL;
    return true;
}

// 0, or the last error of a walk that found nothing more.
DWORD next_match(const Find& find, WIN32_FIND_DATAA* found) {
    if (!find.pattern.wild()) return ERROR_NO_MORE_FILES;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(find.folder);
        if (entry == nullptr && errno != 0) return platform::error_number(errno);
        if (entry == nullptr) return ERROR_NO_MORE_FILES;
        if (find.pattern.matches(entry->d_name) &&
            fill(find, entry->d_name, entry->d_type, found)) {
            return ERROR_SUCCESS;
        }
    }
}

DWORD first_match(const Find& find, WIN32_FIND_DATAA* found) {
    const char* name = find.pattern.text();
    if (!find.pattern.wild() && fill(find, name, DT_UNKNOWN, found)) return ERROR_SUCCESS;
    const DWORD error = next_match(find, found);
    return error == ERROR_NO_MORE_FILES ? ERROR_FILE_NOT_FOUND : error;
}

DIR* open_folder(const char* path) {
    OpenFile file(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DIR* folder = file.valid() ? fdopendir(file.get()) : nullptr;
    if (folder != nullptr) (void)file.release();
    return folder;
}

// Opens the folder of a kernel's path that ends in a pattern; 0 or the last error.
DWORD start(const char* path, Find& find) {
    const char* slash = strrchr(path, '/');
    const char* pattern = slash != nullptr ? slash + 1 : path;
    if (*path == '\0') return ERROR_PATH_NOT_FOUND;
    if (*pattern == '\0') return ERROR_FILE_NOT_FOUND;
    if (!find.pattern.set(pattern)) return ERROR_INVALID_NAME;
    char folder[PATH_MAX] = ".";
    if (slash != nullptr) {
        const size_t length = slash != path ? static_cast<size_t>(slash - path) : 1;
        if (length >= sizeof folder) return ERROR_FILENAME_EXCED_RANGE;
        memcpy(folder, path, length);
        folder[length] = '\0';
    }
    find.folder = open_folder(folder);
    if (find.folder != nullptr) return ERROR_SUCCESS;
    if (errno == ENOENT) return ERROR_PATH_NOT_FOUND;
    return errno == ENOTDIR ? ERROR_DIRECTORY : platform::error_number(errno);
}

HANDLE find_first(const char* name, bool names_only, WIN32_FIND_DATAA* found) {
    const KernelPath path(name);
    std::unique_ptr<Find> find = finds.make();
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
    if (find != nullptr) {
        find->names_only = names_only;
        error = path.valid() ? start(path.get(), *find) : platform::error_number(errno);
    }
    if (error == ERROR_SUCCESS) error = first_match(*find, found);
    if (error == ERROR_SUCCESS) return finds.add(std::move(find));
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

}  // namespace

HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* found) {
    return find_first(pattern, false, found);
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* found) {
    const Find* find = finds.find(handle);
    const DWORD error = find != nullptr ? next_match(*find, found) : ERROR_INVALID_HANDLE;
    if (error == ERROR_SUCCESS) return TRUE;
    SetLastError(error);
    return FALSE;
}

BOOL FindClose(HANDLE handle) {
    if (finds.take(handle) != nullptr) return TRUE;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

BOOL GetDiskFreeSpaceExA(const char* folder, ULARGE_INTEGER* available, ULARGE_INTEGER* total,
                         ULARGE_INTEGER* free_bytes) {
    const KernelPath path(folder != nullptr ? folder : ".");
    const OpenFile file(path.valid() ? open(path.get(), O_PATH | O_DIRECTORY | O_CLOEXEC) : -1);
    struct statvfs disk;
    if (!file.valid() || fstatvfs(file.get(), &disk) != 0) {
        SetLastError(errno == ENOTDIR ? ERROR_DIRECTORY : platform::error_number(errno));
        return FALSE;
    }
    if (available != nullptr) available->QuadPart = disk.f_bavail * disk.f_frsize;
    if (total != nullptr) total->QuadPart = disk.f_blocks * disk.f_frsize;
    if (free_bytes != nullptr) free_bytes->QuadPart = disk.f_bfree * disk.f_frsize;
    return TRUE;
}

namespace platform {

HANDLE find_first_name(const char* pattern, WIN32_FIND_DATAA* found) {
    return find_first(pattern, true, found);
}

int stat_found(HANDLE handle, const char*, const WIN32_FIND_DATAA* found, struct _stat64* status) {
    const Find* find = finds.find(handle);
    if (find == nullptr) return fail(EBADF);
    struct stat result;
    if (fstatat(dirfd(find->folder), found->cFileName, &result, 0) != 0) return fail();
    fill_status(result, status);
    return 0;
}

}  // namespace platform
