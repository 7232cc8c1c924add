// What the files of module "oxpinyin" share: its error numbers, and looking into tables within
// bounds.
#pragma once

#include <algorithm>
#include <cstring>

#include "core/modules.h"
#include "data/oxstring.h"
#include "moltelib/pinyin.h"

namespace molte::pinyin {

inline constexpr auto kModule = molte::kOxpinyin;

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

// Whether g_stPinYin is what MOLTE_HZPY_Init made, with no part twice and no pair of none: readings
// are equal just when their indexes are. A program may fill it in another way, or add to it.
bool indexes_tell_readings();

// As first_character, but a lead byte that ends its text is the first of two, the other being 0.
inline Character first_name_character(const char* text) {
    Character c = first_character(text);
    if (c.size == 1 && c.value >= 0x80 &&
        platform::is_lead_byte(static_cast<unsigned char>(c.value)))
        c.value *= 256;
    return c;
}

inline bool is_double(const Character& c) {
    return c.value > 0xFF;
}

}  // namespace molte::pinyin
