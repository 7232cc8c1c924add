// The folders and well-known files of an installation.
#include <cstring>

#include "core/above.h"
#include "core/modules.h"
#include "moltelib/file.h"
#include "moltelib/main_path.h"
#include "moltelib/state.h"

namespace {

constexpr auto kModule = molte::kOxfname;
constexpr size_t kIniNameSize = 128;

char ini_file_name[kIniNameSize] = "rvexinit.ini";

// The caller's buffer is not bounded here: its size is the caller's promise.
int32_t join(char* dst, const char* folder, const char* name) {
    const size_t length = std::strlen(folder);
    std::memmove(dst, folder, length);
    dst[length] = '\\';
    std::strcpy(dst + length + 1, name);
    return 1;
}

int32_t main_path_and(char* dst, const char* name, int32_t line) {
    const char* main_path = UTIL_GetMainPath();
    return main_path == nullptr ? kModule.trace(line) : join(dst, main_path, name);
}

// Most folders are named through the main path's own function, which leaves its line as well.
int32_t folder(char* dst, const char* name, int32_t line) {
    if (ORVEX_SYS_PathName(dst) < 0) return kModule.trace(line);
    return join(dst, dst, name);
}

int32_t conf_file(char* dst, const char* name, int32_t line) {
    if (ORVEX_CONF_PathName(dst) < 0) return kModule.trace(line);
    return join(dst, dst, name);
}

}  // namespace

const char* UTIL_GetMainPath(void) {
    const char* known = GetMainPath();
    if (known != nullptr) return known;
    if (InitMainPath() < 0) {
        kModule.trace(28);
        return nullptr;
    }
    return GetMainPath();
}

int32_t ORVEX_SYS_PathName(char* pszDst) {
    const char* main_path = UTIL_GetMainPath();
    if (main_path == nullptr) return kModule.trace(36);
    std::strcpy(pszDst, main_path);
    return 1;
}

int32_t ORVEX_TEMP_PathName(char* pszDst) {
    return main_path_and(pszDst, "TEMP", 46);
}
int32_t ORVEX_CONF_PathName(char* pszDst) {
    return folder(pszDst, "CONF", 54);
}
int32_t ORVEX_DLL_PathName(char* pszDst) {
    return folder(pszDst, "DLL", 61);
}
int32_t ORVEX_DOC_PathName(char* pszDst) {
    return folder(pszDst, "DOC", 68);
}
int32_t ORVEX_TOOLS_PathName(char* pszDst) {
    return folder(pszDst, "TOOLS", 75);
}
int32_t ORVEX_RMTCONF_PathName(char* pszDst) {
    return folder(pszDst, "RMTCONF", 82);
}
int32_t ORVEX_EXE_PathName(char* pszDst) {
    return folder(pszDst, "EXE", 89);
}
int32_t ORVEX_BIN_PathName(char* pszDst) {
    return folder(pszDst, "BIN", 96);
}
int32_t ORVEX_LOG_PathName(char* pszDst) {
    return main_path_and(pszDst, "LOG", 123);
}

int32_t ORVEX_SYS_CreatePath(void) {
    struct Step {
        int32_t (*name)(char*);
        int32_t line;
    };
    constexpr Step steps[] = {{ORVEX_SYS_PathName, 107},     {ORVEX_CONF_PathName, 109},
                              {ORVEX_RMTCONF_PathName, 111}, {ORVEX_BIN_PathName, 113},
                              {ORVEX_TEMP_PathName, 115},    {ORVEX_EXE_PathName, 117}};
    if (UTIL_GetMainPath() == nullptr) return kModule.trace(106);
    for (const Step& step : steps) {
        char path[256];
        step.name(path);
        if (ORVEX_DirCreateRecur(path, ORVEX_MODE_OWNER) < 0) return kModule.trace(step.line);
    }
    return 1;
}

const char* ORVEX_PARAMETER_GetIniFileName(void) {
    return ini_file_name;
}

int32_t ORVEX_PARAMETER_SetIniFileName(const char* pszName) {
    if (pszName == nullptr || pszName[0] == '\0') return 0;
    if (strnlen(pszName, kIniNameSize) == kIniNameSize) return -1;
    std::memmove(ini_file_name, pszName, std::strlen(pszName) + 1);
    return 1;
}

int32_t ORVEX_PARAMETER_PathFileName(char* pszDst) {
    return conf_file(pszDst, ini_file_name, 151);
}

int32_t ORVEX_PARAMETER_PathFileNameByFN(char* pszDst, const char* pszName) {
    return conf_file(pszDst, pszName, 160);
}

int32_t ORVEX_DBCFG_PathFileName(char* pszDst) {
    const char* configured = g_stBv.szDbIniName;
    const size_t length = strnlen(configured, sizeof g_stBv.szDbIniName);
    const bool usable = length > 0 && length < sizeof g_stBv.szDbIniName;
    return conf_file(pszDst, usable ? configured : "dbnumina.ini", 171);
}

int32_t molte::log_folder(char* dst) {
    return ORVEX_LOG_PathName(dst);
}
