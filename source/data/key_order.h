// The order of keys, and lists of keys in it.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/owners.h"
#include "moltelib/key_list.h"

namespace molte {

// The slot of a list. A text that fills it wholly, with no terminator, ends there.
struct Key {
    static constexpr size_t kWords = MOLTE_KEY_SLOT / 8;

    char text[MOLTE_KEY_SLOT];

    [[nodiscard]] bool deleted() const { return text[0] == 0; }

    // Eight bytes as a number that orders as they do; what stands behind a terminator counts as 0.
    [[nodiscard]] uint64_t word(size_t index) const {
        uint64_t bytes = 0;
        std::memcpy(&bytes, text + index * 8, 8);
        if constexpr (std::endian::native == std::endian::big) bytes = __builtin_bswap64(bytes);
        // The high bit of the first byte that is 0; of a later byte it may lie.
        const uint64_t zeros = (bytes - 0x0101010101010101U) & ~bytes & 0x8080808080808080U;
        const uint64_t before_zero = ((zeros & (0 - zeros)) >> 7) - 1;
        return __builtin_bswap64(bytes & before_zero);
    }
    // Whether the text goes on behind a word.
    static bool goes_on(uint64_t word) { return (word & 0xFF) != 0; }
};
static_assert(sizeof(Key) == MOLTE_KEY_SLOT);

// Below 0, 0 or above 0, looking at the words from FIRST on.
inline int compare_keys(const Key& a, const Key& b, size_t first = 0) {
    for (size_t i = first; i < Key::kWords; ++i) {
        const uint64_t x = a.word(i);
        const uint64_t y = b.word(i);
        if (x != y) return x < y ? -1 : 1;
        if (!Key::goes_on(x)) return 0;
    }
    return 0;
}

inline bool same_key(const Key& a, const Key& b) {
    return compare_keys(a, b) == 0;
}

inline const Key* as_keys(const char* list) {
    return reinterpret_cast<const Key*>(list);
}
inline Key* as_keys(char* list) {
    return reinterpret_cast<Key*>(list);
}

bool is_sorted(const Key* keys, size_t count);

void sort_keys(Key* keys, size_t count);

// Keeps the last of each run of equal keys of a sorted list; the new count.
size_t drop_repeated(Key* keys, size_t count);

// A copy of a list in a block of its own. Null without memory.
Heap<Key> exact_list(const Key* keys, size_t count);

// The keys of a list, which it may reorder, sorted and each once. Null without memory.
Heap<Key> distinct_keys(Key* keys, size_t* count);

// The order of a list that stays as it is.
class KeyOrder {
 public:
    struct Entry {
        uint64_t head;   // the key's first word
        uint32_t index;  // where it stands in the list
    };

    // False when there is no memory for it.
    bool make(const Key* keys, size_t count);
    [[nodiscard]] const Entry* entries() const { return entries_.get(); }

 private:
    void sort(size_t first, size_t count, size_t word);
    void sort_equal_heads(size_t first, size_t count, size_t word);
    void ask_for_equal_heads(size_t at) const;

    const Key* keys_ = nullptr;
    size_t count_ = 0;
    Scratch<Entry> entries_;
    Scratch<Entry> spare_;
};

// How far ahead of its use a key that stands anywhere is asked for.
inline constexpr size_t kKeysAhead = 16;

// For I from 0 up to COUNT: VISIT(I, the key that is Ith by that order).
template <typename Visit>
void visit_in_order(const Key* keys, const KeyOrder::Entry* entries, size_t count, Visit visit) {
    for (size_t i = 0; i < count; ++i) {
        if (i + kKeysAhead < count) __builtin_prefetch(keys + entries[i + kKeysAhead].index);
        visit(i, keys[entries[i].index]);
    }
}

}  // namespace molte
