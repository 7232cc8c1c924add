// Opening files that may be marked read-only, making them, changing their size.
#include <algorithm>

#include "core/owners.h"
#include "files/file_calls.h"
#include "files/file_open.h"
#include "moltelib/state.h"
#include "platform/ticks.h"

using namespace molte::file;
using molte::here;
using molte::SystemError;

namespace {

constexpr int32_t kZeroChunk = 8192;
constexpr DWORD kDeniedWait = 1000;  // milliseconds
constexpr int kPasses = 2;

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

// Writes zeros from the old end on, so that the disk space is taken.
int32_t fill_with_zeros(int32_t fd, int64_t from, int64_t to) {
    static constexpr uint8_t zeros[kZeroChunk] = {};
    if (!seek_whole(fd, from)) return fail_position(here(), fd, from, 0);
    for (int64_t at = from; at < to;) {
        const auto chunk = static_cast<int32_t>(std::min<int64_t>(to - at, kZeroChunk));
        if (!write_whole(fd, zeros, chunk)) return fail_write(here(), fd, zeros, chunk);
        at += chunk;
    }
    return 1;
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
    if (nNewSize > length && g_stBv.bFastExpandFile == 0 &&
        fill_with_zeros(fd, length, nNewSize) < 0) {
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
