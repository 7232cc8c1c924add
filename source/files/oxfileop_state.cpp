// Length, state, mode and times of files.
#include <cstring>

#include "files/oxfileop.h"
#include "moltelib/byte_field.h"

using namespace molte::file;
using molte::here;
using molte::SystemError;

namespace {

constexpr uint32_t kModeNotChanged = 13;
constexpr uint32_t kNoSuchFile = 23;

template <typename Char>
int32_t state_by_name(const Char* name, OXSTAT64* out) {
    if (!exists(name)) return fail_name(here(), kNoSuchFile, SystemError::runtime, name);
    const int result = status(name, out);
    if (result != 0) fail_name(here(), kNoState, SystemError::runtime, name);
    return result;
}

template <typename Char>
int64_t length_by_name(const Char* name) {
    OXSTAT64 state{};
    const int32_t result = state_by_name(name, &state);
    return result < 0 ? result : state.st_size;
}

int32_t stored(int32_t mode, int32_t* out) {
    if (out != nullptr) *out = mode;
    return mode;
}

template <typename Char>
int32_t mode_by_name(const Char* name, int32_t* out) {
    OXSTAT64 state{};
    const int32_t result = state_by_name(name, &state);
    return stored(result < 0 ? result : state.st_mode, out);
}

template <typename Char>
int32_t change_mode_bits(const Char* name, int32_t set, int32_t clear) {
    const int32_t mode = mode_by_name(name, nullptr);
    if (mode < 0) return kModule.trace(here());
    const int result = change_mode(name, (mode & ~clear) | set);
    if (result < 0) fail_name(here(), kModeNotChanged, SystemError::runtime, name);
    return result;
}

}  // namespace

int64_t ORVEX_FileLen(int32_t fd) {
    const int64_t length = _filelengthi64(fd);
    if (length < 0) kModule.fail(here(), kNoState, SystemError::runtime, "fd=%d", fd);
    return length;
}

int32_t ORVEX_FileStatByFileDes(int32_t fd, OXSTAT64* pStatus) {
    return status(fd, pStatus);
}

int32_t ORVEX_FileStatByFileName(const char* pszName, OXSTAT64* pStatus) {
    return state_by_name(pszName, pStatus);
}

int32_t ORVEX_FileStatByFileNameW(const wchar_t* pwszName, OXSTAT64* pStatus) {
    return state_by_name(pwszName, pStatus);
}

int64_t ORVEX_FileLenByFileName(const char* pszName) {
    return length_by_name(pszName);
}
int64_t ORVEX_FileLenByFileNameW(const wchar_t* pwszName) {
    return length_by_name(pwszName);
}

int32_t ORVEX_GetFileStat(const char* pszName, OXFILESTAT* pRecord) {
    OXSTAT64 state{};
    if (state_by_name(pszName, &state) < 0) return kModule.trace(here());
    *pRecord = {};
    ORVEX_FileSetModeToFS(&state, pRecord);
    std::memcpy(pRecord->szName, pszName, strnlen(pszName, OXFILESTAT_NAME_SIZE - 1));
    return 1;
}

int32_t ORVEX_FileSetModeToFS(const OXSTAT64* pStatus, OXFILESTAT* pRecord) {
    const auto low32 = [](auto value) { return static_cast<uint32_t>(value); };
    const auto low16 = [](auto value) { return static_cast<uint16_t>(value); };
    const auto all64 = [](auto value) { return static_cast<uint64_t>(value); };
    uint8_t attributes = pRecord->nAttr;
    if ((pStatus->st_mode & _S_IREAD) != 0) attributes |= OXFILESTAT_OWNER_READS;
    if ((pStatus->st_mode & _S_IWRITE) != 0) attributes |= OXFILESTAT_OWNER_WRITES;
    if ((pStatus->st_mode & _S_IFDIR) != 0) attributes |= OXFILESTAT_DIRECTORY;
    pRecord->nAttr = attributes;
    uint8ToChar8(all64(pStatus->st_size), pRecord->nSize);
    uint4ToChar4(low32(pStatus->st_mtime), pRecord->nModTime);
    uint4ToChar4(low32(pStatus->st_ctime), pRecord->nChangeTime);
    uint4ToChar4(low32(pStatus->st_atime), pRecord->nAccessTime);
    uint2ToChar2(low16(pStatus->st_gid), pRecord->nGroupId);
    uint2ToChar2(low16(pStatus->st_uid), pRecord->nUserId);
    uint4ToChar4(low32(pStatus->st_dev), pRecord->nDevice);
    uint2ToChar2(low16(pStatus->st_nlink), pRecord->nLinkCount);
    uint8ToChar8(all64(pStatus->st_mtime), pRecord->n64ModTime);
    uint8ToChar8(all64(pStatus->st_ctime), pRecord->n64ChangeTime);
    uint8ToChar8(all64(pStatus->st_atime), pRecord->n64AccessTime);
    return 0;
}

int32_t ORVEX_FileGetModeFromFS(const OXFILESTAT* pRecord) {
    int32_t mode = 0;
    if ((pRecord->nAttr & OXFILESTAT_OWNER_READS) != 0) mode |= _S_IREAD;
    if ((pRecord->nAttr & OXFILESTAT_OWNER_WRITES) != 0) mode |= _S_IWRITE;
    if (ORVEX_FileIsDirByMode(pRecord) != 0) mode |= _S_IFDIR;
    return mode;
}

int32_t ORVEX_FileIsDirByMode(const OXFILESTAT* pRecord) {
    return (pRecord->nAttr & OXFILESTAT_DIRECTORY) != 0 ? 1 : 0;
}

int32_t ORVEX_FileGetMode(const char* pszName, int32_t* pnMode) {
    return mode_by_name(pszName, pnMode);
}

int32_t ORVEX_FileGetModeW(const wchar_t* pwszName, int32_t* pnMode) {
    return mode_by_name(pwszName, pnMode);
}

int32_t ORVEX_FileGetModeByFD(int32_t fd, int32_t* pnMode) {
    OXSTAT64 state{};
    const int32_t result = status(fd, &state);
    return stored(result < 0 ? result : state.st_mode, pnMode);
}

int32_t ORVEX_FileChangeMode(const char* pszName, int32_t nSet, int32_t nClear) {
    return change_mode_bits(pszName, nSet, nClear);
}

int32_t ORVEX_FileChangeModeW(const wchar_t* pwszName, int32_t nSet, int32_t nClear) {
    return change_mode_bits(pwszName, nSet, nClear);
}

int32_t ORVEX_FileChangeModeByStat(const char* pszName, const OXSTAT64* pStatus) {
    if (change_mode(pszName, pStatus->st_mode) == 0) return 1;
    return fail_name(here(), kModeNotChanged, SystemError::runtime, pszName);
}

int32_t ORVEX_FileChangeModAccessTime(const char* pszName, int64_t nAccessTime, int64_t nModTime) {
    struct __utimbuf64 times {};
    times.actime = nAccessTime;
    times.modtime = nModTime;
    return _utime64(pszName, &times);
}

int32_t ORVEX_FileChmodByFD(int32_t /*fd*/, int32_t /*nMode*/) {
    return 1;
}

int32_t ORVEX_FileChangeModeByFD(int32_t /*fd*/, int32_t /*nSet*/, int32_t /*nClear*/) {
    return 0;
}
