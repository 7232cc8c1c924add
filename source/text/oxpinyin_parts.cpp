// The lists of shengmu and yunmu, and the readings of characters as they are collected.
#include "core/owners.h"
#include "text/oxpinyin.h"

using namespace molte::pinyin;
using molte::here;

namespace {

constexpr int32_t kGrowBy = 16;
constexpr int32_t kMostParts = 256;  // an index is a byte
constexpr int32_t kCodes = 65536;

void upper_case(char* text) {
    for (; *text != '\0'; ++text) {
        if (*text >= 'a' && *text <= 'z') *text = static_cast<char>(*text - 'a' + 'A');
    }
}

// Where the yunmu of a syllable in upper case begins.
size_t shengmu_size(const char* syllable) {
    if (syllable[0] == '\0' || std::strchr("AEO", syllable[0]) != nullptr) return 0;
    return syllable[1] == 'H' ? 2 : 1;
}

bool make_room(MOLTE_HZPY_PHTABLE* list) {
    if (list->nCount < list->nCapacity) return true;
    void* entries = list->pEntries;
    if (ORVEX_release_realloc(&entries, sizeof *list->pEntries, &list->nCapacity, kGrowBy) < 0) {
        return false;
    }
    list->pEntries = static_cast<MOLTE_HZPY_PHENTRY*>(entries);
    return true;
}

}  // namespace

int32_t MOLTE_HZPY_InitPYTable(MOLTE_HZPY_PYTABLE* pPY) {
    if (pPY == nullptr) return kModule.fail(here(), kBadArgument);
    *pPY = {};
    return 1;
}

int32_t MOLTE_HZPY_FreePYTable(MOLTE_HZPY_PYTABLE* pPY) {
    if (pPY == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_HZPY_FreePHTable(&pPY->stShengmu);
    MOLTE_HZPY_FreePHTable(&pPY->stYunmu);
    return MOLTE_HZPY_InitPYTable(pPY);
}

int32_t MOLTE_HZPY_FreePHTable(MOLTE_HZPY_PHTABLE* pPH) {
    if (pPH == nullptr) return kModule.fail(here(), kBadArgument);
    ORVEX_free(pPH->pEntries);
    *pPH = {};
    return 1;
}

int32_t MOLTE_HZPY_InitHZTable(MOLTE_HZPY_HZTABLE* pHZ) {
    if (pHZ == nullptr) return kModule.fail(here(), kBadArgument);
    *pHZ = {};
    void* entries = nullptr;
    int32_t capacity = 0;
    if (ORVEX_release_realloc(&entries, sizeof *pHZ->pEntries, &capacity, kCodes) < 0) {
        return kModule.trace(here());
    }
    *pHZ = {static_cast<MOLTE_HZPY_ONEHZ*>(entries), kCodes, kCodes, 0};
    return 1;
}

int32_t MOLTE_HZPY_FreeHZTable(MOLTE_HZPY_HZTABLE* pHZ) {
    if (pHZ == nullptr) return kModule.fail(here(), kBadArgument);
    ORVEX_free(pHZ->pEntries);
    *pHZ = {};
    return 1;
}

int32_t MOLTE_HZPY_UTIL_GetPyIndex(const MOLTE_HZPY_PHTABLE* pPH, const char* pszText) {
    if (pPH == nullptr || pszText == nullptr) return kModule.fail(here(), kBadArgument);
    // A part is compared with the terminator, where it has one.
    const size_t size = std::min(std::strlen(pszText) + 1, sizeof(MOLTE_HZPY_PHENTRY::szText));
    for (int32_t i = 0; i < pPH->nCount; ++i) {
        const char* part = pPH->pEntries[i].szText;
        if (part[0] == pszText[0] && std::memcmp(part, pszText, size) == 0) return i;
    }
    return kModule.fail(here(), kNoSuchPart, molte::SystemError::none, "py=%s max=%d", pszText,
                        pPH->nCount);
}

int32_t MOLTE_HZPY_UTIL_AddPy(MOLTE_HZPY_PHTABLE* pPH, const char* pszText) {
    if (pPH == nullptr || pszText == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_HZPY_PHENTRY added{};
    std::memcpy(added.szText, pszText, strnlen(pszText, sizeof added.szText - 1));
    // The report of a part that is new stays: meant.
    const int32_t known = MOLTE_HZPY_UTIL_GetPyIndex(pPH, added.szText);
    if (known >= 0) return known;
    if (pPH->nCount >= kMostParts) return kModule.fail(here(), kBadArgument);
    if (!make_room(pPH)) return kModule.trace(here());
    pPH->pEntries[pPH->nCount] = added;
    return pPH->nCount++;
}

int32_t MOLTE_HZPY_AddPy(MOLTE_HZPY_PYTABLE* pPY, char* pszSyllable, uint8_t* pPair) {
    if (pPY == nullptr || pszSyllable == nullptr || pPair == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    upper_case(pszSyllable);
    const size_t size = shengmu_size(pszSyllable);
    char shengmu[3]{};
    std::memcpy(shengmu, pszSyllable, size);
    const int32_t first = MOLTE_HZPY_UTIL_AddPy(&pPY->stShengmu, shengmu);
    if (first < 0) return kModule.trace(here());
    const int32_t second = MOLTE_HZPY_UTIL_AddPy(&pPY->stYunmu, pszSyllable + size);
    if (second < 0) return kModule.trace(here());
    pPair[0] = static_cast<uint8_t>(first);
    pPair[1] = static_cast<uint8_t>(second);
    return 1;
}

int32_t MOLTE_HZPY_AddHz(MOLTE_HZPY_HZTABLE* pHZ, const uint8_t* pPair, int32_t nCode) {
    if (pHZ == nullptr || pPair == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_HZPY_ONEHZ* character = entry_of(*pHZ, nCode);
    if (character == nullptr) return kModule.fail(here(), kBadArgument);
    return add_reading(character, pPair);
}
