// File handles: opening, position, transfers, size.
#include "files/ofilehop.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include "data/oxdatcnv.h"
#include "moltelib/clock.h"
#include "moltelib/directory.h"
#include "moltelib/error_log.h"
#include "moltelib/file.h"
#include "moltelib/state.h"
#include "platform/files.h"

using molte::Decimal;
using molte::here;
using molte::SystemError;
using molte::handle::kBadArgument;
using molte::handle::kModule;
using molte::handle::seek_to;

namespace {

constexpr int32_t kCreate = 0x100;
constexpr int32_t kZeroChunk = 8192;
constexpr int32_t kWaitingLock = 1;
constexpr int32_t kUnlock = 0;

using Record = molte::Heap<ORVEX_HFILE>;

// A record with the name, cut to what it holds; null is reported.
Record new_record(const char* name) {
    Record record = molte::allocate<ORVEX_HFILE>(1);
    if (record == nullptr) {
        kModule.trace(here());
        return nullptr;
    }
    record[0] = {};
    std::memcpy(record[0].szFileName, name, strnlen(name, ORVEX_HFILE_NAME_SIZE - 1));
    return record;
}

// Opens the file of a new record; null is reported with the given error.
ORVEX_HFILE* open_into(Record record, const char* name, int32_t flags, int32_t permission,
                       uint32_t error) {
    record[0].fd = _open(name, flags, permission);
    if (record[0].fd >= 0) return record.release();
    kModule.fail_text(here(), error, SystemError::runtime, name);
    return nullptr;
}

ORVEX_HFILE* refuse_null_name() {
    kModule.fail(here(), kBadArgument);
    return nullptr;
}

int32_t fail_seek(int32_t line, const ORVEX_HFILE& file, int64_t offset, int64_t result) {
    return kModule.fail(line, 5, SystemError::runtime, "N%s R=%s FN=%s\n", Decimal(offset).text(),
                        Decimal(result).text(), file.szFileName);
}

void log_failed_read(ORVEX_HFILE* file, const void* buffer, int64_t result, int64_t length) {
    const int64_t position = _telli64(file->fd);
    const int64_t file_length = _filelengthi64(file->fd);
    ORVEX_ERRLOG_LogEx(
        1, "read data error. FileName=%s. pdata=%p fd=%d ret=%s Len=%s pos=%s filelen=%s\n",
        file->szFileName, buffer, file->fd, Decimal(result).text(), Decimal(length).text(),
        Decimal(position).text(), Decimal(file_length).text());
}

void log_failed_write(ORVEX_HFILE* file, const void* data, int64_t result, int64_t length) {
    ORVEX_ERRLOG_LogEx(1, "write data error. FileName=%s pdata=%p fd=%d ret=%s len=%s pos=%s\n",
                       file->szFileName, data, file->fd, Decimal(result).text(),
                       Decimal(length).text(), Decimal(_telli64(file->fd)).text());
}

// What the platform's call can take at once; a longer transfer comes back short.
unsigned one_call(int64_t length) {
    return static_cast<unsigned>(std::min<int64_t>(length, std::numeric_limits<int32_t>::max()));
}

// Writes zeros from the old end on, so that the disk space is taken.
bool fill_with_zeros(ORVEX_HFILE* file, int64_t from, int64_t to) {
    static constexpr uint8_t zeros[kZeroChunk] = {};
    if (!seek_to(file, from)) return false;
    for (int64_t at = from; at < to;) {
        const auto chunk = static_cast<int32_t>(std::min<int64_t>(to - at, kZeroChunk));
        if (ORVEX_HFILE_Write(file, zeros, chunk) != chunk) return false;
        at += chunk;
    }
    return true;
}

int32_t set_end_here(ORVEX_HFILE* file) {
    const intptr_t handle = _get_osfhandle(file->fd);
    if (SetEndOfFile(reinterpret_cast<HANDLE>(handle)) != 0) return 1;
    return kModule.fail(here(), 291, SystemError::platform, "set end of file");
}

}  // namespace

ORVEX_HFILE* ORVEX_HFILE_Open(const char* pszName, int32_t nFlags) {
    if (pszName == nullptr) return refuse_null_name();
    if (strnlen(pszName, ORVEX_HFILE_NAME_SIZE) == ORVEX_HFILE_NAME_SIZE) {
        kModule.fail_text(here(), molte::kTooLong, SystemError::none, pszName);
        return nullptr;
    }
    Record record = new_record(pszName);
    if (record == nullptr) return nullptr;
    _chmod(pszName, ORVEX_MODE_OWNER);
    const int32_t flags = nFlags != 0 ? nFlags : int32_t{ORVEX_OPEN_UPDATE};
    return open_into(std::move(record), pszName, flags, ORVEX_MODE_OWNER, 1);
}

ORVEX_HFILE* ORVEX_HFILE_OpenMode(const char* pszName, int32_t nFlags, int32_t nPermission) {
    if (pszName == nullptr) return refuse_null_name();
    Record record = new_record(pszName);
    if (record == nullptr) return nullptr;
    ORVEX_HFILE* file = open_into(std::move(record), pszName, nFlags, nPermission, 7);
    if (file == nullptr) kModule.trace(here());
    return file;
}

ORVEX_HFILE* ORVEX_HFILE_CreateOpen(const char* pszName, int32_t nFlags, int32_t nPermission) {
    return ORVEX_HFILE_OpenMode(pszName, nFlags | kCreate, nPermission);
}

ORVEX_HFILE* ORVEX_HFILE_Create(const char* pszName, int32_t nPermission) {
    return ORVEX_HFILE_OpenMode(pszName, ORVEX_OPEN_ANEW, nPermission | ORVEX_MODE_OWNER);
}

ORVEX_HFILE* ORVEX_HFILE_NewBinaryFile(const char* pszName) {
    return ORVEX_HFILE_OpenMode(pszName, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER);
}

int32_t ORVEX_HFILE_Close(ORVEX_HFILE** ppFile) {
    if (ppFile == nullptr || *ppFile == nullptr) return 0;
    if ((*ppFile)->fd >= 0) _close((*ppFile)->fd);
    ORVEX_free(*ppFile);
    *ppFile = nullptr;
    return 1;
}

int64_t ORVEX_HFILE_CurrentPos(ORVEX_HFILE* pFile) {
    if (pFile == nullptr) return -1;
    const int64_t position = _telli64(pFile->fd);
    if (position < 0) kModule.fail_text(here(), 5, SystemError::runtime, pFile->szFileName);
    return position;
}

int64_t ORVEX_HFILE_Seek(ORVEX_HFILE* pFile, int64_t nOffset, int32_t nOrigin) {
    if (pFile == nullptr) return -1;
    const int64_t result = _lseeki64(pFile->fd, nOffset, nOrigin);
    if (nOrigin == SEEK_SET && (result != nOffset || result < 0)) {
        fail_seek(here(), *pFile, nOffset, result);
    }
    return result;
}

int32_t ORVEX_HFILE_Lock(ORVEX_HFILE* pFile, int64_t nOffset, int32_t nSize) {
    if (pFile == nullptr) return -1;
    return ORVEX_FileRecordLock(pFile->fd, kWaitingLock, nOffset, nSize);
}

int32_t ORVEX_HFILE_Unlock(ORVEX_HFILE* pFile, int64_t nOffset, int32_t nSize) {
    if (pFile == nullptr) return -1;
    return ORVEX_FileRecordLock(pFile->fd, kUnlock, nOffset, nSize);
}

int64_t ORVEX_HFILE_Read(ORVEX_HFILE* pFile, void* pBuf, int64_t nLen) {
    if (pFile == nullptr || nLen < 0) return kModule.fail(here(), kBadArgument);
    errno = 0;  // a short transfer is no failure of the system's
    const int64_t start = MOLTE_HiResoTickCount();
    const int64_t result = _read(pFile->fd, pBuf, one_call(nLen));
    const int64_t ticks = MOLTE_HiResoTickCount() - start;
    if (result == nLen) {
        MOLTE_COUNTER_ReadInc(nLen, ticks);
        return result;
    }
    kModule.fail_text(here(), molte::kNotRead, SystemError::runtime, pFile->szFileName);
    log_failed_read(pFile, pBuf, result, nLen);
    return result;
}

int64_t ORVEX_HFILE_Write(ORVEX_HFILE* pFile, const void* pData, int64_t nLen) {
    if (pFile == nullptr || nLen < 0) return kModule.fail(here(), kBadArgument);
    errno = 0;  // a short transfer is no failure of the system's
    const int64_t start = MOLTE_HiResoTickCount();
    const int64_t result = _write(pFile->fd, pData, one_call(nLen));
    const int64_t ticks = MOLTE_HiResoTickCount() - start;
    if (result == nLen) {
        MOLTE_COUNTER_WriteInc(nLen, ticks);
        return result;
    }
    kModule.fail_text(here(), molte::kNotWritten, SystemError::runtime, pFile->szFileName);
    log_failed_write(pFile, pData, result, nLen);
    return result;
}

int64_t ORVEX_HFILE_ReadS(ORVEX_HFILE* pFile, void* pBuf, int64_t nPos, int64_t nLen) {
    if (ORVEX_HFILE_Seek(pFile, nPos, SEEK_SET) < 0) return -1;
    return ORVEX_HFILE_Read(pFile, pBuf, nLen);
}

int64_t ORVEX_HFILE_WriteS(ORVEX_HFILE* pFile, const void* pData, int64_t nPos, int64_t nLen) {
    if (ORVEX_HFILE_Seek(pFile, nPos, SEEK_SET) < 0) return -1;
    return ORVEX_HFILE_Write(pFile, pData, nLen);
}

int32_t ORVEX_HFILE_Commit(ORVEX_HFILE* pFile) {
    if (pFile == nullptr) return kModule.fail(here(), kBadArgument);
    if (_commit(pFile->fd) >= 0) return 1;
    return kModule.fail(here(), 26, SystemError::runtime, "sync file error. fd=%d", pFile->fd);
}

int64_t ORVEX_HFILE_Size(ORVEX_HFILE* pFile) {
    if (pFile == nullptr) return kModule.fail(here(), kBadArgument);
    return ORVEX_FileLen(pFile->fd);
}

int64_t ORVEX_HFILE_UTIL_ChangeSize(ORVEX_HFILE* pFile, int64_t nNewSize) {
    const int64_t length = ORVEX_HFILE_Size(pFile);
    if (length < 0) return kModule.trace(here());
    if (length == nNewSize) return length;
    if (nNewSize > length) {
        if (ORVEX_DISK_CanHoldFile(pFile->szFileName, nNewSize - length) < 1) {
            return kModule.trace(here());
        }
        if (g_stBv.bFastExpandFile == 0 && !fill_with_zeros(pFile, length, nNewSize)) {
            return kModule.trace(here());
        }
    }
    if (!seek_to(pFile, nNewSize)) return kModule.trace(here());
    if (set_end_here(pFile) < 0) return -1;
    return ORVEX_FileLen(pFile->fd);
}

int64_t ORVEX_HFILE_ChangeSize(ORVEX_HFILE* pFile, int64_t nNewSize) {
    const int64_t old_length = ORVEX_HFILE_Size(pFile);
    if (ORVEX_HFILE_UTIL_ChangeSize(pFile, nNewSize) == nNewSize) return nNewSize;
    if (old_length >= 0 && nNewSize > old_length) ORVEX_HFILE_UTIL_ChangeSize(pFile, old_length);
    return kModule.trace(here());
}

int32_t ORVEX_HFILE_ChangeMode(const char* pszName, int32_t nMode) {
    return _chmod(pszName, nMode);
}
