// Machine-wide values by key and name, under the names of the registry of Windows.
//
// Elsewhere they stand in a text file, "registry", in the folder "/etc/moltelib" or that which the
// environment variable MOLTELIB_REGISTRY_FOLDER names (not heeded in a program with privileges of
// its own); a missing folder is made at the first write. The file may be read and edited by hand:
//
//     # a comment
//     [HKEY_LOCAL_MACHINE\Software\Example\Options]
//     "MainPath"="C:\\example"
//     "Count"=dword:0000002a
//
// In a quoted text `\\` and `\"` stand for `\` and `"`, `\x{0a}` for a byte below 32, and @ stands
// for the name of a key's unnamed value. A change replaces the file as a whole, under a lock, so
// that writers lose nothing of each other's, readers always see a whole file, and an end at any
// moment leaves the old content or the new.
//
// A read-only key of the system's own,
// "HARDWARE\DESCRIPTION\System\CentralProcessor\0", has the number "~MHz", the processor's speed.
//
// Each call gives ERROR_SUCCESS or the error, ERROR_ACCESS_DENIED where the store or the key may
// not be written. On Windows the last error doesn't tell it; keep_error makes it do so everywhere.
#pragma once

#include "platform/last_error.h"
#include "platform/types.h"

#if !defined(_WIN32)

using HKEY = HANDLE;
using REGSAM = DWORD;

// The only root there is.
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(uintptr_t{0x80000002});

constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
constexpr REGSAM KEY_SET_VALUE = 0x0002;
constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
constexpr REGSAM KEY_READ = 0x20019;
constexpr REGSAM KEY_WRITE = 0x20006;
constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_DWORD = 4;

constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
constexpr DWORD REG_CREATED_NEW_KEY = 1;
constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

// Opens a key below another one; `\` separates, the case of A to Z doesn't count, a null or empty
// path is the key itself. Close what was opened by RegCloseKey. ERROR_FILE_NOT_FOUND where there is
// no such key; options must be 0.
LONG RegOpenKeyExA(HKEY key, const char* path, DWORD options, REGSAM access, HKEY* result);

// The same, and makes the key, with those on the way to it, when it is missing; what it did goes to
// disposition unless that is null. Class and security are not looked at, the rest must be 0.
LONG RegCreateKeyExA(HKEY key, const char* path, DWORD reserved, const char* class_name,
                     DWORD options, REGSAM access, const void* security, HKEY* result,
                     DWORD* disposition);

// The type and bytes of a value; a text counts its terminator. Type, data and size may be null.
// Size holds the room at data, then the bytes of the value; where they don't fit, nothing is
// copied: ERROR_MORE_DATA. ERROR_FILE_NOT_FOUND where the key has no such value.
LONG RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* size);

// Stores a REG_SZ of size bytes, with or without the terminator, or a REG_DWORD of 4.
LONG RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type, const BYTE* data,
                    DWORD size);

LONG RegCloseKey(HKEY key);

#endif

namespace platform {

// The result of a call above, as the last error as well when it is a failure.
inline LONG keep_error(LONG result) {
    if (result != 0) SetLastError(static_cast<DWORD>(result));
    return result;
}

}  // namespace platform
