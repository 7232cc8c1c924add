#include "platform/shutdown.h"

#include <cstring>

#include "platform/system.h"
#include "system/systemctl.h"

namespace {

BOOL refuse(DWORD number) {
    SetLastError(number);
    return FALSE;
}

}  // namespace

BOOL OpenProcessToken(HANDLE process, DWORD, HANDLE* token) {
    if (process != GetCurrentProcess()) return refuse(ERROR_INVALID_HANDLE);
    *token = process;  // which may be closed, and stays
    return TRUE;
}

BOOL LookupPrivilegeValueA(const char*, const char* name, LUID* privilege) {
    if (strcmp(name, "SeShutdownPrivilege") != 0) return refuse(ERROR_NO_SUCH_PRIVILEGE);
    *privilege = {19, 0};
    return TRUE;
}

BOOL AdjustTokenPrivileges(HANDLE token, BOOL, TOKEN_PRIVILEGES*, DWORD, TOKEN_PRIVILEGES*,
                           DWORD*) {
    if (token != GetCurrentProcess()) return refuse(ERROR_INVALID_HANDLE);
    SetLastError(ERROR_SUCCESS);
    return TRUE;
}

BOOL ExitWindowsEx(UINT flags, DWORD) {
    const bool restart = (flags & EWX_REBOOT) != 0;
    if (!restart && (flags & EWX_POWEROFF) == 0) return refuse(ERROR_INVALID_PARAMETER);
    return platform::run_systemctl({restart ? "reboot" : "poweroff", "--no-ask-password"}, nullptr,
                                   0);
}
