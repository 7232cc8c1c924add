#include "data/merge_sort.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/owners.h"

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

    // From both ends at once: the comparisons of one end don't wait for those of the other. Which
    // side gives the next item can't be foreseen: it is chosen without a jump.
    void merge(const Item* left, const Item* right, const Item* right_end, Item* to) const {
        const auto count = static_cast<size_t>(right_end - left);
        const Item* low_left = left;
        const Item* low_right = right;
        const Item* left_top = right;
        const Item* right_top = right_end;
        for (size_t i = 0; i < count / 2; ++i) {
            const bool low_from_right = is_below(*low_right, *low_left);
            const bool high_from_left = is_below(right_top[-1], left_top[-1]);
            to[i] = *(low_from_right ? low_right : low_left);
            to[count - 1 - i] = (high_from_left ? left_top : right_top)[-1];
            low_right += low_from_right ? 1 : 0;
            low_left += low_from_right ? 0 : 1;
            left_top -= high_from_left ? 1 : 0;
            right_top -= high_from_left ? 0 : 1;
        }
        if (count % 2 == 1) to[count / 2] = *(low_left < left_top ? low_left++ : low_right++);
        // A comparison that contradicts itself lets the ends meet elsewhere: nothing may be lost.
        if (low_left != left_top || low_right != right_top) {
            merge_upwards(left, right, right_end, to);
        }
    }

    void merge_upwards(const Item* left, const Item* right, const Item* right_end, Item* to) const {
        const Item* const left_end = right;
        while (left != left_end && right != right_end) {
            *to++ = is_below(*right, *left) ? *right++ : *left++;
        }
        std::copy(right, right_end, std::copy(left, left_end, to));
    }

    Compare compare_;
};

template <typename Item>
bool is_sorted(const Item* items, size_t count, Compare compare) {
    for (size_t i = 1; i < count; ++i) {
        if (compare(items + i - 1, items + i) > 0) return false;
    }
    return true;
}

template <size_t kSize>
bool sort_sized(void* items, size_t count, Compare compare) {
    using Item = typename MergeSort<kSize>::Item;
    if (is_sorted(static_cast<const Item*>(items), count, compare)) return true;
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
