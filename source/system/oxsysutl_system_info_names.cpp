// Names of the operating system, the user and the computer.
#include <algorithm>
#include <iterator>

#include "core/modules.h"
#include "moltelib/system_info.h"
#include "moltelib/text.h"
#include "moltelib/text_convert.h"
#include "platform/machine.h"
#include "platform/system.h"
#include "system/os_type.h"

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
constexpr uint32_t kNoComputerName = 127;
constexpr uint32_t kNoUserName = 265;
constexpr DWORD kNtPlatform = 2;

// By OS type; null has no name.
constexpr const char* kOsNames[] = {nullptr,     "Win95",   "Win98",     "WinNT4",   "Win2000",
                                    "WinNT3.51", "Win31",   "WinNT",     "Windows",  nullptr,
                                    nullptr,     "Unix",    "WinXP",     "Win2003",  "WinVista",
                                    "Win2003R2", "Win2008", "Win2008R2", "Windows7", "Windows8"};

bool computer_name(char (&name)[48]) {
    DWORD size = sizeof name;
    return GetComputerNameA(name, &size) != FALSE;
}

bool get_version(OSVERSIONINFOEXA* version) {
    *version = {};
    version->dwOSVersionInfoSize = sizeof *version;
    return GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(version)) != FALSE;
}

}  // namespace

int32_t ORVEX_GetOsType(void) {
    OSVERSIONINFOEXA version;
    if (!get_version(&version)) return molte::kOsWindows;
    if (version.dwPlatformId == platform::kUnixPlatformId) return molte::kOsUnix;
    return molte::windows_type(version.dwPlatformId, version.dwMajorVersion, version.dwMinorVersion,
                               version.wProductType == VER_NT_WORKSTATION);
}

int32_t ORVEX_PlatformIsNT(void) {
    OSVERSIONINFOEXA version;
    return get_version(&version) && version.dwPlatformId == kNtPlatform ? 1 : 0;
}

int32_t ORVEX_IsWinNTSeries(int32_t nOsType) {
    constexpr int32_t series[] = {3, 4, 5, 7, 14};  // no later system: meant
    return std::find(std::begin(series), std::end(series), nOsType) != std::end(series) ? 1 : 0;
}

const char* MOLTE_OsType2String(int32_t nOsType) {
    const bool known = nOsType >= 0 && nOsType < static_cast<int32_t>(std::size(kOsNames)) &&
                       kOsNames[nOsType] != nullptr;
    return known ? kOsNames[nOsType] : "Unkown";
}

const char* MOLTE_OsClass2String(int32_t nOsClass) {
    return nOsClass == 0 ? "Unix" : nOsClass == 1 ? "Windows" : "Unknown";
}

int32_t ORVEX_GetLogonUserName(char* dst, int32_t nLen) {
    if (dst == nullptr || nLen < 1) return kModule.fail(molte::here(), kBadArgument);
    auto size = static_cast<DWORD>(nLen);
    if (GetUserNameA(dst, &size) != FALSE) return 1;
    return kModule.fail_text(molte::here(), kNoUserName, molte::SystemError::platform,
                             "get logon user name failed");
}

int32_t ORVEX_GetEffectiveUserName(char* dst, int32_t nLen) {
    return ORVEX_GetLogonUserName(dst, nLen);
}

int32_t ORVEX_GetComputerNameWithOpt(char* dst, int32_t nLen, int32_t bReport) {
    if (dst == nullptr || nLen < 1) return kModule.fail(molte::here(), kBadArgument);
    char name[48];
    if (!computer_name(name)) {
        dst[0] = '\0';
        return bReport != 0 ? kModule.fail(molte::here(), kNoComputerName) : -1;
    }
    ORVEX_strncpy(dst, name, nLen);
    return 1;
}

int32_t ORVEX_GetComputerName(char* dst, int32_t nLen) {
    return ORVEX_GetComputerNameWithOpt(dst, nLen, 1);
}

int32_t ORVEX_GetComputerNameWithOptW(wchar_t* dst, int32_t nLen, int32_t bReport) {
    if (dst == nullptr || nLen < 1) return kModule.fail(molte::here(), kBadArgument);
    dst[0] = L'\0';
    char name[256];
    if (ORVEX_GetComputerNameWithOpt(name, sizeof name, bReport) < 0) return -1;
    return MOLTE_STR_mbstowcs(name, dst, nLen);
}

int32_t ORVEX_GetComputerNameW(wchar_t* dst, int32_t nLen) {
    return ORVEX_GetComputerNameWithOptW(dst, nLen, 1);
}
