// Path and command line of the running program.
#include "moltelib/application.h"

#include <cstring>

#include "core/modules.h"
#include "moltelib/state.h"
#include "moltelib/text.h"
#include "platform/system.h"

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
using molte::kNotRead;
using molte::SystemError;
constexpr size_t kNameSize = 256;

bool program_path(char* path, DWORD size) {
    HMODULE program = nullptr;
    DWORD needed = 0;
    const HANDLE self = GetCurrentProcess();
    if (EnumProcessModules(self, &program, sizeof program, &needed) == FALSE) return false;
    return GetModuleFileNameExA(self, program, path, size) != 0;
}

template <size_t size>
int32_t set_text(char (&field)[size], const char* text) {
    if (text == nullptr) return kModule.fail(molte::here(), kBadArgument);
    ORVEX_strncpy(field, text, size);
    return 1;
}

}  // namespace

int32_t MOLTE_GetCommandLine(char* pszDst, int32_t nDstLen) {
    if (pszDst == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const char* line = GetCommandLineA();
    ORVEX_strncpy(pszDst, line, nDstLen);
    return line[0] != '\0' ? 1 : kModule.fail(molte::here(), kNotRead, SystemError::platform);
}

int32_t MOLTE_Win_GetExeName(char* pszDst, int32_t nDstLen) {
    if (pszDst == nullptr || nDstLen < 1) return kModule.fail(molte::here(), kBadArgument);
    return program_path(pszDst, static_cast<DWORD>(nDstLen)) ? 1 : -1;
}

int32_t MOLTE_GetAppName(char* pszDst, int32_t nDstLen) {
    if (pszDst == nullptr || nDstLen < 1) return kModule.fail(molte::here(), kBadArgument);
    pszDst[0] = '\0';
    char line[kNameSize];
    MOLTE_GetCommandLine(line, sizeof line);
    if (line[0] == '\0') return 0;
    char path[kNameSize];
    const char* name = line;
    if (line[0] == '"') {
        name = line + 1;
        line[1 + std::strcspn(name, "\"")] = '\0';
    } else if (program_path(path, sizeof path)) {
        name = path;
    } else if (std::strpbrk(line, "\\/") != nullptr) {
        line[std::strcspn(line, " ")] = '\0';
    }
    ORVEX_strncpy(pszDst, name, nDstLen);
    return 1;
}

int32_t MOLTE_SetAppName(const char* pszName) {
    return set_text(g_stBv.szAppName, pszName);
}

int32_t MOLTE_SetAppVersion(const char* pszText) {
    return set_text(g_stBv.szAppVersion, pszText);
}
