// The process's table, built from its file.
#include <cerrno>
#include <string_view>

#include "core/owners.h"
#include "data/oxstring.h"
#include "moltelib/language.h"
#include "platform/files.h"
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
    const int64_t size = status.st_size;
    if (size >= kSizeLimit) {
        return kModule.fail_text(here(), kFileTooLarge, molte::SystemError::none,
                                 "file size too big max 1GB");
    }
    block_ = molte::allocate<char>(size + 1);
    if (block_ == nullptr) return kModule.trace(here());
    errno = 0;
    if (_read(file.get(), block_.get(), static_cast<unsigned>(size)) != size) {
        return kModule.fail(here(), kNotRead, molte::SystemError::runtime, "fd=%d pbuf=%p nsize=%d",
                            file.get(), static_cast<const void*>(block_.get()),
                            static_cast<int>(size));
    }
    text_ = {block_.get(), static_cast<size_t>(size)};
    return 1;
}

// The letters at the start of a line.
struct Letters {
    char text[kLongestSyllable + 1]{};  // the first of them
    size_t count = 0;
    uint64_t number = 0;  // of the last eight; unlike for unlike texts of no more

    explicit Letters(std::string_view line) {
        for (; count < line.size() && molte::is_ascii_letter(line[count]); ++count) {
            if (count < kLongestSyllable) text[count] = line[count];
            number = number << 8 | static_cast<unsigned char>(line[count]);
        }
    }
};

struct Reading {
    uint16_t code;
    uint8_t pair[2];
};

// The readings of a file's characters, in its order. They are collected first and entered then: the
// entries lie all over a table larger than the nearer caches, so each is asked for well ahead.
class Readings {
 public:
    int32_t collect(std::string_view text, MOLTE_HZPY_PYTABLE* parts);
    void enter(MOLTE_HZPY_HZTABLE table) const;
    [[nodiscard]] int32_t first_code() const;

 private:
    int32_t add_line(std::string_view line, MOLTE_HZPY_PYTABLE* parts);
    int32_t find_pair(Letters& letters, MOLTE_HZPY_PYTABLE* parts, uint8_t* pair);

    molte::Heap<Reading> readings_;
    size_t count_ = 0;
    bool is_lead_[256];
    uint64_t known_[2048]{};  // the syllable of each place: 11 bits of a hash
    uint8_t known_pair_[2048][2];
};

int32_t Readings::collect(std::string_view text, MOLTE_HZPY_PYTABLE* parts) {
    readings_ = molte::allocate<Reading>(static_cast<int64_t>(text.size() / 2) + 1);
    if (readings_ == nullptr) return kModule.trace(here());
    for (unsigned byte = 0; byte < std::size(is_lead_); ++byte) {
        is_lead_[byte] = platform::is_lead_byte(static_cast<unsigned char>(byte));
    }
    while (!text.empty()) {
        std::string_view line = molte::take_line(text, kLongestLine);
        if (line.ends_with('\n')) line.remove_suffix(line.ends_with("\r\n") ? 2 : 1);
        if (add_line(line, parts) < 0) return -1;
    }
    return 1;
}

// A file names most syllables several times; those of up to eight letters are remembered.
int32_t Readings::find_pair(Letters& letters, MOLTE_HZPY_PYTABLE* parts, uint8_t* pair) {
    const size_t place = letters.number * 0x9E3779B97F4A7C15 >> 53;
    const bool rememberable = letters.count <= sizeof letters.number;
    if (rememberable && known_[place] == letters.number) {
        std::memcpy(pair, known_pair_[place], 2);
        return 1;
    }
    if (MOLTE_HZPY_AddPy(parts, letters.text, pair) < 0) return kModule.trace(here());
    if (rememberable) {
        known_[place] = letters.number;
        std::memcpy(known_pair_[place], pair, 2);
    }
    return 1;
}

// A lead byte that ends the line is no character.
int32_t Readings::add_line(std::string_view line, MOLTE_HZPY_PYTABLE* parts) {
    Letters letters(line);
    if (letters.count == 0 || letters.count > kLongestSyllable) return 0;
    uint8_t pair[2];
    if (find_pair(letters, parts, pair) < 0) return kModule.trace(here());
    Reading reading{0, {pair[0], pair[1]}};
    Reading* end = &readings_[count_];
    const char* const last = line.data() + line.size() - 1;
    for (const char* at = line.data() + letters.count; at < last; ++at) {
        if (!is_lead_[static_cast<unsigned char>(*at)]) continue;
        reading.code = static_cast<uint16_t>(static_cast<unsigned char>(at[0]) * 256 +
                                             static_cast<unsigned char>(at[1]));
        *end++ = reading;
        ++at;
    }
    count_ = static_cast<size_t>(end - readings_.get());
    return 1;
}

// 0 when there are none.
int32_t Readings::first_code() const {
    uint16_t first = count_ > 0 ? 0xFFFF : 0;
    for (size_t i = 0; i < count_; ++i) first = std::min(first, readings_[i].code);
    return first;
}

void Readings::enter(MOLTE_HZPY_HZTABLE table) const {
    constexpr ptrdiff_t kAhead = 16;
    const Reading* const end = readings_.get() + count_;
    for (const Reading* at = readings_.get(); at < end; ++at) {
        if (end - at > kAhead) {
            __builtin_prefetch(table.pEntries + (at[kAhead].code - table.nFirstCode), 1);
        }
        MOLTE_HZPY_ONEHZ* character = entry_of(table, at->code);
        if (character != nullptr) add_reading(character, at->pair);
    }
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

int32_t MOLTE_HZPY_BuildPY(MOLTE_HZPY_TABLE* pTable) {
    if (pTable == nullptr) return kModule.fail(here(), kBadArgument);
    char path[MOLTE_HZPY_PATH_SIZE];
    if (MOLTE_HZPY_HzTablePathFN(path) < 0) return kModule.trace(here());
    Content content;
    if (content.load(path) < 0) return -1;
    Readings readings;
    if (readings.collect(content.text(), &pTable->stPY) < 0) return kModule.trace(here());
    MOLTE_HZPY_HZTABLE* characters = &pTable->stHZ;
    if (characters->pEntries == nullptr && make_entries(characters, readings.first_code()) < 0) {
        return kModule.trace(here());
    }
    readings.enter(*characters);
    cut_front(characters);
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
