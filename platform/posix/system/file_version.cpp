#include "platform/file_version.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "files/descriptor.h"
#include "files/path.h"
#include "system/elf_note.h"

namespace {

constexpr DWORD kSignature = 0xFEEF04BD;
constexpr uint32_t kVersionNote = 1;

// The two big-endian numbers at bytes, as the halves of one.
DWORD two_numbers(const uint8_t* bytes) {
    return DWORD{bytes[0]} << 24 | DWORD{bytes[1]} << 16 | DWORD{bytes[2]} << 8 | bytes[3];
}

// False with the last error.
bool read_version(const char* name, VS_FIXEDFILEINFO* info) {
    const platform::KernelPath path(name);
    const platform::OpenFile file(
        path.valid() ? platform::open_file(path.get(), O_RDONLY | O_NONBLOCK, 0) : -1);
    uint8_t numbers[8];
    const platform::NoteResult result =
        file.valid() ? platform::read_elf_note(file.get(), PLATFORM_NAME, kVersionNote, numbers,
                                               sizeof numbers)
                     : platform::NoteResult::unreadable;
    switch (result) {
        case platform::NoteResult::found:
            *info = {};
            info->dwSignature = kSignature;
            info->dwStrucVersion = 0x10000;
            info->dwFileVersionMS = two_numbers(numbers);
            info->dwFileVersionLS = two_numbers(numbers + 4);
            return true;
        case platform::NoteResult::none:
            SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
            break;
        case platform::NoteResult::no_elf_file:
            SetLastError(ERROR_BAD_FORMAT);
            break;
        case platform::NoteResult::unreadable:
            platform::set_last_error_from_errno();
            break;
    }
    return false;
}

}  // namespace

DWORD GetFileVersionInfoSizeA(const char* path, DWORD* zero) {
    VS_FIXEDFILEINFO info;
    if (zero != nullptr) *zero = 0;
    return read_version(path, &info) ? sizeof info : 0;
}

BOOL GetFileVersionInfoA(const char* path, DWORD, DWORD size, void* block) {
    VS_FIXEDFILEINFO info;
    if (block == nullptr || size < sizeof info) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    if (!read_version(path, &info)) return FALSE;
    memcpy(block, &info, sizeof info);
    return TRUE;
}

BOOL VerQueryValueA(const void* block, const char* part, void** value, unsigned int* size) {
    DWORD signature = 0;
    if (block != nullptr) memcpy(&signature, block, sizeof signature);
    if (signature != kSignature || part == nullptr || strcmp(part, "\\") != 0) {
        SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
        return FALSE;
    }
    *value = const_cast<void*>(block);
    *size = sizeof(VS_FIXEDFILEINFO);
    return TRUE;
}
