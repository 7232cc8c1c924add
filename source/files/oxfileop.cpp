// Opening, making and locking files, changing their size; temporary names, folders, exchanged
// names.
#include "files/oxfileop.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/owners.h"
#include "files/oxdirop.h"
#include "moltelib/state.h"
#include "platform/ticks.h"

using namespace molte::file;
using molte::here;
using molte::SystemError;

namespace {

constexpr DWORD kDeniedWait = 1000;  // milliseconds
constexpr int kPasses = 2;
constexpr uint32_t kLockFileNotOpened = 7;
constexpr uint32_t kNamesNotExchanged = 14;
constexpr uint32_t kNoTempName = 296;
constexpr int32_t kTempNames = 999999;
constexpr char kExchangeSuffix[] = ".dhX";

// Two exclusive creations of a process never run at once.
OXCRITSECT& creation_lock() {
    static molte::LastingLock lock;
    return lock.section;
}

template <typename Char>
int32_t make_exclusive(const Char* name, const void* data, int32_t length, int32_t permission) {
    molte::Descriptor file(open(name, ORVEX_OPEN_EXCLUSIVE, permission | ORVEX_MODE_OWNER));
    if (!file.valid()) return fail_name(here(), kNotOpened, SystemError::runtime, name);
    if (data != nullptr && length >= 1 && !write_whole(file.get(), data, length)) {
        return fail_write(here(), file.get(), data, length);
    }
    return 1;
}

template <typename Char>
int32_t create_exclusive(const Char* name, const void* data, int32_t length, int32_t permission) {
    add_owner_mode(name);
    const molte::CritGuard guard(creation_lock());
    return make_exclusive(name, data, length, permission);
}

template <typename Char>
int32_t open_or_create(const Char* name, const void* data, int32_t length, int32_t flags) {
    int32_t fd = open_by_chmod(name, flags);
    if (fd >= 0) return fd;
    create_exclusive(name, data, length, flags);  // the flags serve as permission, as they are
    fd = open_by_chmod(name, flags);
    return fd >= 0 ? fd : fail_name(here(), kNotOpened, SystemError::runtime, name);
}

// Writes zeros from the old end on.
int32_t extend(int32_t fd, int64_t from, int64_t to) {
    if (!seek_whole(fd, from)) return fail_position(here(), fd, from, 0);
    const auto write = [fd](const uint8_t* zeros, int32_t size) {
        return write_whole(fd, zeros, size) || fail_write(here(), fd, zeros, size) > 0;
    };
    return fill_with_zeros(to - from, write) ? 1 : -1;
}

int32_t fail_place(int32_t line, int32_t fd) {
    return kModule.fail_bytes(line, kNoPosition, SystemError::runtime, &fd, sizeof fd);
}

// A second look makes two processes that create one tree at once both succeed.
bool ensure_folder(const char* path) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (exists(path) || _mkdir(path) == 0 || errno == EEXIST) return true;
    }
    return false;
}

// Where the first component begins: behind a drive, and behind the root's separator.
char* first_component(char* path) {
    char* colon = std::strchr(path, ':');
    char* start = colon != nullptr ? colon + 1 : path;
    return molte::directory::is_separator(*start) ? start + 1 : start;
}

// Keeps errno for the report while steps are taken back.
void undo(const char* from, const char* to) {
    const int reason = errno;
    platform::rename_file(from, to);
    errno = reason;
}

}  // namespace

namespace molte::file {

template <typename Char>
int32_t open_by_chmod(const Char* name, int32_t flags) {
    int32_t fd = -1;
    for (int pass = 0; pass < kPasses; ++pass) {
        add_owner_mode(name);
        fd = open(name, flags);
        if (fd >= 0 || errno != EACCES) break;
        Sleep(kDeniedWait);
        errno = EACCES;
    }
    return fd;
}

template int32_t open_by_chmod(const char* name, int32_t flags);
template int32_t open_by_chmod(const wchar_t* name, int32_t flags);

}  // namespace molte::file

int32_t ORVEX_FileOpenByChmod(const char* pszName, int32_t nFlags) {
    return open_by_chmod(pszName, nFlags);
}

int32_t ORVEX_FileOpenByChmodW(const wchar_t* pwszName, int32_t nFlags) {
    return open_by_chmod(pwszName, nFlags);
}

int32_t ORVEX_FileCloseByChmod(int32_t fd) {
    if (fd >= 0) _close(fd);
    return 1;
}

int32_t ORVEX_FileExclCreate(const char* pszName, const void* pData, int32_t nLen,
                             int32_t nPermission) {
    return create_exclusive(pszName, pData, nLen, nPermission);
}

int32_t ORVEX_FileExclCreateW(const wchar_t* pwszName, const void* pData, int32_t nLen,
                              int32_t nPermission) {
    return create_exclusive(pwszName, pData, nLen, nPermission);
}

int32_t ORVEX_FileOpenCreate(const char* pszName, const void* pData, int32_t nLen, int32_t nFlags) {
    return open_or_create(pszName, pData, nLen, nFlags);
}

int32_t ORVEX_FileOpenCreateW(const wchar_t* pwszName, const void* pData, int32_t nLen,
                              int32_t nFlags) {
    return open_or_create(pwszName, pData, nLen, nFlags);
}

int32_t ORVEX_NewEmptyFile(const char* pszName) {
    add_owner_mode(pszName);
    const int32_t fd = open(pszName, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER);
    if (fd < 0) return fail_name(here(), kNotOpened, SystemError::runtime, pszName);
    if (fd > 0) _close(fd);  // descriptor 0 stays open: meant so
    return 1;
}

int32_t ORVEX_UTIL_ChSizeByFD(int32_t fd, int64_t nNewSize) {
    if (!seek_whole(fd, nNewSize)) return fail_position(here(), fd, nNewSize, 0);
    const intptr_t handle = _get_osfhandle(fd);
    if (handle == -1) {
        return kModule.fail(here(), kSizeNotChanged, SystemError::none, "bad file fd=%d", fd);
    }
    if (SetEndOfFile(reinterpret_cast<HANDLE>(handle)) == 0) {
        return kModule.fail(here(), kSizeNotChanged, SystemError::platform, "set end of file");
    }
    return 0;
}

int32_t ORVEX_UTIL_FileExpand(int32_t fd, int64_t nNewSize) {
    const int64_t length = ORVEX_FileLen(fd);
    if (length < 0) return kModule.trace(here());
    if (length == nNewSize) return 1;
    if (nNewSize > length && g_stBv.bFastExpandFile == 0 && extend(fd, length, nNewSize) < 0) {
        return -1;
    }
    if (!seek_whole(fd, nNewSize)) return fail_position(here(), fd, nNewSize, 0);
    if (ORVEX_UTIL_ChSizeByFD(fd, nNewSize) < 0) {
        return kModule.fail(here(), kSizeNotChanged, SystemError::runtime, "fd=%d newsize=%s", fd,
                            molte::Decimal(nNewSize).text());
    }
    return 1;
}

int32_t ORVEX_FileChangeSizeByFN(const char* pszName, int64_t nNewSize) {
    const molte::Descriptor file(open_by_chmod(pszName, ORVEX_OPEN_UPDATE));
    if (!file.valid()) return fail_name(here(), kNotOpened, SystemError::runtime, pszName);
    return ORVEX_UTIL_FileExpand(file.get(), nNewSize) > 0 ? 1 : kModule.trace(here());
}

// Record locks. Waiting is the platform's; nothing is tried again here.

int32_t ORVEX_FileRecordLock(int32_t fd, int32_t nMode, int64_t nOffset, int32_t nSize) {
    const int64_t place = _lseeki64(fd, 0, SEEK_CUR);
    if (place < 0) return fail_place(here(), fd);
    if (!seek_whole(fd, nOffset)) return fail_position(here(), fd, nOffset, 0);
    if (_locking(fd, nMode, nSize) != 0) {
        kModule.fail(here(), kNotLocked, SystemError::runtime, "fd=%d mode=%d size=%d", fd, nMode,
                     nSize);
        _lseeki64(fd, place, SEEK_SET);
        return -1;
    }
    if (_lseeki64(fd, place, SEEK_SET) < 0) return fail_place(here(), fd);
    return static_cast<int32_t>(place);
}

int32_t ORVEX_LockFile(const char* pszName) {
    add_owner_mode(pszName);
    molte::Descriptor file(open(pszName, ORVEX_OPEN_CREATE, ORVEX_MODE_OWNER));
    if (!file.valid()) return fail_name(here(), kLockFileNotOpened, SystemError::runtime, pszName);
    if (_locking(file.get(), _LK_NBLCK, 1) != 0) {
        return fail_name(here(), kNotLocked, SystemError::runtime, pszName);
    }
    return file.release();
}

int32_t ORVEX_FP_FileLock(FILE* pStream, int32_t nMode, int32_t nSize) {
    if (pStream == nullptr) return kModule.fail(here(), kBadArgument);
    if (_locking(_fileno(pStream), nMode, nSize) != 0) {
        return kModule.fail(here(), kNotLocked, SystemError::runtime);
    }
    return 1;
}

int32_t ORVEX_TempFileName(const char* pszDir, char* pszOut, const char* pszPrefix) {
    char* name = _tempnam(pszDir, pszPrefix);
    if (name == nullptr) {
        return kModule.fail(here(), kNoTempName, SystemError::runtime, "path=%s prefix=%s",
                            pszDir != nullptr ? pszDir : "", pszPrefix != nullptr ? pszPrefix : "");
    }
    std::strcpy(pszOut, name);
    std::free(name);
    return 1;
}

int32_t ORVEX_UTIL_GetTempFileName(const char* pszDir, char* pszOut, const char* pszPrefix) {
    if (pszDir == nullptr || pszOut == nullptr) return kModule.fail(here(), kBadArgument);
    if (pszPrefix == nullptr || pszPrefix[0] == '\0') pszPrefix = "otmp";
    const size_t room = std::strlen(pszDir) + std::strlen(pszPrefix) + 24;
    for (int32_t number = 0; number < kTempNames; ++number) {
        snprintf(pszOut, room, "%s%c%s%d%s", pszDir, '\\', pszPrefix, number, ".tmp");
        const int32_t fd = open(pszOut, ORVEX_OPEN_RESERVE, ORVEX_MODE_OWNER);
        if (fd >= 0) {
            _close(fd);
            return 1;
        }
        // A folder of that name denies access; any other failure holds for every number.
        if (errno != EEXIST && (errno != EACCES || !exists(pszOut))) break;
    }
    return -1;
}

int32_t ORVEX_UTIL_TempFNFromFN(const char* pszFileName, char* pszOut, const char* pszPrefix) {
    if (pszFileName == nullptr) return kModule.fail(here(), kBadArgument);
    const molte::directory::DirectoryOf folder(pszFileName);
    if (folder.path() == nullptr) return kModule.trace(here());
    return ORVEX_UTIL_GetTempFileName(folder.path(), pszOut, pszPrefix) > 0 ? 1
                                                                            : kModule.trace(here());
}

int32_t ORVEX_DirCreateRecur(char* pszPath, int32_t /*nUnused*/) {
    if (pszPath == nullptr || pszPath[0] == '\0') {
        return kModule.fail(here(), kBadArgument, SystemError::none, "path name is empty");
    }
    for (char* at = first_component(pszPath);; ++at) {
        while (*at != '\0' && !molte::directory::is_separator(*at)) ++at;
        const char separator = *at;
        *at = '\0';
        const bool there = ensure_folder(pszPath);
        if (!there) fail_name(here(), kNotOpened, SystemError::runtime, pszPath);
        *at = separator;
        if (!there) return -1;
        if (separator == '\0') return 1;
    }
}

int32_t ORVEX_CreatePathByFileName(const char* pszFileName) {
    if (pszFileName == nullptr) return kModule.fail(here(), kBadArgument);
    molte::directory::DirectoryOf folder(pszFileName);
    if (folder.path() == nullptr) return kModule.trace(here());
    return ORVEX_DirCreateRecur(folder.path(), 0);
}

int32_t ORVEX_FileExchangeName(const char* pszA, const char* pszB) {
    if (pszA == nullptr) return kModule.fail(here(), kBadArgument);
    const size_t length = std::strlen(pszA);
    const auto name = molte::allocate<char>(static_cast<int64_t>(length + sizeof kExchangeSuffix));
    if (name == nullptr) return kModule.trace(here());
    std::memcpy(name.get(), pszA, length);
    std::memcpy(name.get() + length, kExchangeSuffix, sizeof kExchangeSuffix);
    const char* aside = name.get();

    if (platform::rename_file(pszA, aside) == 0) {
        if (platform::rename_file(pszB, pszA) == 0) {
            if (platform::rename_file(aside, pszB) == 0) return 1;
            undo(pszA, pszB);
        }
        undo(aside, pszA);
    }
    return fail_name(here(), kNamesNotExchanged, SystemError::runtime, pszA);
}
