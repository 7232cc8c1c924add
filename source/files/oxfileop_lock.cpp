// Record locks. Waiting is the platform's; nothing is tried again here.
#include "core/owners.h"
#include "files/file_calls.h"

using namespace molte::file;
using molte::here;
using molte::SystemError;

namespace {

constexpr uint32_t kLockFileNotOpened = 7;

int32_t fail_place(int32_t line, int32_t fd) {
    return kModule.fail_bytes(line, kNoPosition, SystemError::runtime, &fd, sizeof fd);
}

}  // namespace

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
