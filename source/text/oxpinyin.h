// What the files of module "oxpinyin" share: its reports, and looking into the table within bounds.
#pragma once

#include <algorithm>
#include <cstring>

#include "core/report.h"
#include "moltelib/pinyin.h"
#include "platform/code_page.h"

namespace molte::pinyin {

inline constexpr Module kModule("oxpinyin");

inline constexpr uint32_t kNotOpened = 1;
inline constexpr uint32_t kNotRead = 3;
inline constexpr uint32_t kNotWritten = 4;
inline constexpr uint32_t kBadArgument = 50;
inline constexpr uint32_t kNoRoom = 124;
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
    const int64_t index = int64_t{code} - table.nFirstCode;
    return index >= 0 && index < table.nCount ? table.pEntries + index : nullptr;
}

inline int32_t readings_in(const MOLTE_HZPY_ONEHZ& character) {
    return std::min<int32_t>(character.nCount, MOLTE_HZPY_MAX_READINGS);
}

// Writes a part to room for 6 bytes; its end, without terminator.
inline char* write_part(char* at, const MOLTE_HZPY_PHENTRY& part) {
    std::memcpy(at, part.szText, sizeof part.szText);
    size_t size = 0;
    while (size < sizeof part.szText && part.szText[size] != '\0') ++size;
    return at + size;
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
