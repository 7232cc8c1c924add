// The process's table: the lists of its parts, the readings of its characters, and how it is built
// from its file.
#include "text/oxpinyin.h"

#include <cstdlib>
#include <string_view>

#include "core/owners.h"
#include "core/oxsysutl_memory.h"
#include "core/transfer.h"
#include "moltelib/language.h"
#include "moltelib/memory.h"
#include "platform/files.h"

MOLTE_HZPY_TABLE g_stPinYin;

using namespace molte::pinyin;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr size_t kLongestSyllable = 15;
constexpr size_t kLongestPart = sizeof(MOLTE_HZPY_PHENTRY::szText) - 1;
constexpr size_t kLongestLine = 65535;  // with its end
constexpr int64_t kSizeLimit = 0x40000000;
constexpr int32_t kGrowBy = 16;
constexpr int32_t kMostParts = 256;  // an index is a byte

// See indexes_tell_readings. Every function that could make it untrue stands below.
bool made_by_init = false;

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

// The index of the part that a text begins with, in so many letters, or -1 with a report.
int32_t find_part(const MOLTE_HZPY_PHTABLE& list, const char* text, size_t letters) {
    for (int32_t i = 0; i < list.nCount; ++i) {
        if (std::strncmp(list.pEntries[i].szText, text, letters) == 0) return i;
    }
    return kModule.fail(here(), kNoSuchPart, SystemError::none, "py=%s max=%d", text, list.nCount);
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

// The content of the table file.
struct Content {
    molte::Heap<char> bytes;
    int64_t size = 0;

    int32_t load(const char* path);
};

int32_t Content::load(const char* path) {
    struct _stat64 status {};
    const molte::Descriptor file(platform::open_to_read(path, &status));
    if (!file.valid()) {
        return kModule.fail_text(here(), molte::kNotOpened, SystemError::runtime, path);
    }
    size = status.st_size;
    if (size >= kSizeLimit) {
        return kModule.fail_text(here(), molte::kFileTooLarge, SystemError::none,
                                 "file size too big max 1GB");
    }
    bytes = molte::allocate<char>(size + 1);
    if (bytes == nullptr) return kModule.trace(here());
    const auto length = static_cast<int32_t>(size);
    if (molte::read_whole(file.get(), bytes.get(), length)) return 1;
    return molte::fail_read(kModule, here(), file.get(), bytes.get(), length);
}

// Adds the syllable of a line of the file to the readings of each character behind it. A lead byte
// that ends the line is no character.
int32_t add_line(MOLTE_HZPY_TABLE* table, std::string_view line) {
    size_t at = 0;
    while (at < line.size() && molte::is_ascii_letter(line[at])) ++at;
    if (at == 0 || at > kLongestSyllable) return 0;
    char syllable[kLongestSyllable + 1]{};
    line.copy(syllable, at);
    uint8_t pair[2];
    if (MOLTE_HZPY_AddPy(&table->stPY, syllable, pair) < 0) return kModule.trace(here());
    for (; at + 1 < line.size(); ++at) {
        const auto lead = static_cast<unsigned char>(line[at]);
        if (!platform::is_lead_byte(lead)) continue;
        const auto trail = static_cast<unsigned char>(line[++at]);
        if (entry_of(table->stHZ, lead * 256 + trail) != nullptr) {
            MOLTE_HZPY_AddHz(&table->stHZ, pair, lead * 256 + trail);
        }
    }
    return 1;
}

// Leaves the entries from the first one with a reading.
void cut_front(MOLTE_HZPY_HZTABLE* table) {
    auto* const end = table->pEntries + table->nCount;
    auto* const first =
        std::find_if(table->pEntries, end, [](const auto& entry) { return entry.nCount > 0; });
    if (first == table->pEntries || first == end) return;
    const auto skipped = static_cast<int32_t>(first - table->pEntries);
    std::move(first, end, table->pEntries);
    table->nFirstCode += skipped;
    table->nCount -= skipped;
    table->nCapacity = table->nCount;
}

}  // namespace

bool molte::pinyin::indexes_tell_readings() {
    return made_by_init;
}

int32_t MOLTE_HZPY_BuildPY(MOLTE_HZPY_TABLE* pTable) {
    if (pTable == nullptr) return kModule.fail(here(), kBadArgument);
    char path[MOLTE_HZPY_PATH_SIZE];
    if (MOLTE_HZPY_HzTablePathFN(path) < 0) return kModule.trace(here());
    Content content;
    if (content.load(path) < 0) return -1;
    if (pTable->stHZ.pEntries == nullptr && MOLTE_HZPY_InitHZTable(&pTable->stHZ) < 0) {
        return kModule.trace(here());
    }
    std::string_view text{content.bytes.get(), static_cast<size_t>(content.size)};
    while (!text.empty()) {
        std::string_view line = molte::take_line(text, kLongestLine);
        if (line.ends_with('\n')) line.remove_suffix(line.ends_with("\r\n") ? 2 : 1);
        if (add_line(pTable, line) < 0) return kModule.trace(here());
    }
    cut_front(&pTable->stHZ);
    return 1;
}

int32_t MOLTE_HZPY_Init(MOLTE_HZPY_TABLE* pTable) {
    if (pTable != &g_stPinYin) return kModule.fail(here(), kForeignTable);
    if (pTable->bInited != 0) return 0;
    MOLTE_HZPY_Release(pTable);
    const bool chinese = OXLANG_LID_Get(OXLANG_KIND_DEFAULT) == OXLANG_CHINESE;
    if ((chinese ? MOLTE_HZPY_BuildPY(pTable) : MOLTE_HZPY_InitHZTable(&pTable->stHZ)) < 0) {
        kModule.trace(here());
        MOLTE_HZPY_Release(pTable);
        return -1;
    }
    MOLTE_HZPY_LoadOpt(&pTable->stPY.stOpt);  // need not succeed
    pTable->bInited = 1;
    made_by_init = true;
    return 1;
}

int32_t MOLTE_HZPY_Release(MOLTE_HZPY_TABLE* pTable) {
    if (pTable == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_HZPY_FreePYTable(&pTable->stPY);
    return MOLTE_HZPY_FreeHZTable(&pTable->stHZ);
}

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
    constexpr int32_t kCodes = 65536;
    // Pages of theirs that nobody writes cost nothing.
    void* const entries = std::calloc(kCodes, sizeof(MOLTE_HZPY_ONEHZ));
    if (entries == nullptr) {
        molte::refuse_growth(0, kCodes * int64_t{sizeof(MOLTE_HZPY_ONEHZ)});
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
    return find_part(*pPH, pszText, sizeof(MOLTE_HZPY_PHENTRY::szText));
}

int32_t MOLTE_HZPY_UTIL_AddPy(MOLTE_HZPY_PHTABLE* pPH, const char* pszText) {
    if (pPH == nullptr || pszText == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_HZPY_PHENTRY part{};
    std::memcpy(part.szText, pszText, strnlen(pszText, kLongestPart));
    // The report of a part that is new stays: meant.
    const int32_t known = find_part(*pPH, part.szText, kLongestPart);
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
    const int32_t count = readings_in(*character);
    for (int32_t i = 0; i < count; ++i) {
        if (std::memcmp(character->abyPair[i], pPair, 2) == 0) return 0;
    }
    if (count == MOLTE_HZPY_MAX_READINGS) return 1;  // dropped: meant
    std::memcpy(character->abyPair[count], pPair, 2);
    character->nCount = static_cast<uint8_t>(count + 1);
    return 1;
}
