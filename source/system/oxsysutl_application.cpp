// What the running program is, and the product that it presents itself as.
#include "moltelib/application.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <iterator>

#include "configuration/rcxmlpro.h"
#include "core/modules.h"
#include "moltelib/parameter_file.h"
#include "moltelib/state.h"
#include "moltelib/text.h"
#include "platform/code_page.h"
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

constexpr int32_t kTitleItem = 6;
constexpr const char* kCompanyText = "Lumbra Software Inc";
constexpr const char* kTitleText = "Automatic Identification System";

uint32_t resource_number(int32_t product, int32_t item) {
    const uint32_t base = product == 1   ? 20401
                          : product == 2 ? 20201
                          : product == 3 ? 20301
                          : product == 5 ? 20101
                                         : 20001;
    return base + static_cast<uint32_t>(item) - 1;
}

const char* title_text(int32_t product) {
    return molte::RCXML_GetString(resource_number(product, kTitleItem));
}

constexpr int32_t kMostItems = 10;

// By item; 0 is none. The eighth palm has a name that no item reaches: that is meant.
constexpr const char* kRolled[] = {nullptr,    "R.Thumb",  "R.Index", "R.Middle",
                                   "R.Ring",   "R.Little", "L.Thumb", "L.Index",
                                   "L.Middle", "L.Ring",   "L.Little"};
constexpr const char* kPalms[] = {nullptr,
                                  "R.palm",
                                  "L.palm",
                                  "R.palm four area",
                                  "L.palm four area",
                                  "R.palm thumb lower",
                                  "R.palm thumb upper",
                                  "L.palm thumb lower",
                                  "L.palm thumb upper"};
constexpr int32_t kPalmsReached = 7;
constexpr const char* kPlainGroups[] = {nullptr, "R.plain Thumb", "R.plain four fingers",
                                        "L.plain Thumb", "L.plain four fingers"};
constexpr const char* kPortraits[] = {nullptr, "Front portrait", "Left portrait", "Right portrait"};
constexpr const char* kPlain[] = {nullptr,          "R.plain Thumb", "R.plain Index",
                                  "R.plain Middle", "R.plain Ring",  "R.plain Little",
                                  "L.plain Thumb",  "L.plain Index", "L.plain Middle",
                                  "L.plain Ring",   "L.plain Little"};

}  // namespace

// ---- Path and command line of the running program ----

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

// ---- Product and company, as the string resources tell them ----

const char* MOLTE_GetCorpInfo(int32_t nItem) {
    return MOLTE_GetCorpInfoByProduct(nItem, 0);
}

const char* MOLTE_GetCorpInfoByProduct(int32_t nItem, int32_t nProduct) {
    if (nProduct == 0 && ORVEX_PARAMETER_GetValueInt("DEF_PRODUCT_ID", &nProduct) < 0) nProduct = 0;
    const uint32_t number = resource_number(nProduct, nItem);
    const char* text = molte::RCXML_GetString(number);
    if (text != nullptr) return text;
    return number == kTitleItem ? kTitleText : kCompanyText;  // no block begins so low: meant
}

int32_t MOLTE_AdjustAppTitle(char* pszTitle) {
    return MOLTE_AdjustAppTitleByProduct(pszTitle, 0);
}

int32_t MOLTE_AdjustAppTitleByProduct(char* pszTitle, int32_t nProduct) {
    if (pszTitle == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const char* text = title_text(nProduct);
    char* dash = std::strchr(pszTitle, '-');
    if (text == nullptr || dash == nullptr) return 0;
    dash[1] = ' ';
    std::strcpy(dash + 2, text);
    return 1;
}

int32_t MOLTE_AdjustAppTitleW(wchar_t* pszTitle) {
    return MOLTE_AdjustAppTitleByProductW(pszTitle, 0);
}

int32_t MOLTE_AdjustAppTitleByProductW(wchar_t* pszTitle, int32_t nProduct) {
    if (pszTitle == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const char* text = title_text(nProduct);
    wchar_t* dash = std::wcschr(pszTitle, L'-');
    if (text == nullptr || dash == nullptr) return 0;
    wchar_t wide[255];
    const size_t length = platform::multibyte_to_wide(wide, text, std::size(wide));
    if (length == platform::kBadText) return 0;
    // A blank and the text, counted: no terminator, so the end of a longer title stays. That is
    // meant; but the title never loses its own terminator.
    const bool reaches_end = std::wcslen(dash + 1) <= length;
    dash[1] = L' ';
    std::wmemcpy(dash + 2, wide, length);
    if (reaches_end) dash[2 + length] = L'\0';
    return 1;
}

// ---- Names of the images that the system handles ----

const char* MOLTE_ImagePrtItemName(int32_t nClass, int32_t nItem) {
    if (nItem < 0 || nItem > kMostItems) nItem = 1;
    switch (nClass) {
        case 1:
            return kRolled[nItem];
        case 2:
            return nItem <= kPalmsReached ? kPalms[nItem] : nullptr;
        case 3:
            return kPlainGroups[nItem <= 4 ? nItem : 1];
        case 4:
            return kPortraits[std::min(nItem, 3)];
        case 8:
            return kPlain[nItem];
        default:
            return nullptr;
    }
}
