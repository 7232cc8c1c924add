// Which languages there are, and where their files lie.
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "configuration/rcxmlpro.h"
#include "moltelib/main_path.h"
#include "platform/code_page.h"
#include "platform/files.h"

namespace molte {
namespace {

constexpr uint32_t kPrimaryLanguage = 0x3FF;  // of a locale id

// Sorted by nLCID.
constexpr RC_LANG kLanguages[] = {
    {"ar", "default", 1, 1, {}},  {"zh", "default", 4, 1, {}},  {"de", "default", 7, 1, {}},
    {"en", "default", 9, 1, {}},  {"es", "default", 10, 1, {}}, {"fr", "default", 12, 1, {}},
    {"ja", "default", 17, 1, {}}, {"ko", "default", 18, 1, {}}, {"pt", "default", 22, 1, {}},
    {"ru", "default", 25, 1, {}}, {"ar", "sa", 1025, 0, {}},    {"zh", "tw", 1028, 0, {}},
    {"de", "de", 1031, 0, {}},    {"en", "us", 1033, 0, {}},    {"es", "es2", 1034, 0, {}},
    {"fr", "fr", 1036, 0, {}},    {"ja", "jp", 1041, 0, {}},    {"ko", "kr", 1042, 0, {}},
    {"ru", "ru", 1049, 0, {}},    {"zh", "cn", 2052, 0, {}},    {"en", "gb", 2057, 0, {}},
    {"es", "mx", 2058, 0, {}},    {"pt", "pt", 2070, 0, {}},    {"zh", "hk", 3076, 0, {}},
    {"es", "es", 3082, 0, {}},    {"zh", "sg", 4100, 0, {}},    {"zh", "mo", 5124, 0, {}},
    {"es", "ar", 11274, 0, {}}};

constexpr bool is_below(const RC_LANG& row, uint32_t lcid) {
    return row.nLCID < lcid;
}

static_assert(std::size(kLanguages) == 28);
static_assert(std::is_sorted(std::begin(kLanguages), std::end(kLanguages),
                             [](const RC_LANG& a, const RC_LANG& b) { return a.nLCID < b.nLCID; }));

const RC_LANG* row_of(uint32_t lcid) {
    const auto* row =
        std::lower_bound(std::begin(kLanguages), std::end(kLanguages), lcid, is_below);
    return row != std::end(kLanguages) && row->nLCID == lcid ? row : nullptr;
}

bool is_file_of(char (&path)[kResourcePathSize], const char* language, const char* locale) {
    const char* main_path = GetMainPath();
    if (main_path == nullptr) return false;
    char folder[kResourcePathSize];
    char name[16];
    std::snprintf(folder, sizeof folder, "%s%c%s%c%s%c", "resource", '\\', language, '\\', locale,
                  '\\');
    std::snprintf(name, sizeof name, "rc_%s", language);
    const int length = std::snprintf(path, sizeof path, "%s%c%s%s%s%s", main_path, '\\', folder,
                                     "moltelib", name, ".xml");
    return length < static_cast<int>(sizeof path) && _access(path, 0) == 0;
}

}  // namespace

int32_t RCXML_LangTable() {
    static bool ready = false;
    if (ready) return 1;
    ready = true;
    InitMainPath();
    return static_cast<int32_t>(std::size(kLanguages));
}

int32_t RCXML_FindLang(uint32_t lcid, const RC_LANG** exact, const RC_LANG** neutral) {
    *exact = row_of(lcid);
    *neutral = row_of(lcid & kPrimaryLanguage);
    return *exact != nullptr || *neutral != nullptr ? 1 : -1;
}

int32_t RCXML_SetLocale(uint32_t lcid) {
    constexpr uint32_t chinese[] = {2052, 4};
    constexpr uint32_t spanish[] = {10, 1034, 2058, 3082, 11274};
    const auto is_one_of = [lcid](const auto& ids) {
        return std::find(std::begin(ids), std::end(ids), lcid) != std::end(ids);
    };
    const char* name = is_one_of(chinese) ? "chs" : is_one_of(spanish) ? "esp" : "us";
    if (platform::set_locale(name) != nullptr) return 1;
    return kResourceModule.fail(here(), 134, SystemError::runtime, "set locale error. %s", name);
}

int32_t RCXML_BuildPath(char (&path)[kResourcePathSize], uint32_t lcid, const char* locale) {
    const RC_LANG* exact = nullptr;
    const RC_LANG* neutral = nullptr;
    if (RCXML_FindLang(lcid, &exact, &neutral) < 0) return -1;
    if (neutral == exact) neutral = nullptr;
    const bool has_locale = locale != nullptr && locale[0] != '\0';
    for (const RC_LANG* row : {exact, neutral}) {
        if (row == nullptr) continue;
        if (has_locale && is_file_of(path, row->szLang, locale)) return 1;
        if (is_file_of(path, row->szLang, row->szLocale)) return 1;
    }
    return -1;
}

}  // namespace molte
