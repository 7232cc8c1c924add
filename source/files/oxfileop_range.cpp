// Ranges of files by name, and copies of remote files kept in step.
#include <algorithm>

#include "core/owners.h"
#include "files/file_calls.h"
#include "files/file_open.h"
#include "moltelib/byte_field.h"
#include "moltelib/whole_file.h"

using namespace molte::file;
using molte::Decimal;
using molte::here;
using molte::SystemError;

namespace {

constexpr uint32_t kOutsideFile = 297;
constexpr uint32_t kBadUpdate = 403;
constexpr uint32_t kBadPartRead = 404;
constexpr uint32_t kBadWrite = 405;
constexpr uint32_t kBadRead = 406;

int32_t seek_to(const molte::Descriptor& file, int64_t offset) {
    if (seek_whole(file.get(), offset)) return 1;
    return fail_position(here(), file.get(), offset, 0);
}

int32_t write_at(const molte::Descriptor& file, int64_t offset, const void* data, int32_t size) {
    if (seek_to(file, offset) < 0) return -1;
    if (!write_whole(file.get(), data, size)) return fail_write(here(), file.get(), data, size);
    return size;
}

int32_t read_at(const molte::Descriptor& file, int64_t offset, void* buffer, int32_t size) {
    if (seek_to(file, offset) < 0) return -1;
    if (!read_whole(file.get(), buffer, size)) return fail_read(here(), file.get(), buffer, size);
    return size;
}

int32_t fail_open(int32_t line, const char* name) {
    return fail_name(line, kNotOpened, SystemError::runtime, name);
}

// Whether offset and size lie in length, with no overflow on the way.
bool within(int64_t offset, int32_t size, int64_t length) {
    return offset <= length - size;
}

int32_t fail_range(int32_t line, uint32_t error, int64_t length, int64_t start, int32_t size,
                   const char* name) {
    return kModule.fail(line, error, SystemError::none, "filelen=%s start=%s len=%d %s",
                        Decimal(length).text(), Decimal(start).text(), size, name);
}

int32_t set_both_times(const char* name, int64_t time) {
    return ORVEX_FileChangeModAccessTime(name, time, time);
}

}  // namespace

int32_t ORVEX_WriteBinDataToFile(const char* pszName, int64_t nOffset, const void* pData,
                                 int32_t nLen) {
    if (nLen < 1 || pData == nullptr || pszName == nullptr) {
        return kModule.fail(here(), kBadWrite, SystemError::none, "datalen=%d pdata=%p filename=%p",
                            nLen, pData, static_cast<const void*>(pszName));
    }
    const int64_t offset = std::max<int64_t>(nOffset, 0);
    const molte::Descriptor file(open_by_chmod(pszName, ORVEX_OPEN_WRITE));
    if (!file.valid()) return fail_open(here(), pszName);
    const int64_t length = ORVEX_FileLen(file.get());
    if (length < 0) return kModule.trace(here());
    if (offset > length) {
        return kModule.fail(here(), kOutsideFile, SystemError::none,
                            "offset=%s filelen=%s. does not permit hole in file",
                            Decimal(offset).text(), Decimal(length).text());
    }
    return write_at(file, offset, pData, nLen);
}

int32_t ORVEX_AppendBinDataToFile(const char* pszName, const void* pData, int32_t nLen) {
    const int64_t length = ORVEX_FileLenByFileName(pszName);
    if (length < 0) return kModule.trace(here());
    const int32_t result = ORVEX_WriteBinDataToFile(pszName, length, pData, nLen);
    return result < 0 ? kModule.trace(here()) : result;
}

int32_t ORVEX_ReadBinDataFile(const char* pszName, int64_t nOffset, void* pBuf, int32_t nLen) {
    if (nLen < 1 || pBuf == nullptr || pszName == nullptr) return kModule.fail(here(), kBadRead);
    if (!exists(pszName)) return 0;
    const int64_t offset = std::max<int64_t>(nOffset, 0);
    const int64_t length = ORVEX_FileLenByFileName(pszName);
    if (length < 0) return kModule.trace(here());
    if (!within(offset, nLen, length)) {
        return kModule.fail(here(), kOutsideFile, SystemError::none, "exceed file size.");
    }
    const molte::Descriptor file(open_by_chmod(pszName, ORVEX_OPEN_READ));
    if (!file.valid()) return fail_open(here(), pszName);
    return read_at(file, offset, pBuf, nLen);
}

int32_t ORVEX_CopyWrite(const char* pszName, const void* pData, int32_t nLen, int64_t nTime) {
    if (!is_block(pData, nLen)) return kModule.fail(here(), kBadArgument);
    add_owner_mode(pszName);
    molte::Descriptor file(open(pszName, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!file.valid()) return fail_open(here(), pszName);
    if (!write_whole(file.get(), pData, nLen)) return fail_write(here(), file.get(), pData, nLen);
    file.close();
    return set_both_times(pszName, nTime);
}

int32_t ORVEX_CopyUpdate(const char* pszName, const void* pData, int64_t nOffset, int32_t nLen) {
    OXFILESTAT state;
    if (ORVEX_GetFileStat(pszName, &state) < 0) return kModule.trace(here());
    const auto length = static_cast<int64_t>(Char8To_uint8(state.nSize));
    if (nOffset < 0 || nOffset > length || nLen < 0) {
        return fail_range(here(), kBadUpdate, length, nOffset, nLen, pszName);
    }
    if (!is_block(pData, nLen)) return kModule.fail(here(), kBadArgument);
    molte::Descriptor file(open_by_chmod(pszName, ORVEX_OPEN_UPDATE));
    if (!file.valid()) return fail_open(here(), pszName);
    if (write_at(file, nOffset, pData, nLen) < 0) return -1;
    file.close();
    return set_both_times(pszName, Char4To_uint4(state.nModTime));
}

int32_t ORVEX_CopyRead(const char* pszName, void* pBuf, int32_t nLen, int64_t* pnTime) {
    *pnTime = 0;
    if (!is_block(pBuf, nLen)) return kModule.fail(here(), kBadArgument);
    const molte::Descriptor file(open_by_chmod(pszName, ORVEX_OPEN_READ));
    if (!file.valid()) return fail_open(here(), pszName);
    if (!read_whole(file.get(), pBuf, nLen)) return fail_read(here(), file.get(), pBuf, nLen);
    OXSTAT64 state;
    if (status(file.get(), &state) != 0) {
        return fail_name(here(), kNoState, SystemError::runtime, pszName);
    }
    *pnTime = state.st_mtime;
    return nLen;
}

int32_t ORVEX_CopyReadPart(const char* pszName, void* pBuf, int64_t nOffset, int32_t nLen) {
    if (nLen < 1) return 0;
    if (pBuf == nullptr) return kModule.fail(here(), kBadArgument);
    const int64_t offset = std::max<int64_t>(nOffset, 0);
    const int64_t length = ORVEX_FileLenByFileName(pszName);
    if (length < 0) return kModule.trace(here());
    if (!within(offset, nLen, length)) {
        return fail_range(here(), kBadPartRead, length, offset, nLen, pszName);
    }
    const molte::Descriptor file(open_by_chmod(pszName, ORVEX_OPEN_READ));
    if (!file.valid()) return fail_open(here(), pszName);
    return read_at(file, offset, pBuf, nLen);
}
