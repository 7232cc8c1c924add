// What the files of module "oxpinyin" share: its reports, and looking into the table within bounds.
#pragma once

#include <algorithm>
#include <bit>
#include <cstring>

#include "core/modules.h"
#include "moltelib/pinyin.h"
#include "platform/code_page.h"

namespace molte::pinyin {

inline constexpr auto kModule = molte::kOxpinyin;

using molte::kBadArgument;
using molte::kNotOpened;
using molte::kNotRead;
using molte::kNotWritten;
using molte::kTooLong;
inline constexpr uint32_t kFileTooLarge = 303;
inline constexpr uint32_t kNoSuchPart = 930;
inline constexpr uint32_t kForeignTable = 931;
inline constexpr uint32_t kCodeTooLarge = 932;
inline constexpr uint32_t kNotBuilt = 933;
inline constexpr uint32_t kSingleByte = 934;
inline constexpr uint32_t kBadCall = 935;
inline constexpr uint32_t kTextTooLong = 936;

// A part, or the empty one when the index is beyond the list.
inline const MOLTE_HZPY_PHENTRY& part_at(const MOLTE_HZPY_PHTABLE& list, uint8_t index) {
    static constexpr MOLTE_HZPY_PHENTRY kEmpty{};
    return index < list.nCount ? list.pEntries[index] : kEmpty;
}

// The entry of a code, or null.
inline MOLTE_HZPY_ONEHZ* entry_of(const MOLTE_HZPY_HZTABLE& table, int32_t code) {
    const uint32_t index = static_cast<uint32_t>(code) - static_cast<uint32_t>(table.nFirstCode);
    return index < static_cast<uint32_t>(table.nCount) ? table.pEntries + index : nullptr;
}

// Makes entries without readings for the codes from this one on; 1 or -1. Pages of theirs that
// nobody writes cost nothing.
int32_t make_entries(MOLTE_HZPY_HZTABLE* table, int32_t first_code);

inline int32_t readings_in(const MOLTE_HZPY_ONEHZ& character) {
    return std::min<int32_t>(character.nCount, MOLTE_HZPY_MAX_READINGS);
}

// The readings of a code, perhaps none; null, with a report, for a code that is too large and when
// the table isn't built.
inline const MOLTE_HZPY_ONEHZ* readings_of(int32_t code) {
    static constexpr MOLTE_HZPY_ONEHZ kNone{};
    if (code > 0xFFFF) {
        kModule.fail(here(), kCodeTooLarge, SystemError::none, "hz code=%d", code);
        return nullptr;
    }
    if (g_stPinYin.bInited == 0) {
        kModule.fail(here(), kNotBuilt);
        return nullptr;
    }
    const MOLTE_HZPY_ONEHZ* entry = entry_of(g_stPinYin.stHZ, code);
    return entry != nullptr ? entry : &kNone;
}

// 0 when the character has the reading already; else 1, also when it is full.
inline int32_t add_reading(MOLTE_HZPY_ONEHZ* character, const uint8_t* pair) {
    const int32_t count = readings_in(*character);
    for (int32_t i = 0; i < count; ++i) {
        if (std::memcmp(character->abyPair[i], pair, 2) == 0) return 0;
    }
    if (count == MOLTE_HZPY_MAX_READINGS) return 1;  // dropped: meant
    std::memcpy(character->abyPair[count], pair, 2);
    character->nCount = static_cast<uint8_t>(count + 1);
    return 1;
}

// Writes a part to room for 8 bytes; its end, without terminator. The text is handled as one number
// whose lowest byte comes first; the lowest zero byte is where the subtraction borrows first.
[[gnu::always_inline]] inline char* write_part(char* at, const MOLTE_HZPY_PHENTRY& part) {
    static_assert(sizeof part == 8 && std::endian::native == std::endian::little);
    uint64_t text;
    std::memcpy(&text, &part, sizeof text);
    text &= 0xFFFF'FFFF'FFFF;  // without what stands behind the text
    std::memcpy(at, &text, sizeof text);
    const uint64_t zeros = (text - 0x0101'0101'0101'0101) & ~text & 0x8080'8080'8080'8080;
    return at + std::countr_zero(zeros) / 8;
}

// Writes a reading to room for kReadingRoom bytes; its end, without terminator.
inline constexpr size_t kReadingRoom = 14;
inline char* write_reading(char* at, const MOLTE_HZPY_PYTABLE& table, const uint8_t* pair) {
    return write_part(write_part(at, part_at(table.stShengmu, pair[0])),
                      part_at(table.stYunmu, pair[1]));
}

// A syllable as text.
class Syllable {
 public:
    Syllable(const MOLTE_HZPY_PHENTRY& shengmu, const MOLTE_HZPY_PHENTRY& yunmu)
        : size_(static_cast<size_t>(write_part(write_part(text_, shengmu), yunmu) - text_)) {
        text_[size_] = '\0';
    }
    Syllable(const MOLTE_HZPY_PYTABLE& table, const uint8_t* pair)
        : Syllable(part_at(table.stShengmu, pair[0]), part_at(table.stYunmu, pair[1])) {}

    [[nodiscard]] const char* text() const { return text_; }
    [[nodiscard]] size_t size() const { return size_; }

 private:
    char text_[MOLTE_HZPY_TEXT_SIZE];
    size_t size_;
};

// Whether g_stPinYin is what MOLTE_HZPY_Init made, with no part twice and no pair of none: readings
// are equal just when their indexes are. A program may fill it in another way, or add to it.
inline bool made_by_init = false;

// Whether two characters have a pair of indexes in common.
inline bool share_pair(const MOLTE_HZPY_ONEHZ& a, const MOLTE_HZPY_ONEHZ& b) {
    typedef uint16_t Lanes __attribute__((vector_size(16)));
    static_assert(sizeof(Lanes) == sizeof a);
    constexpr Lanes kNumbers{0, 1, 2, 3, 4, 5, 6, 7};
    Lanes pairs;
    std::memcpy(&pairs, &a, sizeof pairs);
    const Lanes in_use = kNumbers < (Lanes{} + a.nCount);
    Lanes hits{};
    for (int32_t i = 0; i < readings_in(b); ++i) {
        uint16_t pair;
        std::memcpy(&pair, b.abyPair[i], sizeof pair);
        hits |= pairs == (Lanes{} + pair);
    }
    hits &= in_use;
    uint64_t halves[2];
    std::memcpy(halves, &hits, sizeof halves);
    return (halves[0] | halves[1]) != 0;
}

// Whether a reading of one is equal to one of the other.
bool share_reading(const MOLTE_HZPY_PYTABLE& table, const MOLTE_HZPY_ONEHZ& a,
                   const MOLTE_HZPY_ONEHZ& b, int32_t mode);

// The characters that MOLTE_HZPY_Cmp finds equal to one by their readings, in g_stPinYin.
class Alike {
 public:
    Alike(int32_t code, int32_t mode)
        : code_(code),
          mode_(mode),
          entry_(entry_of(g_stPinYin.stHZ, code)),
          by_index_(mode == 0 && made_by_init) {}

    bool operator()(int32_t code) const {
        if (code == code_) return true;
        const MOLTE_HZPY_ONEHZ* other = entry_of(g_stPinYin.stHZ, code);
        if (entry_ == nullptr || other == nullptr) return false;
        return by_index_ ? share_pair(*other, *entry_)
                         : share_reading(g_stPinYin.stPY, *other, *entry_, mode_);
    }

 private:
    int32_t code_;
    int32_t mode_;
    const MOLTE_HZPY_ONEHZ* entry_;
    bool by_index_;
};

// A character of text: a single byte, or lead byte * 256 + trail byte. A lead byte that ends the
// text is the first of two, the other being 0; size is what may be passed over, 0 at the end.
struct Glyph {
    int32_t code;
    int32_t size;
    bool is_double;
};

inline Glyph glyph_at(const char* text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) return {lead, lead != 0 ? 1 : 0, false};
    if (!platform::is_lead_byte(lead)) return {lead, 1, false};
    const auto trail = static_cast<unsigned char>(text[1]);
    return {lead * 256 + trail, trail != 0 ? 2 : 1, true};
}

}  // namespace molte::pinyin
