// The lists of shengmu and yunmu, and the readings of characters as they are collected.
#include <cstdlib>

#include "core/oxsysutl_memory.h"
#include "moltelib/memory.h"
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
    const char first = syllable[0];
    if (first == '\0' || first == 'A' || first == 'E' || first == 'O') return 0;
    return syllable[1] == 'H' ? 2 : 1;
}

// The first letters of a text, to be found in a list in one step for each part. They are compared
// with the terminator if it is among them.
class PartKey {
 public:
    PartKey(const char* text, size_t most) {
        for (size_t i = 0; i < most; ++i) {
            part_.szText[i] = text[i];
            compared_.szText[i] = '\xFF';
            if (text[i] == '\0') return;
        }
    }
    [[nodiscard]] const MOLTE_HZPY_PHENTRY& part() const { return part_; }
    // The index, or -1 with a report.
    [[nodiscard]] int32_t find_in(const MOLTE_HZPY_PHTABLE& list, const char* text) const;

 private:
    MOLTE_HZPY_PHENTRY part_{};
    MOLTE_HZPY_PHENTRY compared_{};
};

int32_t PartKey::find_in(const MOLTE_HZPY_PHTABLE& list, const char* text) const {
    uint64_t wanted;
    uint64_t compared;
    std::memcpy(&wanted, &part_, sizeof wanted);
    std::memcpy(&compared, &compared_, sizeof compared);
    for (int32_t i = 0; i < list.nCount; ++i) {
        uint64_t entry;
        std::memcpy(&entry, list.pEntries + i, sizeof entry);
        if (((entry ^ wanted) & compared) == 0) return i;
    }
    return kModule.fail(here(), kNoSuchPart, molte::SystemError::none, "py=%s max=%d", text,
                        list.nCount);
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
    if (pPY == &g_stPinYin.stPY) made_by_init = false;
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
    return make_entries(pHZ, 0);
}

int32_t molte::pinyin::make_entries(MOLTE_HZPY_HZTABLE* table, int32_t first_code) {
    const int32_t count = kCodes - first_code;
    void* const entries = std::calloc(static_cast<size_t>(count), sizeof(MOLTE_HZPY_ONEHZ));
    if (entries == nullptr) {
        refuse_growth(0, count * int64_t{sizeof(MOLTE_HZPY_ONEHZ)});
        return kModule.trace(here());
    }
    *table = {static_cast<MOLTE_HZPY_ONEHZ*>(entries), count, count, first_code};
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
    return PartKey(pszText, sizeof(MOLTE_HZPY_PHENTRY::szText)).find_in(*pPH, pszText);
}

int32_t MOLTE_HZPY_UTIL_AddPy(MOLTE_HZPY_PHTABLE* pPH, const char* pszText) {
    if (pPH == nullptr || pszText == nullptr) return kModule.fail(here(), kBadArgument);
    const PartKey key(pszText, sizeof(MOLTE_HZPY_PHENTRY::szText) - 1);
    const MOLTE_HZPY_PHENTRY& part = key.part();
    // The report of a part that is new stays: meant.
    const int32_t known = key.find_in(*pPH, part.szText);
    if (known >= 0) return known;
    if (pPH->nCount >= kMostParts) return kModule.fail(here(), kBadArgument);
    if (!make_room(pPH)) return kModule.trace(here());
    pPH->pEntries[pPH->nCount] = part;
    return pPH->nCount++;
}

int32_t MOLTE_HZPY_AddPy(MOLTE_HZPY_PYTABLE* pPY, char* pszSyllable, uint8_t* pPair) {
    if (pPY == nullptr || pszSyllable == nullptr || pPair == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    upper_case(pszSyllable);
    const size_t size = shengmu_size(pszSyllable);
    const char shengmu[3] = {size > 0 ? pszSyllable[0] : '\0', size > 1 ? 'H' : '\0'};
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
    if (pHZ == &g_stPinYin.stHZ) made_by_init = false;  // the pair may be of no parts
    return add_reading(character, pPair);
}
