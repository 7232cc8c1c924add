// File handles: opening, position, transfers, size; and whole jobs on them: load, update, copy,
// move, duplicate.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <utility>

#include "core/modules.h"
#include "core/owners.h"
#include "data/oxdatcnv.h"
#include "files/oxfileop.h"
#include "moltelib/clock.h"
#include "moltelib/directory.h"
#include "moltelib/error_log.h"
#include "moltelib/file.h"
#include "moltelib/file_handle.h"
#include "moltelib/state.h"
#include "platform/files.h"

using molte::Decimal;
using molte::Handle;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOfilehop;
constexpr uint32_t kNotCreated = 7;
constexpr uint32_t kNotCommitted = 26;
constexpr uint32_t kSizeNotSet = 291;
constexpr int32_t kCreate = 0x100;
constexpr int32_t kWaitingLock = 1;
constexpr int32_t kUnlock = 0;
constexpr int64_t kDefaultLoad = 0x20000000;
constexpr int64_t kMaxCopyBuffer = 0x400000;
constexpr int64_t kDupReserve = 52428800;
constexpr int64_t kMaxPosition = std::numeric_limits<int64_t>::max();
constexpr int32_t kUntranslated = 0x8000;

// False is a failure that is reported. A negative position is one, though it is also what a failed
// seek gives.
bool seek_to(ORVEX_HFILE* file, int64_t position) {
    return ORVEX_HFILE_Seek(file, position, 0) == position && position >= 0;
}

// Whole transfers at a position; false is a failure that is reported.
bool read_at(ORVEX_HFILE* file, void* buffer, int64_t position, int64_t size) {
    return ORVEX_HFILE_ReadS(file, buffer, position, size) == size;
}
bool write_at(ORVEX_HFILE* file, const void* data, int64_t position, int64_t size) {
    return ORVEX_HFILE_WriteS(file, data, position, size) == size;
}

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
    return kModule.fail(line, molte::kNoPosition, SystemError::runtime, "N%s R=%s FN=%s\n",
                        Decimal(offset).text(), Decimal(result).text(), file.szFileName);
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

// Writes zeros from the old end on.
bool extend(ORVEX_HFILE* file, int64_t from, int64_t to) {
    return seek_to(file, from) &&
           molte::file::fill_with_zeros(to - from, [file](const uint8_t* zeros, int32_t size) {
               return ORVEX_HFILE_Write(file, zeros, size) == size;
           });
}

int32_t set_end_here(ORVEX_HFILE* file) {
    const intptr_t handle = _get_osfhandle(file->fd);
    if (SetEndOfFile(reinterpret_cast<HANDLE>(handle)) != 0) return 1;
    return kModule.fail(here(), kSizeNotSet, SystemError::platform, "set end of file");
}

// The buffer of a copy: the caller's, or one of at most 4 MB.
class CopyBuffer {
 public:
    CopyBuffer(void* given, int32_t given_size, int64_t length) : data_(given), size_(given_size) {
        if (given != nullptr) {
            if (given_size < 1) kModule.fail(here(), kBadArgument);
            return;
        }
        size_ = static_cast<int32_t>(std::min(length, kMaxCopyBuffer));
        own_ = molte::allocate<uint8_t>(size_);
        data_ = own_.get();
    }
    [[nodiscard]] bool valid() const { return data_ != nullptr && size_ > 0; }
    [[nodiscard]] void* data() const { return data_; }
    [[nodiscard]] int32_t size() const { return size_; }

 private:
    molte::Heap<uint8_t> own_;
    void* data_;
    int32_t size_;
};

// A move inside a file, all inside its (grown) length.
struct Move {
    ORVEX_HFILE* file;
    int64_t target;
    int64_t source;
    int64_t length;
};

bool move_chunk(const Move& move, const CopyBuffer& buffer, int64_t at, int32_t size) {
    return read_at(move.file, buffer.data(), move.source + at, size) &&
           write_at(move.file, buffer.data(), move.target + at, size);
}

bool move_forward(const Move& move, const CopyBuffer& buffer) {
    for (int64_t at = 0; at < move.length;) {
        const auto size = static_cast<int32_t>(std::min<int64_t>(move.length - at, buffer.size()));
        if (!move_chunk(move, buffer, at, size)) return false;
        at += size;
    }
    return true;
}

bool move_backward(const Move& move, const CopyBuffer& buffer) {
    for (int64_t at = move.length; at > 0;) {
        const auto size = static_cast<int32_t>(std::min<int64_t>(at, buffer.size()));
        at -= size;
        if (!move_chunk(move, buffer, at, size)) return false;
    }
    return true;
}

// Backward where the target could overwrite what is still to be read.
bool move_all(const Move& move, const CopyBuffer& buffer) {
    return move.target < move.source ? move_forward(move, buffer) : move_backward(move, buffer);
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
    return open_into(std::move(record), pszName, flags, ORVEX_MODE_OWNER, molte::kNotOpened);
}

ORVEX_HFILE* ORVEX_HFILE_OpenMode(const char* pszName, int32_t nFlags, int32_t nPermission) {
    if (pszName == nullptr) return refuse_null_name();
    Record record = new_record(pszName);
    if (record == nullptr) return nullptr;
    ORVEX_HFILE* file = open_into(std::move(record), pszName, nFlags, nPermission, kNotCreated);
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
    if (position < 0)
        kModule.fail_text(here(), molte::kNoPosition, SystemError::runtime, pFile->szFileName);
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
    return kModule.fail(here(), kNotCommitted, SystemError::runtime, "sync file error. fd=%d",
                        pFile->fd);
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
        if (g_stBv.bFastExpandFile == 0 && !extend(pFile, length, nNewSize)) {
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

int64_t ORVEX_HFILE_Load(const char* pszName, uint8_t** ppBuf, int64_t nOffset, int64_t nLen) {
    if (nOffset < 0 || nLen < -1) return kModule.fail(here(), kBadArgument);
    const Handle file(ORVEX_HFILE_Open(pszName, ORVEX_OPEN_UPDATE));
    if (!file) return kModule.trace(here());
    const int64_t length = ORVEX_HFILE_Size(file.get());
    if (length < 0) return kModule.trace(here());
    if (nOffset >= length) return 0;
    const int64_t wanted = nLen == -1 ? kDefaultLoad : nLen;
    const int64_t count = std::min(wanted, length - nOffset);
    if (count < 1) return 0;
    auto buffer = molte::allocate<uint8_t>(count);
    if (buffer == nullptr) return kModule.trace(here());
    if (!read_at(file.get(), buffer.get(), nOffset, count)) return kModule.trace(here());
    *ppBuf = buffer.release();
    return count;
}

int64_t ORVEX_HFILE_AddUpdate(const char* pszName, const void* pData, int64_t nPos, int64_t nLen) {
    if (pData == nullptr || nPos < 0 || nLen < 0 || nLen > kMaxPosition - nPos) {
        return kModule.fail(here(), kBadArgument);
    }
    // A file that only can't be looked at isn't emptied.
    const bool missing = _access(pszName, 0) != 0 && (errno == ENOENT || errno == ENOTDIR);
    const Handle file(missing ? ORVEX_HFILE_OpenMode(pszName, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER)
                              : ORVEX_HFILE_Open(pszName, ORVEX_OPEN_UPDATE));
    if (!file) return kModule.trace(here());
    const int64_t length = ORVEX_HFILE_Size(file.get());
    if (length < 0) return kModule.trace(here());
    const int64_t end = nPos + nLen;
    if (length < end && ORVEX_HFILE_ChangeSize(file.get(), end) < 0) return kModule.trace(here());
    return write_at(file.get(), pData, nPos, nLen) ? nLen : kModule.trace(here());
}

int32_t ORVEX_HFILE_Copy(ORVEX_HFILE* pTarget, int64_t nTargetPos, ORVEX_HFILE* pSource,
                         int64_t nSourcePos, int64_t nLen, int32_t /*nUnused*/, void* pBuf,
                         int32_t nBufSize) {
    const int64_t source_length = ORVEX_HFILE_Size(pSource);
    if (source_length < 0) return kModule.trace(here());
    const int64_t length = nLen < 1 || nLen > source_length ? source_length : nLen;
    if (length == 0) return 0;
    const CopyBuffer buffer(pBuf, nBufSize, length);
    if (!buffer.valid()) return kModule.trace(here());
    if (!seek_to(pSource, nSourcePos) || !seek_to(pTarget, nTargetPos)) {
        return kModule.trace(here());
    }
    for (int64_t left = length; left > 0;) {
        const auto chunk = static_cast<int32_t>(std::min<int64_t>(left, buffer.size()));
        if (ORVEX_HFILE_Read(pSource, buffer.data(), chunk) != chunk ||
            ORVEX_HFILE_Write(pTarget, buffer.data(), chunk) != chunk) {
            return kModule.trace(here());
        }
        left -= chunk;
    }
    return 1;
}

int32_t ORVEX_HFILE_Move(ORVEX_HFILE* pFile, int64_t nTargetPos, int64_t nSourcePos, int64_t nLen,
                         int32_t /*nUnused*/, void* pBuf, int32_t nBufSize) {
    if (nTargetPos == nSourcePos) return 0;
    if (nTargetPos < 0 || nSourcePos < 0) return kModule.fail(here(), kBadArgument);
    const int64_t file_length = ORVEX_HFILE_Size(pFile);
    if (file_length < 0) return kModule.trace(here());
    const int64_t wanted = nLen < 1 ? file_length : nLen;
    const int64_t length = std::min(wanted, file_length - nSourcePos);
    if (length < 1) return 0;
    if (length > kMaxPosition - nTargetPos) return kModule.fail(here(), kBadArgument);
    const CopyBuffer buffer(pBuf, nBufSize, length);
    if (!buffer.valid()) return kModule.trace(here());
    const int64_t target_end = nTargetPos + length;
    const bool grows = target_end > file_length;
    if (grows && ORVEX_HFILE_ChangeSize(pFile, target_end) < 0) return kModule.trace(here());
    if (move_all({pFile, nTargetPos, nSourcePos, length}, buffer)) return 1;
    kModule.trace(here());
    if (grows) ORVEX_HFILE_ChangeSize(pFile, file_length);
    return -1;
}

int32_t ORVEX_HFILE_Dup(ORVEX_HFILE* pSource, char* pszTarget) {
    if (pSource == nullptr || pszTarget == nullptr) return kModule.fail(here(), kBadArgument);
    if (pszTarget[0] == '\0' &&
        ORVEX_UTIL_TempFNFromFN(pSource->szFileName, pszTarget, "otmp") < 0) {
        return kModule.trace(here());
    }
    if (platform::is_file(pSource->fd, pszTarget)) {  // emptying the one would empty the other
        kModule.trace(here());
        return 0;
    }
    const Handle target(ORVEX_HFILE_OpenMode(pszTarget, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (target && ORVEX_HFILE_Copy(target.get(), 0, pSource, 0, 0, 0, nullptr, 0) < 0) {
        kModule.trace(here());
    }
    return 0;  // whether it worked or not
}

int32_t ORVEX_HFILE_DupFile(const char* pszSource, char* pszTarget) {
    if (pszTarget == nullptr) return kModule.fail(here(), kBadArgument);
    const int64_t length = ORVEX_FileLenByFileName(pszSource);
    if (length < 0) return kModule.trace(here());
    if (ORVEX_DISK_CanHoldFile(pszTarget, length + kDupReserve) < 0) return kModule.trace(here());
    // The permission number serves as flags on purpose: read only, create, not inherited. With it
    // the bytes are taken as they stand, where a platform would translate line ends.
    const Handle source(ORVEX_HFILE_Open(pszSource, ORVEX_MODE_OWNER | kUntranslated));
    if (!source) return kModule.trace(here());
    return ORVEX_HFILE_Dup(source.get(), pszTarget);
}
