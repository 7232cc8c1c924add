// Languages and collations: those in use, and their names.
#include "moltelib/language.h"

#include <cstdio>
#include <cstring>

#include "configuration/oxmnpath.h"
#include "core/modules.h"
#include "moltelib/main_path.h"
#include "moltelib/parameter_file.h"
#include "platform/code_page.h"
#include "platform/system.h"

OXLANG_VAR g_stLangVar;

namespace {

constexpr auto kModule = molte::kOxlang;
using molte::kBadArgument;
using molte::kNoMainPath;

constexpr OXLANG_NAMEROW kLanguages[OXLANG_LANGUAGE_COUNT] = {{"Lang_Default", 0},
                                                              {"Lang_Chs", OXLANG_CHINESE},
                                                              {"Lang_English", OXLANG_ENGLISH},
                                                              {"Lang_Spanish", OXLANG_SPANISH}};

int32_t default_language_or(int32_t otherwise) {
    int32_t language = 0;
    return ORVEX_PARAMETER_GetValueInt("DEF_LANG_ID", &language) > 0 ? language : otherwise;
}

// The id of that kind; null for the kinds that stand for all languages.
int32_t* id_of(int32_t kind) {
    int32_t* const ids[] = {&g_stLangVar.nMsgLID, &g_stLangVar.nTimeLID, &g_stLangVar.nDateLID,
                            &g_stLangVar.nLatCollID, &g_stLangVar.nMBCollID};
    return kind < 1 || kind > 5 ? nullptr : ids[kind - 1];
}

const char* locale_name(int32_t language) {
    constexpr int32_t kPrimaryLanguage = 0x3FF;
    if (language == OXLANG_CHINESE) return "chs";
    return (language & kPrimaryLanguage) == OXLANG_SPANISH ? "esp" : "us";
}

// The rows that are filled: none before OXLANG_Init.
const OXLANG_NAMEROW* rows_end() {
    const OXLANG_LANGTABLE& table = g_stLangVar.stLangName;
    return table.astRow + (table.nCount == OXLANG_LANGUAGE_COUNT ? OXLANG_LANGUAGE_COUNT : 0);
}

constexpr uint32_t kNoCollation = 250;
constexpr uint32_t kBadCollationText = 251;
constexpr size_t kTextSize = 128;    // what is read of a collation text
constexpr size_t kLongestText = 24;  // of those written, with terminator

constexpr OXLANG_NAMEROW kCollations[OXLANG_COLLATION_COUNT] = {
    {"Lat_Default", OXLANG_COLLATE_LAT_DEFAULT},
    {"Lat_Bin", OXLANG_COLLATE_LAT_BIN},
    {"Lat_Ci", OXLANG_COLLATE_LAT_CI},
    {"Lat_Cs", OXLANG_COLLATE_LAT_CS},
    {"MB_Default", OXLANG_COLLATE_MB_DEFAULT},
    {"MB_Bin", OXLANG_COLLATE_MB_BIN},
    {"MB_Py", OXLANG_COLLATE_MB_PY},
    {"MB_VarPy", OXLANG_COLLATE_MB_VARPY}};

// Stores the id of a name where it belongs.
bool take_name(const char* name, int32_t& latin, int32_t& multi_byte) {
    const int32_t id = OXLANG_COLLATE_Name2ID(name, nullptr);
    if (id < 0) return false;
    (OXLANG_COLLATE_IsValidLatID(id) != 0 ? latin : multi_byte) = id;
    return true;
}

int32_t bad_text(const char* text) {
    return kModule.fail(387, kBadCollationText, molte::SystemError::none,
                        "%.120s : bad collate type", text);
}

// Where the second name of a text begins, cut off from the first; null when there is none.
char* cut_second_name(char* underscore) {
    char* next = std::strchr(underscore + 1, '_');
    if (next == nullptr) return nullptr;
    *next = '\0';
    return next + 1;
}

}  // namespace

// ---- The language in use, and names of languages ----

int32_t OXLANG_Init(void) {
    if (g_stLangVar.bInited != 0) return 0;
    if (InitMainPath() < 0) return kModule.trace(178);
    // After a failure that nobody looked at the main path counts as known.
    if (!molte::main_path_found()) return kModule.fail(molte::here(), kNoMainPath);
    OXLANG_COLLATE_InitName(g_stLangVar.astCollName);
    OXLANG_LANG_Init(&g_stLangVar.stLangName);
    OXLANG_LID_Init();
    // A second reading decides on the language when the parameter is absent.
    if (OXLANG_SetDefLang() < 0) return kModule.trace(186);
    g_stLangVar.bInited = 1;
    return 1;
}

int32_t OXLANG_LID_Get(int32_t nKind) {
    const int32_t* id = id_of(nKind);
    return id != nullptr ? *id : g_stLangVar.nDefLID;
}

int32_t OXLANG_LID_Set(int32_t nKind, int32_t nId) {
    if (int32_t* id = id_of(nKind); id != nullptr) {
        const int32_t old = *id;
        *id = nId;
        return old;
    }
    g_stLangVar.nDefLID = nId;
    g_stLangVar.nMsgLID = nId;
    g_stLangVar.nTimeLID = nId;
    g_stLangVar.nDateLID = nId;
    return OXLANG_SetLocale(nId) < 0 ? kModule.trace(130) : 1;
}

int32_t OXLANG_LID_Init(void) {
    const int32_t language = default_language_or(-1);
    const int32_t result = OXLANG_LID_Set(OXLANG_KIND_DEFAULT, language < 0 ? 0 : language);
    g_stLangVar.nLatCollID = OXLANG_COLLATE_LAT_DEFAULT;
    g_stLangVar.nMBCollID = OXLANG_COLLATE_MB_DEFAULT;
    return result < 0 ? kModule.trace(143) : 1;
}

int32_t OXLANG_SetDefLang(void) {
    return OXLANG_LID_Set(OXLANG_KIND_DEFAULT, default_language_or(OXLANG_CHINESE));
}

int32_t OXLANG_SetLocale(int32_t nId) {
    const char* name = locale_name(nId);
    if (platform::set_locale(name) != nullptr) return 1;
    return kModule.fail(308, molte::kNoLocale, molte::SystemError::runtime, "set locale error. %s",
                        name);
}

int32_t OXLANG_GetLID(void) {
    return g_stLangVar.nDefLID;
}

int32_t OXLANG_GetMsgLID(void) {
    return g_stLangVar.nMsgLID;
}

int32_t OLANG_GetOsUILangID(void) {
    return GetUserDefaultLCID() == OXLANG_CHINESE ? OXLANG_CHINESE : OXLANG_ENGLISH;
}

int32_t OXLANG_GetRVEXLangID(void) {
    return OXLANG_Init() < 0 ? OLANG_GetOsUILangID() : g_stLangVar.nDefLID;
}

OXLANG_VAR* OXLANG_GetLocale(void) {
    return &g_stLangVar;
}

OXLANG_NAMEROW* OXLANG_GetCollName(void) {
    return g_stLangVar.astCollName;
}

OXLANG_LANGTABLE* OXLANG_GetLangName(void) {
    return &g_stLangVar.stLangName;
}

int32_t OXLANG_LANG_Init(OXLANG_LANGTABLE* pTable) {
    if (pTable == nullptr) return kModule.fail(molte::here(), kBadArgument);
    pTable->nCount = OXLANG_LANGUAGE_COUNT;
    std::memcpy(pTable->astRow, kLanguages, sizeof kLanguages);
    return 1;
}

int32_t OXLANG_UTIL_IsValidLID(int32_t nId) {
    return nId == 0 || nId == OXLANG_CHINESE || nId == OXLANG_ENGLISH ? 1
                                                                      : 0;  // not Spanish: meant
}

int32_t OXLANG_LANGStr2LID(const char* pszName) {
    for (const auto* row = g_stLangVar.stLangName.astRow; row != rows_end(); ++row) {
        if (pszName != nullptr && std::strcmp(row->pszName, pszName) == 0) return row->nId;
    }
    return OXLANG_CHINESE;
}

const char* OXLANG_LANGLID2Str(int32_t nId) {
    for (const auto* row = g_stLangVar.stLangName.astRow; row != rows_end(); ++row) {
        if (row->nId == nId) return row->pszName;
    }
    return "Lang_Chs";
}

// ---- Names of collations ----

int32_t OXLANG_COLLATE_InitName(OXLANG_NAMEROW* pTable) {
    if (pTable == nullptr) return kModule.fail(molte::here(), kBadArgument);
    std::memcpy(pTable, kCollations, sizeof kCollations);
    return 1;
}

int32_t OXLANG_COLLATE_IsValidLatID(int32_t nId) {
    return nId >= OXLANG_COLLATE_LAT_DEFAULT && nId <= OXLANG_COLLATE_LAT_CS ? 1 : 0;
}

int32_t OXLANG_COLLATE_IsValidMBID(int32_t nId) {
    return nId >= OXLANG_COLLATE_MB_DEFAULT && nId <= OXLANG_COLLATE_MB_VARPY ? 1 : 0;
}

int32_t OXLANG_COLLATE_Name2ID(const char* pszName, int32_t* pbLatin) {
    int32_t id = -1;
    for (const OXLANG_NAMEROW& row : kCollations) {
        if (pszName != nullptr && std::strcmp(row.pszName, pszName) == 0) id = row.nId;
    }
    if (pbLatin != nullptr) *pbLatin = OXLANG_COLLATE_IsValidLatID(id);
    return id;
}

const char* OXLANG_COLLATE_ID2Name(int32_t nId, char* pszBuf) {
    for (const OXLANG_NAMEROW& row : kCollations) {
        if (row.nId != nId) continue;
        if (pszBuf != nullptr) std::memcpy(pszBuf, row.pszName, std::strlen(row.pszName) + 1);
        return row.pszName;
    }
    return nullptr;
}

int32_t OXLANG_COLLATE_ID2Str(int32_t nLat, int32_t nSecond, char* pszBuf) {
    if (pszBuf == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const bool has_latin = OXLANG_COLLATE_IsValidLatID(nLat) != 0;
    // A multi-byte collation isn't looked up, so it never comes into the text: meant.
    const bool multi_byte = OXLANG_COLLATE_IsValidMBID(nSecond) != 0;
    const char* first = multi_byte ? nullptr : OXLANG_COLLATE_ID2Name(nSecond, nullptr);
    const char* latin = has_latin ? OXLANG_COLLATE_ID2Name(nLat, nullptr) : nullptr;
    if (first == nullptr && latin == nullptr) {
        return kModule.fail(333, kNoCollation, molte::SystemError::none,
                            "at least one coll id is valid. lat=%d mb=%d", nLat, nSecond);
    }
    std::snprintf(pszBuf, kLongestText, "%s%s%s", first != nullptr ? first : "",
                  first != nullptr && latin != nullptr ? "_" : "", latin != nullptr ? latin : "");
    return 1;
}

int32_t OXLANG_COLLATE_Str2ID(const char* pszText, int32_t* pnLat, int32_t* pnMB) {
    if (pszText == nullptr || pnLat == nullptr || pnMB == nullptr) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    char text[kTextSize];
    std::snprintf(text, sizeof text, "%s", pszText);
    *pnLat = OXLANG_COLLATE_LAT_BIN;
    *pnMB = OXLANG_COLLATE_MB_BIN;
    char* underscore = std::strchr(text, '_');
    if (underscore == nullptr) return bad_text(pszText);
    const char* second = cut_second_name(underscore);
    // The report of a bad text, which follows, takes the place of these lines.
    if (!take_name(text, *pnLat, *pnMB)) {
        kModule.trace(367);
        return bad_text(pszText);
    }
    if (second != nullptr && !take_name(second, *pnLat, *pnMB)) {
        kModule.trace(371);
        return bad_text(pszText);
    }
    return 1;
}
