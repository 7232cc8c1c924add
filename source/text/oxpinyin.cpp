// The process's table, built from its file.
#include <string_view>

#include "core/owners.h"
#include "data/text_lines.h"
#include "moltelib/language.h"
#include "platform/whole_read.h"
#include "text/oxpinyin.h"

MOLTE_HZPY_TABLE g_stPinYin;

using namespace molte::pinyin;
using molte::here;

namespace {

constexpr size_t kLongestSyllable = 15;
constexpr size_t kLongestLine = 65535;  // with its end
constexpr int64_t kSizeLimit = 0x40000000;

// The content of the table file.
class Content {
 public:
    int32_t load(const char* path);
    [[nodiscard]] std::string_view text() const { return text_; }

 private:
    molte::Heap<char> block_;
    std::string_view text_;
};

int32_t Content::load(const char* path) {
    struct _stat64 status {};
    const molte::Descriptor file(platform::open_to_read(path, &status));
    if (!file.valid()) {
        return kModule.fail_text(here(), kNotOpened, molte::SystemError::runtime, path);
    }
    const int64_t size = std::min<int64_t>(status.st_size, kSizeLimit);
    block_ = molte::allocate<char>(size + 1);
    if (block_ == nullptr) return kModule.trace(here());
    const int count = _read(file.get(), block_.get(), static_cast<unsigned>(size));
    if (count < 0) {
        return kModule.fail(here(), kNotRead, molte::SystemError::runtime, "fd=%d pbuf=%p nsize=%d",
                            file.get(), static_cast<const void*>(block_.get()),
                            static_cast<int>(size));
    }
    text_ = {block_.get(), static_cast<size_t>(count)};
    return 1;
}

size_t count_letters(std::string_view line) {
    const auto* end = std::find_if_not(line.begin(), line.end(), is_letter);
    return static_cast<size_t>(end - line.begin());
}

// A lead byte that ends the line is no character.
void add_characters(MOLTE_HZPY_HZTABLE* table, std::string_view characters, const uint8_t* pair) {
    for (size_t i = 0; i + 1 < characters.size(); ++i) {
        const auto lead = static_cast<unsigned char>(characters[i]);
        if (!platform::is_lead_byte(lead)) continue;
        const int32_t code = lead * 256 + static_cast<unsigned char>(characters[++i]);
        MOLTE_HZPY_ONEHZ* character = entry_of(*table, code);
        if (character != nullptr) add_reading(character, pair);
    }
}

int32_t add_line(MOLTE_HZPY_TABLE* table, std::string_view line) {
    const size_t letters = count_letters(line);
    if (letters == 0 || letters > kLongestSyllable) return 0;
    char syllable[kLongestSyllable + 1]{};
    line.copy(syllable, letters);
    uint8_t pair[2];
    if (MOLTE_HZPY_AddPy(&table->stPY, syllable, pair) < 0) return kModule.trace(here());
    add_characters(&table->stHZ, line.substr(letters), pair);
    return 1;
}

// Leaves the entries from the first one with a reading.
int32_t cut_front(MOLTE_HZPY_HZTABLE* table) {
    const auto* end = table->pEntries + table->nCount;
    const auto* first = std::find_if<const MOLTE_HZPY_ONEHZ*>(
        table->pEntries, end, [](const auto& entry) { return entry.nCount > 0; });
    if (first == table->pEntries || first == end) return 1;
    auto rest = molte::allocate<MOLTE_HZPY_ONEHZ>(end - first);
    if (rest == nullptr) return kModule.trace(here());
    std::copy(first, end, rest.get());
    const auto skipped = static_cast<int32_t>(first - table->pEntries);
    ORVEX_free(table->pEntries);
    table->pEntries = rest.release();
    table->nFirstCode += skipped;
    table->nCount -= skipped;
    table->nCapacity = table->nCount;
    return 1;
}

}  // namespace

int32_t MOLTE_HZPY_BuildPY(MOLTE_HZPY_TABLE* pTable) {
    if (pTable == nullptr) return kModule.fail(here(), kBadArgument);
    char path[MOLTE_HZPY_PATH_SIZE];
    if (MOLTE_HZPY_HzTablePathFN(path) < 0) return kModule.trace(here());
    Content content;
    if (content.load(path) < 0) return -1;
    for (std::string_view text = content.text(); !text.empty();) {
        std::string_view line = molte::take_line(text, kLongestLine);
        if (line.ends_with('\n')) line.remove_suffix(1);
        if (add_line(pTable, line) < 0) return -1;
    }
    return cut_front(&pTable->stHZ);
}

int32_t MOLTE_HZPY_Init(MOLTE_HZPY_TABLE* pTable) {
    if (pTable != &g_stPinYin) return kModule.fail(here(), kForeignTable);
    if (pTable->bInited != 0) return 0;
    MOLTE_HZPY_Release(pTable);
    if (MOLTE_HZPY_InitHZTable(&pTable->stHZ) < 0) {
        MOLTE_HZPY_Release(pTable);
        return -1;
    }
    if (OXLANG_LID_Get(OXLANG_KIND_DEFAULT) == OXLANG_CHINESE && MOLTE_HZPY_BuildPY(pTable) < 0) {
        kModule.trace(here());
        MOLTE_HZPY_Release(pTable);
        return -1;
    }
    MOLTE_HZPY_LoadOpt(&pTable->stPY.stOpt);  // need not succeed
    pTable->bInited = 1;
    return 1;
}

int32_t MOLTE_HZPY_Release(MOLTE_HZPY_TABLE* pTable) {
    if (pTable == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_HZPY_FreePYTable(&pTable->stPY);
    return MOLTE_HZPY_FreeHZTable(&pTable->stHZ);
}
