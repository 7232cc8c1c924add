// The version in a program's file.
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/application.h"
#include "moltelib/application_version.h"
#include "moltelib/byte_field.h"
#include "moltelib/error.h"
#include "platform/file_version.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
constexpr uint32_t kNoVersionInfo = 273;
constexpr uint32_t kVersionInfoNotRead = 274;
constexpr uint32_t kNoFixedInfo = 275;

int32_t bad_argument() {
    return kModule.fail(here(), kBadArgument);
}

void put_version(const VS_FIXEDFILEINFO& info, MOLTE_APPVERSION* version) {
    const auto high = [](DWORD number) { return static_cast<uint16_t>(number >> 16); };
    const auto low = [](DWORD number) { return static_cast<uint16_t>(number); };
    uint2ToChar2(high(info.dwFileVersionMS), version->nMajor);
    uint2ToChar2(low(info.dwFileVersionMS), version->nMinor);
    uint2ToChar2(high(info.dwFileVersionLS), version->nBuild);
    uint2ToChar2(low(info.dwFileVersionLS), version->nRevision);
}

bool has_option(int32_t argc, char** argv, const char* option) {
    for (int32_t i = 1; argv != nullptr && i < argc; ++i) {
        if (argv[i] != nullptr && std::strcmp(argv[i], option) == 0) return true;
    }
    return false;
}

void print_version(const MOLTE_APPVERSION& version) {
    char text[MOLTE_APPVERSION_TEXT_SIZE];
    char line[64];
    std::snprintf(line, sizeof line, "%s. ", MOLTE_AppVersionToString(&version, text));
    MOLTE_VER_Output(line);
    std::snprintf(line, sizeof line, "%d bit %s\n", 64, "Release");
    MOLTE_VER_Output(line);
}

}  // namespace

int32_t MOLTE_GetAppVersion(const char* pszPath, MOLTE_APPVERSION* pVersion) {
    if (pszPath == nullptr || pVersion == nullptr) return bad_argument();
    *pVersion = {};
    DWORD zero = 0;
    const DWORD size = GetFileVersionInfoSizeA(pszPath, &zero);
    if (size == 0) {
        return kModule.fail_text(here(), kNoVersionInfo, SystemError::platform, pszPath);
    }
    const molte::Heap<uint8_t> block = molte::allocate<uint8_t>(size);
    if (block == nullptr) return kModule.trace(3527);
    std::memset(block.get(), 0, size);
    if (GetFileVersionInfoA(pszPath, 0, size, block.get()) == FALSE) {
        return kModule.fail_text(here(), kVersionInfoNotRead, SystemError::platform, pszPath);
    }
    void* found = nullptr;
    unsigned int found_size = 0;
    VS_FIXEDFILEINFO info;
    if (VerQueryValueA(block.get(), "\\", &found, &found_size) == FALSE ||
        found_size < sizeof info) {
        return kModule.fail_text(here(), kNoFixedInfo, SystemError::platform, pszPath);
    }
    std::memcpy(&info, found, sizeof info);
    put_version(info, pVersion);
    return 1;
}

int32_t MOLTE_GetAppVerString(const char* pszPath, char* pszDst) {
    if (pszDst == nullptr) return bad_argument();
    MOLTE_APPVERSION version{};
    if (MOLTE_GetAppVersion(pszPath, &version) < 0) return kModule.trace(3573);
    MOLTE_AppVersionToString(&version, pszDst);
    return 1;
}

char* MOLTE_AppVersionToString(const MOLTE_APPVERSION* pVersion, char* pszDst) {
    if (pVersion == nullptr || pszDst == nullptr) {
        bad_argument();
        return nullptr;
    }
    std::snprintf(pszDst, MOLTE_APPVERSION_TEXT_SIZE, "%d.%d.%d.%d",
                  Char2To_uint2(pVersion->nMajor), Char2To_uint2(pVersion->nMinor),
                  Char2To_uint2(pVersion->nBuild), Char2To_uint2(pVersion->nRevision));
    return pszDst;
}

int32_t MOLTE_CmpAppVersion(const MOLTE_APPVERSION* pA, const MOLTE_APPVERSION* pB) {
    if (pA == nullptr || pB == nullptr) return bad_argument();
    const int order = std::memcmp(pA, pB, sizeof *pA);
    return (order > 0) - (order < 0);
}

int32_t UITL_uint2Cmp(uint16_t nA, uint16_t nB) {
    return (nA > nB) - (nA < nB);
}

int32_t MOLTE_IsDateVerMatch(int32_t nVersion, int32_t nWanted) {
    return nVersion < 1 || nVersion >= nWanted ? 1 : 0;
}

int32_t UTIL_IsPrintVer(int32_t nArgc, char** ppszArgv) {
    if (!has_option(nArgc, ppszArgv, "-printver")) return 0;
    char path[4096];
    const bool known = MOLTE_Win_GetExeName(path, sizeof path) > 0;
    MOLTE_APPVERSION version{};
    if (MOLTE_GetAppVersion(known ? path : ppszArgv[0], &version) > 0) {
        print_version(version);
    } else {
        ORVEX_Err_fPrintWithOption(stdout, 2);
    }
    return 1;
}

int32_t MOLTE_VER_Output(const char* pszText) {
    if (pszText == nullptr) return bad_argument();
    std::fputs(pszText, stdout);
    return 1;
}
