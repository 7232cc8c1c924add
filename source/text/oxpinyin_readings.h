// Readings: written as text, and compared.
#pragma once

#include <bit>
#include <cstring>

#include "text/oxpinyin.h"

namespace molte::pinyin {

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
          by_index_(mode == 0 && indexes_tell_readings()) {}

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

}  // namespace molte::pinyin
