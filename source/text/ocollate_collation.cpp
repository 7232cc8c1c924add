// Comparing characters and texts, and choosing a comparison.
#include <cstring>

#include "data/oxstring.h"
#include "moltelib/collation.h"
#include "moltelib/language.h"
#include "moltelib/pinyin.h"
#include "moltelib/text.h"
#include "moltelib/wild_match.h"
#include "platform/code_page.h"

namespace {

int32_t compare_readings(int32_t a, int32_t b, uint8_t mode) {
    const MOLTE_HZPY_CMPOPT options{mode, 1, {}};
    return MOLTE_HZPY_Cmp(&g_stPinYin, static_cast<uint16_t>(a), static_cast<uint16_t>(b),
                          &options);
}

// The first character as it stands in memory now: the walk below may only end because another
// thread changes a text, so the compiler must not take one reading for the next.
molte::Character head_of(const volatile char* text) {
    if (text == nullptr) return {0, 0};
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead == 0) return {0, 0};
    const auto trail = platform::is_lead_byte(lead) ? static_cast<unsigned char>(text[1]) : 0;
    return trail != 0 ? molte::Character{lead * 256 + trail, 2} : molte::Character{lead, 1};
}

}  // namespace

int32_t OCOLL_SB_CharCiCmp(int32_t a, int32_t b) {
    return OCOLL_DB_CharBinCmp(molte::capital_of(a), molte::capital_of(b));
}

int32_t OCOLL_DB_CharBinCmp(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

int32_t OCOLL_SB_CharBinCmp(int32_t a, int32_t b) {
    return OCOLL_DB_CharBinCmp(a, b);
}

int32_t OCOLL_DB_CharPyCmp(int32_t a, int32_t b) {
    return compare_readings(a, b, 0);
}

int32_t OCOLL_DB_CharVarPyCmp(int32_t a, int32_t b, int32_t bVarA) {
    return compare_readings(a, b, bVarA != 0 ? MOLTE_HZPY_VARIANT_A : MOLTE_HZPY_VARIANT_B);
}

int32_t OCOLL_DB_CharAVarPyCmp(int32_t a, int32_t b) {
    return compare_readings(a, b, MOLTE_HZPY_VARIANT_A);
}

int32_t OCOLL_DB_CharBVarPyCmp(int32_t a, int32_t b) {
    return compare_readings(a, b, MOLTE_HZPY_VARIANT_B);
}

int32_t OCOLL_MB_CharCmp(int32_t a, int32_t nLenA, int32_t b, int32_t nLenB, OCOLL_CHARCMP sbCmp,
                         OCOLL_CHARCMP dbCmp) {
    const bool single_a = nLenA == 1;
    const bool single_b = nLenB == 1;
    if (single_a != single_b) return single_a ? -1 : 1;
    return single_a ? sbCmp(a, b) : dbCmp(a, b);
}

int32_t MOLTE_CompKey(const char* a, const char* b) {
    const int order = std::strcmp(a != nullptr ? a : "", b != nullptr ? b : "");
    return (order > 0) - (order < 0);
}

int32_t OCOLL_MB_StrBinCmp(const char* a, const char* b) {
    return MOLTE_CompKey(a, b);
}

int32_t OCOLL_SB_StrBinCmp(const char* a, const char* b) {
    return MOLTE_CompKey(a, b);
}

int32_t OCOLL_SB_StrCiCmp(const char* a, const char* b) {
    return MOLTE_STR_stricmp(a, b);
}

int32_t UTIL_MB_StrCmp(const char* a, const char* b, OCOLL_CHARCMP sbCmp, OCOLL_CHARCMP dbCmp) {
    for (;;) {
        const molte::Character x = head_of(a);
        const molte::Character y = head_of(b);
        if (x.size == 0 || y.size == 0) return (x.size != 0) - (y.size != 0);
        const int32_t order = OCOLL_MB_CharCmp(x.value, x.size, y.value, y.size, sbCmp, dbCmp);
        if (order != 0) return order;
        // The same two again, for ever: meant.
    }
}

int32_t OCOLL_MB_StrPyCiCmp(const char* a, const char* b) {
    return UTIL_MB_StrCmp(a, b, OCOLL_SB_CharCiCmp, OCOLL_DB_CharPyCmp);
}

int32_t OCOLL_MB_StrAVarPyCiCmp(const char* a, const char* b) {
    return UTIL_MB_StrCmp(a, b, OCOLL_SB_CharCiCmp, OCOLL_DB_CharAVarPyCmp);
}

int32_t OCOLL_MB_StrBVarPyCiCmp(const char* a, const char* b) {
    return UTIL_MB_StrCmp(a, b, OCOLL_SB_CharCiCmp, OCOLL_DB_CharBVarPyCmp);
}

int32_t OCOLL_MB_StrPyCsCmp(const char* a, const char* b) {
    return UTIL_MB_StrCmp(a, b, OCOLL_SB_CharBinCmp, OCOLL_DB_CharPyCmp);
}

int32_t OCOLL_MB_StrAVarPyCsCmp(const char* a, const char* b) {
    return UTIL_MB_StrCmp(a, b, OCOLL_SB_CharBinCmp, OCOLL_DB_CharAVarPyCmp);
}

int32_t OCOLL_MB_StrBVarPyCsCmp(const char* a, const char* b) {
    return UTIL_MB_StrCmp(a, b, OCOLL_SB_CharBinCmp, OCOLL_DB_CharBVarPyCmp);
}

OCOLL_CHARCMP ORVEX_UTIL_GetLatCmpRoutine(int32_t nLatId) {
    return nLatId == OXLANG_COLLATE_LAT_CS ? OCOLL_DB_CharBinCmp : OCOLL_SB_CharCiCmp;
}

OCOLL_CHARCMP ORVEX_UTIL_GetMBCmpRoutine(void) {
    return OCOLL_DB_CharBinCmp;
}

OCOLL_WILDMATCH ORVEX_UTIL_GetWildMatchRoutine(int32_t nLatId, int32_t nMbId) {
    const bool with_case = nLatId == OXLANG_COLLATE_LAT_CS;
    if (OXLANG_LID_Get(OXLANG_KIND_DEFAULT) != OXLANG_CHINESE) {
        return with_case ? ORVEX_WildMatch : ORVEX_Ci_WildMatch;
    }
    switch (nMbId) {
        case OXLANG_COLLATE_MB_VARPY:
            return with_case ? ORVEX_MB_WildVarPyMatch : ORVEX_MB_Ci_WildVarPyMatch;
        case OXLANG_COLLATE_MB_PY:
            return with_case ? ORVEX_MB_WildPyMatch : ORVEX_MB_Ci_WildPyMatch;
        default:
            return with_case ? ORVEX_MB_WildMatch : ORVEX_MB_Ci_WildMatch;
    }
}
