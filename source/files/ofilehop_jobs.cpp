// Whole jobs on file handles: load, update, copy, move, duplicate.
#include <algorithm>
#include <cerrno>
#include <limits>

#include "files/ofilehop.h"
#include "moltelib/directory.h"
#include "moltelib/file.h"
#include "platform/files.h"

using molte::here;
using molte::handle::CopyBuffer;
using molte::handle::Handle;
using molte::handle::kBadArgument;
using molte::handle::kModule;
using molte::handle::read_at;
using molte::handle::seek_to;
using molte::handle::write_at;

namespace {

constexpr int64_t kDefaultLoad = 0x20000000;
constexpr int64_t kMaxCopyBuffer = 0x400000;
constexpr int64_t kDupReserve = 52428800;
constexpr int64_t kMaxPosition = std::numeric_limits<int64_t>::max();
constexpr int32_t kUntranslated = 0x8000;

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

namespace molte::handle {

CopyBuffer::CopyBuffer(void* given, int32_t given_size, int64_t length)
    : data_(given), size_(given_size) {
    if (given != nullptr) {
        if (given_size < 1) kModule.fail(here(), kBadArgument);
        return;
    }
    size_ = static_cast<int32_t>(std::min(length, kMaxCopyBuffer));
    own_ = allocate<uint8_t>(size_);
    data_ = own_.get();
}

}  // namespace molte::handle

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
