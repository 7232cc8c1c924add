// Looking readings up, writing and comparing them.
#include <cstdio>

#include "text/oxpinyin_readings.h"

using namespace molte::pinyin;
using molte::Character;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

int32_t sign_of(int difference) {
    return (difference > 0) - (difference < 0);
}

int32_t compare_parts(const MOLTE_HZPY_PHENTRY& a, const MOLTE_HZPY_PHENTRY& b) {
    return sign_of(std::strncmp(a.szText, b.szText, sizeof a.szText));
}

int32_t compare_syllables(const MOLTE_HZPY_PYTABLE& table, const uint8_t* a, const uint8_t* b) {
    return sign_of(std::strcmp(Syllable(table, a).text(), Syllable(table, b).text()));
}

// Compared by unsigned bytes, as all here.
int32_t compare_pairs(const MOLTE_HZPY_PYTABLE& table, const uint8_t* a, const uint8_t* b,
                      int32_t mode) {
    if (std::memcmp(a, b, 2) == 0) return 0;
    if (mode == MOLTE_HZPY_VARIANT_A) return compare_syllables(table, a, b);
    if (mode != 0) return -compare_syllables(table, b, a);
    return a[0] != b[0]
               ? compare_parts(part_at(table.stShengmu, a[0]), part_at(table.stShengmu, b[0]))
               : compare_parts(part_at(table.stYunmu, a[1]), part_at(table.stYunmu, b[1]));
}

// Most readings can't be equal by the first letters of their shengmu.
bool may_be_equal(const MOLTE_HZPY_PYTABLE& table, const uint8_t* a, const uint8_t* b,
                  int32_t mode) {
    const char x = part_at(table.stShengmu, a[0]).szText[0];
    const char y = part_at(table.stShengmu, b[0]).szText[0];
    return x == y || (mode != 0 && (x == '\0' || y == '\0'));
}

}  // namespace

bool molte::pinyin::share_reading(const MOLTE_HZPY_PYTABLE& table, const MOLTE_HZPY_ONEHZ& a,
                                  const MOLTE_HZPY_ONEHZ& b, int32_t mode) {
    for (int32_t i = 0; i < readings_in(a); ++i) {
        for (int32_t k = 0; k < readings_in(b); ++k) {
            const uint8_t* x = a.abyPair[i];
            const uint8_t* y = b.abyPair[k];
            if (may_be_equal(table, x, y, mode) && compare_pairs(table, x, y, mode) == 0) {
                return true;
            }
        }
    }
    return false;
}

int32_t MOLTE_HZPY_HzCode2Py(int32_t nCode, MOLTE_HZPY_ONEHZ* pOneHz) {
    if (pOneHz == nullptr) return kModule.fail(here(), kBadArgument);
    *pOneHz = {};
    const MOLTE_HZPY_ONEHZ* readings = readings_of(nCode);
    if (readings == nullptr) return -1;
    *pOneHz = *readings;
    return readings->nCount > 0 ? 1 : 0;
}

int32_t MOLTE_HZPY_HzChar2Py(const char* pszText, MOLTE_HZPY_ONEHZ* pOneHz) {
    if (pszText == nullptr || pOneHz == nullptr) return kModule.fail(here(), kBadArgument);
    const Character c = first_name_character(pszText);
    if (is_double(c)) return MOLTE_HZPY_HzCode2Py(c.value, pOneHz);
    *pOneHz = {};
    return kModule.fail(here(), kSingleByte, SystemError::none, "str=%c. %d byte=%d", c.value,
                        c.value, 1);
}

int32_t MOLTE_HZPY_PINYIN2Str(const uint8_t* pPair, char* pszDst) {
    if (pPair == nullptr || pszDst == nullptr) return kModule.fail(here(), kBadArgument);
    std::strcpy(pszDst, Syllable(g_stPinYin.stPY, pPair).text());
    return 1;
}

int32_t MOLTE_HZPY_ONEHZ2Str(const MOLTE_HZPY_ONEHZ* pOneHz, MOLTE_HZPY_ONEHZSTR* pStr) {
    if (pOneHz == nullptr || pStr == nullptr) return kModule.fail(here(), kBadArgument);
    *pStr = {};
    pStr->nCount = readings_in(*pOneHz);
    for (int32_t i = 0; i < pStr->nCount; ++i) {
        char reading[kReadingRoom]{};
        write_reading(reading, g_stPinYin.stPY, pOneHz->abyPair[i]);
        std::memcpy(pStr->aszPY[i], reading, sizeof pStr->aszPY[i] - 1);
    }
    return 1;
}

int32_t MOLTE_HZ_Code2Str(int32_t nCode, char* pOut) {
    if (pOut == nullptr) return kModule.fail(here(), kBadArgument);
    pOut[0] = static_cast<char>(nCode >> 8);
    pOut[1] = static_cast<char>(nCode);
    return 1;
}

// Partners are no candidates here, though the lists hold them: no reading is equal by its partner,
// which is meant.
int32_t UTIL_A_FuzzyMatch(const MOLTE_HZPY_PYTABLE* pPY, const MOLTE_HZPY_PHENTRY* pShengmuA,
                          const MOLTE_HZPY_PHENTRY* pYunmuA, const MOLTE_HZPY_PHENTRY* pShengmuB,
                          const MOLTE_HZPY_PHENTRY* pYunmuB) {
    static_cast<void>(pPY);
    if (pShengmuA == nullptr || pYunmuA == nullptr || pShengmuB == nullptr || pYunmuB == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    const Syllable a(*pShengmuA, *pYunmuA);
    const Syllable b(*pShengmuB, *pYunmuB);
    return sign_of(std::strcmp(a.text(), b.text()));
}

int32_t MOLTE_HZPY_UTIL_HzCmp(const MOLTE_HZPY_PYTABLE* pPY, const uint8_t* pPairA,
                              const uint8_t* pPairB, int32_t nMode) {
    if (pPY == nullptr || pPairA == nullptr || pPairB == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    return compare_pairs(*pPY, pPairA, pPairB, nMode);
}

int32_t MOLTE_HZPY_Cmp(const MOLTE_HZPY_TABLE* pTable, uint16_t nCodeA, uint16_t nCodeB,
                       const MOLTE_HZPY_CMPOPT* pOpt) {
    if (pTable == nullptr || pOpt == nullptr) return kModule.fail(here(), kBadArgument);
    const int32_t by_code = nCodeA - nCodeB;
    if (pOpt->bPinyin == 0) return by_code;
    const MOLTE_HZPY_ONEHZ* a = entry_of(pTable->stHZ, nCodeA);
    const MOLTE_HZPY_ONEHZ* b = entry_of(pTable->stHZ, nCodeB);
    if (a == nullptr || b == nullptr || a->nCount == 0 || b->nCount == 0) return by_code;
    const bool several = a->nCount + b->nCount >= 3;
    if (several && share_reading(pTable->stPY, *a, *b, pOpt->nMode)) return 0;
    return compare_pairs(pTable->stPY, a->abyPair[0], b->abyPair[0], pOpt->nMode);
}

int32_t MOLTE_HZPY_PrintPHArr(const MOLTE_HZPY_PHTABLE* pPH) {
    if (pPH == nullptr) return kModule.fail(here(), kBadArgument);
    for (int32_t i = 0; i < pPH->nCount; ++i) {
        std::printf("i=%02d  %.6s\n", i, pPH->pEntries[i].szText);
    }
    return 1;
}

int32_t MOLTE_HZPY_PrintPYTable(const MOLTE_HZPY_PYTABLE* pPY) {
    if (pPY == nullptr) return kModule.fail(here(), kBadArgument);
    std::printf("Shengmu\n");
    MOLTE_HZPY_PrintPHArr(&pPY->stShengmu);
    std::printf("\nYunmu\n");
    return MOLTE_HZPY_PrintPHArr(&pPY->stYunmu);
}

int32_t MOLTE_HZPY_PrintHz(const MOLTE_HZPY_TABLE* pTable) {
    if (pTable == nullptr) return kModule.fail(here(), kBadArgument);
    const MOLTE_HZPY_PYTABLE& parts = pTable->stPY;
    for (int32_t i = 0; i < pTable->stHZ.nCount; ++i) {
        const MOLTE_HZPY_ONEHZ& entry = pTable->stHZ.pEntries[i];
        if (entry.nCount == 0) continue;
        char character[3]{};
        MOLTE_HZ_Code2Str(pTable->stHZ.nFirstCode + i, character);
        std::printf("%s ", character);
        for (int32_t k = 0; k < readings_in(entry); ++k) {
            std::printf("%.6s-%.6s  ", part_at(parts.stShengmu, entry.abyPair[k][0]).szText,
                        part_at(parts.stYunmu, entry.abyPair[k][1]).szText);
        }
        std::printf("\n");
    }
    return 1;
}
