#include "data/merge_sort.h"

#include <cstring>

namespace molte {

namespace {

constexpr size_t kFewItems = 8;

template <size_t kSize>
class MergeSort {
 public:
    struct Item {
        uint8_t bytes[kSize];
    };

    explicit MergeSort(Compare compare) : compare_(compare) {}

    // Sorts ITEMS, of which SPARE is a copy.
    void sort(Item* items, Item* spare, size_t count) const {
        if (count <= kFewItems) {
            insert(items, count);
            return;
        }
        const size_t half = count / 2;
        sort(spare, items, half);
        sort(spare + half, items + half, count - half);
        merge(spare, spare + half, spare + count, items);
    }

 private:
    [[nodiscard]] bool is_below(const Item& a, const Item& b) const { return compare_(&a, &b) < 0; }

    void insert(Item* items, size_t count) const {
        for (size_t i = 1; i < count; ++i) {
            alignas(std::max_align_t) const Item item = items[i];  // as the caller needs it
            size_t at = i;
            for (; at > 0 && is_below(item, items[at - 1]); --at) items[at] = items[at - 1];
            items[at] = item;
        }
    }

    // Which side gives the next item can't be foreseen: it is chosen without a jump.
    void merge(const Item* left, const Item* right, const Item* right_end, Item* to) const {
        const Item* const left_end = right;
        while (left != left_end && right != right_end) {
            const bool from_right = is_below(*right, *left);
            *to++ = *(from_right ? right : left);
            right += from_right ? 1 : 0;
            left += from_right ? 0 : 1;
        }
        std::copy(right, right_end, std::copy(left, left_end, to));
    }

    Compare compare_;
};

template <size_t kSize>
bool sort_sized(void* items, size_t count, Compare compare) {
    using Item = typename MergeSort<kSize>::Item;
    const auto spare = scratch<Item>(count);
    if (spare == nullptr) return false;
    std::memcpy(spare.get(), items, count * kSize);
    MergeSort<kSize>(compare).sort(static_cast<Item*>(items), spare.get(), count);
    return true;
}

}  // namespace

void merge_sort(void* items, size_t count, size_t size, Compare compare) {
    const bool sorted = (size == 4 && sort_sized<4>(items, count, compare)) ||
                        (size == 8 && sort_sized<8>(items, count, compare)) ||
                        (size == 16 && sort_sized<16>(items, count, compare)) ||
                        (size == 32 && sort_sized<32>(items, count, compare));
    if (!sorted) std::qsort(items, count, size, compare);
}

}  // namespace molte
