// Libraries loaded while the program runs.
//
// A name with a separator is that file, by the rules of platform/files.h. One without is looked for
// in the folder of the program, then where the system looks. A name without a dot stands for one
// with ".dll"; with a dot at its end it has none.
//
// On POSIX "NAME.dll" that is nowhere stands for "libNAME.so", and then for "NAME.so". A library
// isn't searched for the names of those it needs itself.
#pragma once

#include "platform/last_error.h"
#include "platform/system.h"
#include "platform/types.h"

#if !defined(_WIN32)

using FARPROC = std::intptr_t (*)();

constexpr DWORD LOAD_WITH_ALTERED_SEARCH_PATH = 8;  // taken, and needs nothing here

// The library, or one more use of it. file must be null; flags other than 0 and the above, and a
// null or empty name, are ERROR_INVALID_PARAMETER. ERROR_MOD_NOT_FOUND when there is none,
// ERROR_BAD_FORMAT when it can't be loaded; errno is then ENOENT or ENOEXEC.
HMODULE LoadLibraryExA(const char* name, HANDLE file, DWORD flags);
HMODULE LoadLibraryExW(const wchar_t* name, HANDLE file, DWORD flags);

// A library of the system that is loaded anyway, by name. There are none: null with
// ERROR_MOD_NOT_FOUND.
HMODULE GetModuleHandleA(const char* name);

// The address of a name; null with ERROR_PROC_NOT_FOUND, or ERROR_MOD_NOT_FOUND for a module that
// isn't loaded by these calls.
FARPROC GetProcAddress(HMODULE module, const char* name);

// Gives one use back. ERROR_MOD_NOT_FOUND for a module that isn't loaded by these calls.
BOOL FreeLibrary(HMODULE module);

#endif
