// Sorting by a number that each item has: stable, in time that grows with the count alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace molte {

namespace radix {

// 11 bits give a table that stays in the nearest cache beside what is being moved.
inline constexpr unsigned kBits = 11;
inline constexpr size_t kBuckets = size_t{1} << kBits;

template <typename Number>
constexpr size_t digit(Number number, unsigned shift) {
    return static_cast<size_t>(number >> shift) & (kBuckets - 1);
}

// Moves the items to where they belong by one digit. False, with nothing moved, when all have the
// same one.
template <typename Item, typename KeyOf>
bool pass(const Item* from, Item* to, size_t count, KeyOf key_of, unsigned shift,
          uint32_t* counts) {
    if (counts[digit(key_of(from[0]), shift)] == count) return false;
    uint32_t place = 0;
    for (size_t i = 0; i < kBuckets; ++i) place += std::exchange(counts[i], place);
    for (size_t i = 0; i < count; ++i) to[counts[digit(key_of(from[i]), shift)]++] = from[i];
    return true;
}

}  // namespace radix

// ITEMS, and SPARE with room for as many, are trivially copied. KEY_OF gives an unsigned number.
template <typename Item, typename KeyOf>
void radix_sort(Item* items, Item* spare, size_t count, KeyOf key_of) {
    if (count < 2) return;
    using Number = decltype(key_of(items[0]));
    constexpr unsigned kPasses = (sizeof(Number) * 8 + radix::kBits - 1) / radix::kBits;
    uint32_t counts[kPasses][radix::kBuckets] = {};
    for (size_t i = 0; i < count; ++i) {
        const Number number = key_of(items[i]);
        for (unsigned p = 0; p < kPasses; ++p) ++counts[p][radix::digit(number, p * radix::kBits)];
    }
    Item* from = items;
    Item* to = spare;
    for (unsigned p = 0; p < kPasses; ++p) {
        if (radix::pass(from, to, count, key_of, p * radix::kBits, counts[p])) std::swap(from, to);
    }
    if (from != items) std::memcpy(items, from, count * sizeof(Item));
}

}  // namespace molte
