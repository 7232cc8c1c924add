// The machine and the process: names, version of the system, language of the user, command line.
// Texts are in the code page of the platform; on POSIX the bytes go through unchanged.
#pragma once

#include "platform/types.h"

#if defined(_WIN32)
#include <psapi.h>
#else
using HMODULE = void*;
using LANGID = WORD;
using LCID = DWORD;

constexpr DWORD MAX_COMPUTERNAME_LENGTH = 31;
constexpr DWORD ERROR_BUFFER_OVERFLOW = 111;
constexpr BYTE VER_NT_WORKSTATION = 1;

struct OSVERSIONINFOEXA {
    DWORD dwOSVersionInfoSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    char szCSDVersion[128];
    WORD wServicePackMajor;
    WORD wServicePackMinor;
    WORD wSuiteMask;
    BYTE wProductType;
    BYTE wReserved;
};
using OSVERSIONINFOA = OSVERSIONINFOEXA;

// The machine's name up to its first dot, at most MAX_COMPUTERNAME_LENGTH characters. *size is the
// room in bytes, and then the length without terminator. False with ERROR_BUFFER_OVERFLOW and the
// size that is needed when it does not fit.
BOOL GetComputerNameA(char* name, DWORD* size);

// The version of the system; dwPlatformId is platform::kUnixPlatformId.
BOOL GetVersionExA(OSVERSIONINFOA* version);

// The language of the user by LC_ALL, LC_MESSAGES or LANG of the environment; US English (1033)
// for a language without a number here.
LANGID GetUserDefaultLangID();
LCID GetUserDefaultLCID();

// The words the process was started with, those with blanks or quotes in quotes; made at the first
// call, cut at 32767 bytes. Empty, with the last error, when the system doesn't tell them now.
char* GetCommandLineA();

// A process has one module, its program. Only the own process is known.
HANDLE GetCurrentProcess();
BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD room, DWORD* needed);
// The full path of the program: its length, or size when it was cut to size - 1; 0 on failure.
DWORD GetModuleFileNameExA(HANDLE process, HMODULE module, char* path, DWORD size);
#endif

namespace platform {

// What GetVersionExA tells as dwPlatformId where the system is a Unix; no Windows uses it.
constexpr DWORD kUnixPlatformId = 0x100;

// Has the routine called when the process ends by exit() or by returning from main, while its other
// threads still run; they may be in any call. There is no way to take it back: on Windows the
// module that holds it stays loaded, on POSIX the routine is called when the module is unloaded.
// False without memory for it.
bool at_exit(void (*routine)());

}  // namespace platform
