// What the files of module "oxfileop" share; first the platform's calls by file name, one name for
// narrow and wide, so that each algorithm on names is written once.
#pragma once

#include <algorithm>
#include <bit>
#include <cwchar>

#include "core/modules.h"
#include "core/transfer.h"
#include "data/oxdatcnv.h"
#include "moltelib/file.h"
#include "platform/files.h"

namespace molte::file {

inline constexpr auto kModule = molte::kOxfileop;

// Error numbers.
inline constexpr uint32_t kNotLocked = 2;
inline constexpr uint32_t kSizeNotChanged = 15;
using molte::kBadArgument;
using molte::kNoPosition;
using molte::kNoState;
using molte::kNotOpened;
using molte::kNotRead;
using molte::kNotWritten;
using molte::read_whole;
using molte::write_whole;

inline bool exists(const char* name) {
    return _access(name, 0) == 0;
}
inline bool exists(const wchar_t* name) {
    return _waccess(name, 0) == 0;
}

inline int change_mode(const char* name, int mode) {
    return _chmod(name, mode);
}
inline int change_mode(const wchar_t* name, int mode) {
    return _wchmod(name, mode);
}

// So that a file marked read-only stops nobody; a failure is for the open that follows to tell.
inline void add_owner_mode(const char* name) {
    ORVEX_FileChangeMode(name, ORVEX_MODE_OWNER, 0);
}
inline void add_owner_mode(const wchar_t* name) {
    ORVEX_FileChangeModeW(name, ORVEX_MODE_OWNER, 0);
}

inline int open(const char* name, int flags, int permission = ORVEX_MODE_OWNER) {
    return _open(name, flags, permission);
}
inline int open(const wchar_t* name, int flags, int permission = ORVEX_MODE_OWNER) {
    return _wopen(name, flags, permission);
}

// Opens a file after adding "the owner reads and writes" to its mode. The descriptor, or a negative
// value with errno; see ORVEX_FileOpenByChmod.
template <typename Char>
int32_t open_by_chmod(const Char* name, int32_t flags);

// The public record is the platform's, under a name of its own.
inline int status(const char* name, OXSTAT64* out) {
    struct _stat64 native {};
    const int result = _stat64(name, &native);
    if (result == 0) *out = std::bit_cast<OXSTAT64>(native);
    return result;
}
inline int status(const wchar_t* name, OXSTAT64* out) {
    struct _stat64 native {};
    const int result = _wstat64(name, &native);
    if (result == 0) *out = std::bit_cast<OXSTAT64>(native);
    return result;
}
inline int status(int fd, OXSTAT64* out) {
    struct _stat64 native {};
    const int result = _fstat64(fd, &native);
    if (result == 0) *out = std::bit_cast<OXSTAT64>(native);
    return result;
}

// Report a failure whose data is a name; that of a wide one is its bytes.
inline int32_t fail_name(int32_t line, uint32_t error, SystemError system, const char* name) {
    return kModule.fail_text(line, error, system, name);
}
inline int32_t fail_name(int32_t line, uint32_t error, SystemError system, const wchar_t* name) {
    const size_t length = name != nullptr ? std::wcslen(name) : 0;
    return kModule.fail_bytes(line, error, system, name,
                              static_cast<int64_t>(length * sizeof(wchar_t)));
}

inline int32_t fail_position(int32_t line, int32_t fd, int64_t offset, int32_t origin) {
    return kModule.fail(line, kNoPosition, SystemError::runtime, "fd=%d offset=%s op=%d", fd,
                        Decimal(offset).text(), origin);
}
inline int32_t fail_read(int32_t line, int32_t fd, const void* buffer, int32_t size) {
    return molte::fail_read(kModule, line, fd, buffer, size);
}
inline int32_t fail_write(int32_t line, int32_t fd, const void* data, int32_t size) {
    return molte::fail_write(kModule, line, fd, data, size);
}

// Sets a position counted from the start. Of a negative one the platform says EINVAL; its own -1 is
// no position.
inline bool seek_whole(int32_t fd, int64_t offset) {
    return _lseeki64(fd, offset, SEEK_SET) == offset && offset >= 0;
}

// Whether there are so many bytes; null has none.
inline bool is_block(const void* bytes, int32_t size) {
    return size == 0 || (bytes != nullptr && size > 0);
}

// Adds so many zeros by WRITE(zeros, size) -> bool, so that the disk space is taken.
template <typename Write>
bool fill_with_zeros(int64_t count, Write write) {
    static constexpr uint8_t kZeros[8192] = {};
    for (int64_t left = count; left > 0;) {
        const auto chunk = static_cast<int32_t>(std::min<int64_t>(left, sizeof kZeros));
        if (!write(kZeros, chunk)) return false;
        left -= chunk;
    }
    return true;
}

}  // namespace molte::file
