// Whole files into memory and back, ranges of files by name, copies.
#include <algorithm>
#include <cstdio>

#include "core/owners.h"
#include "files/oxfileop.h"
#include "moltelib/byte_field.h"
#include "moltelib/text_convert.h"
#include "moltelib/whole_file.h"
#include "platform/memory.h"

using namespace molte::file;
using molte::Decimal;
using molte::here;
using molte::Stream;
using molte::SystemError;

namespace {

constexpr int64_t kTooLarge = 0x40000000;
constexpr uint32_t kOutsideFile = 297;
constexpr uint32_t kBadUpdate = 403;
constexpr uint32_t kBadPartRead = 404;
constexpr uint32_t kBadWrite = 405;
constexpr uint32_t kBadRead = 406;
constexpr uint32_t kNotCopied = 12;

int64_t length_of(const char* name) {
    return ORVEX_FileLenByFileName(name);
}
int64_t length_of(const wchar_t* name) {
    return ORVEX_FileLenByFileNameW(name);
}

// Null with errno, or null and traced when the mode can't be widened.
Stream open_text(const char* name, const char* mode) {
    Stream stream(platform::open_stream(name, mode));
    if (stream == nullptr) fail_name(here(), kNotOpened, SystemError::runtime, name);
    return stream;
}

Stream open_text(const wchar_t* name, const char* mode) {
    wchar_t wide_mode[8];
    if (MOLTE_STR_mbstowcs(mode, wide_mode, 8) < 0) {
        kModule.trace(here());
        return nullptr;
    }
    Stream stream(platform::open_stream_wide(name, wide_mode));
    if (stream == nullptr) fail_name(here(), kNotOpened, SystemError::runtime, name);
    return stream;
}

int64_t checked_length(int64_t length) {
    if (length < kTooLarge) return length;
    return kModule.fail(here(), molte::kFileTooLarge, SystemError::none,
                        "file size too big max 1GB");
}

// The length to load, or what the load then returns at once: 0 for a missing or empty file.
template <typename Char>
int64_t loadable_length(const Char* name) {
    return exists(name) ? checked_length(length_of(name)) : 0;
}

// A file that opens at once is asked nothing twice. For any other the steps are those of the names.
template <typename Char>
int32_t load(const Char* name, uint8_t** buffer_out, int32_t* length_out) {
    *length_out = 0;
    struct _stat64 state;
    molte::Descriptor file(platform::open_to_read(name, &state));
    const auto length =
        static_cast<int32_t>(file.valid() ? checked_length(state.st_size) : loadable_length(name));
    if (length < 1) return length;
    auto buffer = molte::allocate<uint8_t>(length);
    if (buffer == nullptr) return kModule.trace(here());
    if (!file.valid()) {
        file.reset(open_by_chmod(name, ORVEX_OPEN_READ));
    } else if ((state.st_mode & ORVEX_MODE_OWNER) != ORVEX_MODE_OWNER) {
        add_owner_mode(name);
    }
    if (!file.valid()) return fail_name(here(), kNotOpened, SystemError::runtime, name);
    platform::expect_large_use(buffer.get(), static_cast<size_t>(length));
    if (!read_whole(file.get(), buffer.get(), length)) {
        return fail_read(here(), file.get(), buffer.get(), length);
    }
    *buffer_out = buffer.release();
    *length_out = length;
    return length;
}

template <typename Char>
int32_t load_text(const Char* name, char** text_out, int32_t* length_out) {
    *length_out = 0;
    const auto length = static_cast<int32_t>(loadable_length(name));
    if (length < 1) return length;
    // One more is asked for than the file had, and one is for the terminator.
    auto text = molte::allocate<char>(int64_t{length} + 2);
    if (text == nullptr) return kModule.trace(here());
    const Stream stream = open_text(name, "rt");
    if (stream == nullptr) return -1;
    const size_t count = std::fread(text.get(), 1, static_cast<size_t>(length) + 1, stream.get());
    if (count == 0 && std::ferror(stream.get()) != 0) {
        return fail_name(here(), kNotWritten, SystemError::runtime,
                         name);  // 4 for a read: meant so
    }
    text[count] = '\0';
    *text_out = text.release();
    *length_out = static_cast<int32_t>(count);
    return *length_out;
}

template <typename Char>
int32_t save(const Char* name, const void* data, int32_t length) {
    if (data == nullptr || length < 1) return 0;
    add_owner_mode(name);
    const molte::Descriptor file(open(name, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!file.valid()) return fail_name(here(), kNotOpened, SystemError::runtime, name);
    if (!write_whole(file.get(), data, length)) return fail_write(here(), file.get(), data, length);
    return 1;
}

template <typename Char>
int32_t save_text(const Char* name, const char* text, int32_t length) {
    if (!is_block(text, length)) return kModule.fail(here(), kBadArgument);
    change_mode(name, ORVEX_MODE_OWNER);  // one marked read-only stops nobody; nothing is reported
    const Stream stream = open_text(name, "wt");
    if (stream == nullptr) return -1;
    if (length > 0) {
        (void)std::fwrite(text, 1, static_cast<size_t>(length), stream.get());  // not looked at
    }
    return 1;
}

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

int32_t copy_bytes(int32_t source, int32_t target, int64_t length, void* buffer, int32_t size) {
    for (int64_t left = length; left > 0;) {
        const auto chunk = static_cast<int32_t>(std::min<int64_t>(left, size));
        if (!read_whole(source, buffer, chunk)) return fail_read(here(), source, buffer, chunk);
        if (!write_whole(target, buffer, chunk)) return fail_write(here(), target, buffer, chunk);
        left -= chunk;
    }
    return 1;
}

}  // namespace

int32_t ORVEX_LoadBinDataFile(const char* pszName, uint8_t** ppBuf, int32_t* pnLen) {
    return load(pszName, ppBuf, pnLen);
}

int32_t ORVEX_LoadBinDataFileW(const wchar_t* pwszName, uint8_t** ppBuf, int32_t* pnLen) {
    return load(pwszName, ppBuf, pnLen);
}

int32_t ORVEX_LoadTextDataFile(const char* pszName, char** ppszText, int32_t* pnLen) {
    return load_text(pszName, ppszText, pnLen);
}

int32_t ORVEX_LoadTextDataFileW(const wchar_t* pwszName, char** ppszText, int32_t* pnLen) {
    return load_text(pwszName, ppszText, pnLen);
}

int32_t ORVEX_SaveBinDataToFile(const char* pszName, const void* pData, int32_t nLen) {
    return save(pszName, pData, nLen);
}

int32_t ORVEX_SaveBinDataToFileW(const wchar_t* pwszName, const void* pData, int32_t nLen) {
    return save(pwszName, pData, nLen);
}

int32_t ORVEX_SaveTextDataToFile(const char* pszName, const char* pszText, int32_t nLen) {
    return save_text(pszName, pszText, nLen);
}

int32_t ORVEX_SaveTextDataToFileW(const wchar_t* pwszName, const char* pszText, int32_t nLen) {
    return save_text(pwszName, pszText, nLen);
}

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

int32_t ORVEX_FileCopy(const char* pszSource, const char* pszTarget, int32_t bFailIfExists) {
    if (CopyFileA(pszSource, pszTarget, bFailIfExists != 0 ? TRUE : FALSE) != 0) return 1;
    return fail_name(here(), kNotCopied, SystemError::runtime, pszSource);
}

int32_t ORVEX_FileCopyWithBuf(const char* pszSource, const char* pszTarget, int32_t /*nUnused*/,
                              void* pBuf, int32_t nBufSize) {
    if (pBuf == nullptr || nBufSize < 1) return kModule.fail(here(), kBadArgument);
    const molte::Descriptor source(open_by_chmod(pszSource, ORVEX_OPEN_READ));
    if (!source.valid()) return fail_name(here(), kNotOpened, SystemError::runtime, pszSource);
    OXSTAT64 state;
    if (status(source.get(), &state) != 0) {
        return fail_name(here(), kNoState, SystemError::runtime, pszSource);
    }
    if (platform::is_file(source.get(), pszTarget)) {  // emptying the one would empty the other
        return fail_name(here(), kNotCopied, SystemError::none, pszTarget);
    }
    add_owner_mode(pszTarget);
    molte::Descriptor target(open(pszTarget, ORVEX_OPEN_ANEW, state.st_mode));
    if (!target.valid()) return fail_name(here(), kNotOpened, SystemError::runtime, pszTarget);
    if (state.st_size == 0) return 1;  // with the time of now
    if (copy_bytes(source.get(), target.get(), state.st_size, pBuf, nBufSize) < 0) return -1;
    target.close();
    ORVEX_FileChangeModAccessTime(pszTarget, state.st_atime, state.st_mtime);
    return 1;
}
