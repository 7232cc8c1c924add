#include "data/key_order.h"

#include <algorithm>
#include <utility>

#include "data/radix_sort.h"

namespace molte {

namespace {

// Below these a sort by comparing is faster: heads; whole keys.
constexpr size_t kManyEntries = 1024;
constexpr size_t kSomeEntries = 64;

bool is_below(const Key& a, const Key& b) {
    return compare_keys(a, b) < 0;
}

// The keys in order, each once, in a block with room for all. Null without memory.
Heap<Key> gather_distinct(const Key* keys, size_t count, size_t* kept) {
    Heap<Key> list(scratch<Key>(count).release());
    KeyOrder order;
    if (list == nullptr || !order.make(keys, count)) return nullptr;
    *kept = 0;
    visit_in_order(keys, order.entries(), count, [&](size_t, const Key& key) {
        if (*kept == 0 || !same_key(list[*kept - 1], key)) list[(*kept)++] = key;
    });
    return list;
}

}  // namespace

bool is_sorted(const Key* keys, size_t count) {
    for (size_t i = 1; i < count; ++i) {
        if (is_below(keys[i], keys[i - 1])) return false;
    }
    return true;
}

bool KeyOrder::make(const Key* keys, size_t count) {
    keys_ = keys;
    count_ = count;
    entries_ = scratch<Entry>(count);
    spare_ = scratch<Entry>(count);
    if (entries_ == nullptr || spare_ == nullptr) return false;
    for (size_t i = 0; i < count; ++i) entries_[i] = {keys[i].word(0), static_cast<uint32_t>(i)};
    sort(0, count, 0);
    spare_.reset();
    return true;
}

// Sorts entries whose heads are the given word of their keys, and which agree in all words before.
void KeyOrder::sort(size_t first, size_t count, size_t word) {
    Entry* entries = &entries_[first];
    if (count < kManyEntries) {
        std::sort(entries, entries + count, [](const Entry& a, const Entry& b) {
            return a.head < b.head || (a.head == b.head && a.index < b.index);
        });
    } else {
        radix_sort(entries, spare_.get(), count, [](const Entry& entry) { return entry.head; });
    }
    for (size_t begin = 0, end = 1; begin < count; begin = end++) {
        ask_for_equal_heads(first + begin + kKeysAhead);
        while (end < count && entries[end].head == entries[begin].head) ++end;
        if (end - begin > 1 && Key::goes_on(entries[begin].head) && word + 1 < Key::kWords) {
            sort_equal_heads(first + begin, end - begin, word + 1);
        }
    }
}

// The keys of two entries will be compared if their heads can't tell them apart.
void KeyOrder::ask_for_equal_heads(size_t at) const {
    if (at + 1 >= count_ || entries_[at].head != entries_[at + 1].head) return;
    __builtin_prefetch(keys_ + entries_[at].index);
    __builtin_prefetch(keys_ + entries_[at + 1].index);
}

void KeyOrder::sort_equal_heads(size_t first, size_t count, size_t word) {
    Entry* entries = &entries_[first];
    if (count < kSomeEntries) {
        std::sort(entries, entries + count, [=, this](const Entry& a, const Entry& b) {
            const int order = compare_keys(keys_[a.index], keys_[b.index], word);
            return order < 0 || (order == 0 && a.index < b.index);
        });
        return;
    }
    const uint64_t head = entries[0].head;
    visit_in_order(keys_, entries, count,
                   [=](size_t i, const Key& key) { entries[i].head = key.word(word); });
    sort(first, count, word);
    for (size_t i = 0; i < count; ++i) entries[i].head = head;
}

size_t drop_repeated(Key* keys, size_t count) {
    size_t kept = 0;
    for (size_t i = 0; i < count; ++i) {
        if (i + 1 < count && same_key(keys[i], keys[i + 1])) continue;
        if (kept != i) keys[kept] = keys[i];
        ++kept;
    }
    return kept;
}

void sort_keys(Key* keys, size_t count) {
    if (is_sorted(keys, count)) return;
    KeyOrder order;
    const auto sorted = scratch<Key>(count);
    if (count < kSomeEntries || sorted == nullptr || !order.make(keys, count)) {
        std::sort(keys, keys + count, is_below);
        return;
    }
    visit_in_order(keys, order.entries(), count,
                   [&](size_t i, const Key& key) { sorted[i] = key; });
    std::memcpy(keys, sorted.get(), count * sizeof(Key));
}

Heap<Key> distinct_keys(Key* keys, size_t* count) {
    const size_t all = *count;
    Heap<Key> list;
    if (all >= kSomeEntries && !is_sorted(keys, all)) list = gather_distinct(keys, all, count);
    if (list != nullptr) return *count == all ? std::move(list) : exact_list(list.get(), *count);
    sort_keys(keys, all);
    *count = drop_repeated(keys, all);
    return exact_list(keys, *count);
}

Heap<Key> exact_list(const Key* keys, size_t count) {
    auto list = allocate_list<Key>(count);
    if (list != nullptr) std::memcpy(list.get(), keys, count * sizeof(Key));
    return list;
}

}  // namespace molte
