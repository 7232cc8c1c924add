#include "platform/system.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/last_error.h"

BOOL GetComputerNameA(char* name, DWORD* size) {
    utsname system{};
    if (name == nullptr || size == nullptr || uname(&system) != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    DWORD length = 0;
    while (length < MAX_COMPUTERNAME_LENGTH && system.nodename[length] != '\0' &&
           system.nodename[length] != '.') {
        ++length;
    }
    if (*size <= length) {
        *size = length + 1;
        SetLastError(ERROR_BUFFER_OVERFLOW);
        return FALSE;
    }
    std::memcpy(name, system.nodename, length);
    name[length] = '\0';
    *size = length;
    return TRUE;
}

BOOL GetVersionExA(OSVERSIONINFOA* version) {
    utsname system{};
    if (version == nullptr || uname(&system) != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *version = {};
    version->dwOSVersionInfoSize = sizeof *version;
    version->dwPlatformId = platform::kUnixPlatformId;
    char* rest = system.release;
    version->dwMajorVersion = static_cast<DWORD>(std::strtoul(rest, &rest, 10));
    if (*rest == '.') {
        version->dwMinorVersion = static_cast<DWORD>(std::strtoul(rest + 1, nullptr, 10));
    }
    version->wProductType = VER_NT_WORKSTATION;
    return TRUE;
}

HANDLE GetCurrentProcess() {
    return INVALID_HANDLE_VALUE;
}

BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD room, DWORD* needed) {
    if (process != GetCurrentProcess() || needed == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    *needed = sizeof(HMODULE);
    if (modules != nullptr && room >= sizeof(HMODULE)) *modules = GetCurrentProcess();
    return TRUE;
}

DWORD GetModuleFileNameExA(HANDLE process, HMODULE, char* path, DWORD size) {
    if (process != GetCurrentProcess() || path == nullptr || size == 0) {
        SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }
    char program[PATH_MAX];
    const ssize_t found = readlink("/proc/self/exe", program, sizeof program);
    if (found < 0) {
        platform::set_last_error_from_errno();
        return 0;
    }
    const auto length = static_cast<DWORD>(found);
    const DWORD kept = std::min(length, size - 1);
    std::memcpy(path, program, kept);
    path[kept] = '\0';
    return kept == length ? length : size;
}

bool platform::at_exit(void (*routine)()) {
    return std::atexit(routine) == 0;
}
