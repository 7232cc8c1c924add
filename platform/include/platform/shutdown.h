// Shutting the machine down, and the privilege for it. A failure sets the last error.
#pragma once

#include "platform/last_error.h"
#include "platform/types.h"

#if !defined(_WIN32)

struct LUID {
    DWORD LowPart;
    LONG HighPart;
};
struct LUID_AND_ATTRIBUTES {
    LUID Luid;
    DWORD Attributes;
};
struct TOKEN_PRIVILEGES {
    DWORD PrivilegeCount;
    LUID_AND_ATTRIBUTES Privileges[1];
};

constexpr DWORD TOKEN_QUERY = 0x0008;
constexpr DWORD TOKEN_ADJUST_PRIVILEGES = 0x0020;
constexpr DWORD SE_PRIVILEGE_ENABLED = 2;
constexpr UINT EWX_REBOOT = 2;
constexpr UINT EWX_POWEROFF = 8;

// There are no privileges to take: these succeed, and the system looks at the user when the machine
// is to go down. A token is closed by CloseHandle. AdjustTokenPrivileges also sets the last error,
// to 0 when all could be given.
BOOL OpenProcessToken(HANDLE process, DWORD access, HANDLE* token);
BOOL LookupPrivilegeValueA(const char* system, const char* name, LUID* privilege);
BOOL AdjustTokenPrivileges(HANDLE token, BOOL disable_all, TOKEN_PRIVILEGES* wanted, DWORD size,
                           TOKEN_PRIVILEGES* before, DWORD* needed);

// Begins to shut the machine down, by the program that platform/services.h tells of: EWX_REBOOT
// restarts it, EWX_POWEROFF turns it off, and with neither it is ERROR_INVALID_PARAMETER. Programs
// are ended by force in any case, whatever else the flags say; the reason isn't looked at.
BOOL ExitWindowsEx(UINT flags, DWORD reason);

#endif
