// Names of collations.
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "moltelib/language.h"

namespace {

constexpr auto kModule = molte::kOxlang;
using molte::kBadArgument;
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
