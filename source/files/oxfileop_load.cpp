// Whole files into memory, and back.
#include <cstdio>

#include "core/owners.h"
#include "files/file_calls.h"
#include "files/file_open.h"
#include "moltelib/text_convert.h"
#include "moltelib/whole_file.h"
#include "platform/memory.h"

using namespace molte::file;
using molte::here;
using molte::Stream;
using molte::SystemError;

namespace {

constexpr int64_t kTooLarge = 0x40000000;
constexpr uint32_t kFileTooLarge = 303;

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
    return kModule.fail(here(), kFileTooLarge, SystemError::none, "file size too big max 1GB");
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
