// Sorting of arrays with few distinct keys beside qsort and std::stable_sort, with the same
// comparison. Each round sorts a fresh copy of the same items.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "moltelib/group_sort.h"
#include "pair.h"

namespace {

struct Item {
    int32_t key;
    int32_t number;
    char data[24];
};
using Items = std::vector<Item>;

int compare(const void* a, const void* b) {
    const int32_t x = static_cast<const Item*>(a)->key;
    const int32_t y = static_cast<const Item*>(b)->key;
    return x < y ? -1 : x > y ? 1 : 0;
}

Items with_keys(int32_t count, uint32_t keys) {
    Items items(static_cast<size_t>(count));
    std::mt19937 random(1);
    for (Item& item : items) item.key = static_cast<int32_t>(random() % keys);
    return items;
}

// The copy is part of what both sides do.
template <typename Sort>
auto sorting(const Items& items, Items* work, Sort sort) {
    return [&items, work, sort] {
        std::memcpy(work->data(), items.data(), items.size() * sizeof(Item));
        sort(*work);
        molte_bench::keep(work->data());
    };
}

void group_sort(Items& items) {
    MOLTE_GroupSort(items.data(), static_cast<int32_t>(items.size()), sizeof(Item), compare);
}
void c_sort(Items& items) {
    std::qsort(items.data(), items.size(), sizeof(Item), compare);
}
void stable_sort(Items& items) {
    int (*volatile by_pointer)(const void*, const void*) = compare;  // as the others get it
    std::stable_sort(
        items.begin(), items.end(),
        [order = by_pointer](const Item& a, const Item& b) { return order(&a, &b) < 0; });
}

}  // namespace

int main() {
    const Items half = with_keys(500000, 100);
    const Items whole = with_keys(1000000, 100);
    Items small(half.size());
    Items large(whole.size());
    using molte_bench::pair;
    constexpr int rounds = 7;
    pair("500000 in 100 groups", "qsort", sorting(half, &small, group_sort),
         sorting(half, &small, c_sort), rounds);
    pair("500000 in 100 groups", "std::stable_sort", sorting(half, &small, group_sort),
         sorting(half, &small, stable_sort), rounds);
    pair("1000000 in place", "qsort", sorting(whole, &large, group_sort),
         sorting(whole, &large, c_sort), rounds);
}
