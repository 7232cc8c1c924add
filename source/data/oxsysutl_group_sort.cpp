// Sorting by distribution to groups of equal items, sorting by selection, and exchanging memory.
#include "moltelib/group_sort.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/owners.h"
#include "data/oxsysutl_key_list.h"
#include "moltelib/array.h"

using molte::Scratch;
using molte::lists::refuse;

namespace {

constexpr int32_t kLeastItems = 1000;
constexpr int32_t kItemsPerGroup = 200;
constexpr int32_t kTableStep = 128;
constexpr int64_t kLargestBlock = 0x1400000;
constexpr int32_t kExchangedAtOnce = 4096;

bool sortable(const void* base, int32_t n, int32_t size, MOLTE_COMPARE cmp) {
    return cmp != nullptr && size > 0 && molte::lists::readable(base, n);
}

struct Items {
    uint8_t* first;
    int32_t count;
    int32_t size;

    [[nodiscard]] uint8_t* at(int64_t index) const { return first + index * size; }
    [[nodiscard]] int64_t bytes() const { return int64_t{count} * size; }
    void exchange(int64_t a, int64_t b) const { MOLTE_ExchangeData(at(a), at(b), size); }
};

struct Group {
    int32_t nCount;
    int32_t nPlaced;
    int32_t nStart;  // until all are counted: how many groups were known before
};
static_assert(sizeof(Group) == 12);

// The groups in the order of their keys.
class Groups {
 public:
    Groups(const Items& items, MOLTE_COMPARE cmp)
        : items_(items), cmp_(cmp), most_(std::max(items.count / kItemsPerGroup, 2)) {}
    ~Groups() {
        PA_Release(&keys_);
        PA_Release(&groups_);
    }
    Groups(const Groups&) = delete;
    Groups& operator=(const Groups&) = delete;

    // False without memory.
    bool make(int32_t hint) {
        // What there can never be isn't made, however large the hint is.
        const int32_t capacity = hint < 1 ? std::min(most_, kTableStep) : std::min(hint, most_ + 2);
        if (PA_Init(&keys_, items_.size, capacity) < 0) return false;
        if (PA_Init(&groups_, sizeof(Group), capacity) < 0) return false;
        keys_.nGrowBy = kTableStep;
        groups_.nGrowBy = kTableStep;
        return true;
    }

    // Counts the items. False when there are too many groups, or no memory for them.
    bool count() {
        number_ = numbers_for(items_.count);
        for (int32_t i = 0; i < items_.count; ++i) {
            Group* group = find(items_.at(i));
            if (group == nullptr && (group = add(items_.at(i))) == nullptr) return false;
            ++group->nCount;
            if (number_ != nullptr) number_.get()[i] = static_cast<uint16_t>(group->nStart);
        }
        return true;
    }

    // Gives each group its place.
    void line_up() {
        if (number_ != nullptr) renumber();
        int32_t start = 0;
        for (int32_t i = 0; i < groups_.nCount; ++i) {
            at(i).nStart = start;
            start += at(i).nCount;
        }
    }

    // Of the item that stands there now; null for one that no group is found for, as may be with a
    // comparison that contradicts itself.
    Group* of(int32_t index) {
        return number_ != nullptr ? &at(number_.get()[index]) : find(items_.at(index));
    }
    void exchange(int32_t a, int32_t b) {
        items_.exchange(a, b);
        if (number_ != nullptr) std::swap(number_.get()[a], number_.get()[b]);
    }

 private:
    // Room to remember the group of each item, so that it need not be searched again, which takes
    // half as long again as all the rest: none where it would take too much, or where there is
    // none.
    static Scratch<uint16_t> numbers_for(int32_t items) {
        constexpr int64_t most = kLargestBlock / int64_t{sizeof(uint16_t)};
        static_assert(most / kItemsPerGroup <= UINT16_MAX);
        return items <= most ? molte::scratch<uint16_t>(static_cast<size_t>(items)) : nullptr;
    }

    [[nodiscard]] Group& at(int32_t index) const {
        return static_cast<Group*>(groups_.pData)[index];
    }

    [[nodiscard]] Group* find(const void* item) const {
        const int32_t index = MOLTE_bsearch(item, keys_.pData, keys_.nCount, items_.size, cmp_);
        return index < 0 ? nullptr : &at(index);
    }

    // Null when there are too many now, or no memory.
    Group* add(const void* item) {
        const int32_t index = MOLTE_FindInsPos(item, keys_.pData, keys_.nCount, items_.size, cmp_);
        const Group group{0, 0, groups_.nCount};
        if (PA_InsertAt(&keys_, index, item) < 0 || PA_InsertAt(&groups_, index, &group) < 0) {
            return nullptr;
        }
        return groups_.nCount <= most_ ? &at(index) : nullptr;
    }

    // Until now each item had the number under which its group became known.
    void renumber() {
        const auto place = molte::scratch<uint16_t>(static_cast<size_t>(groups_.nCount));
        if (place == nullptr) {
            number_.reset();
            return;
        }
        for (int32_t i = 0; i < groups_.nCount; ++i) {
            place.get()[at(i).nStart] = static_cast<uint16_t>(i);
        }
        uint16_t* const number = number_.get();
        for (int32_t i = 0; i < items_.count; ++i) number[i] = place[number[i]];
    }

    const Items items_;
    const MOLTE_COMPARE cmp_;
    const int32_t most_;
    PA keys_{};
    PA groups_{};
    Scratch<uint16_t> number_;
};

// Through a block, in the order of the items. False, with the items as they were, for a comparison
// that contradicts itself.
bool distribute(const Items& items, Groups& groups, uint8_t* block) {
    for (int32_t i = 0; i < items.count; ++i) {
        Group* const group = groups.of(i);
        if (group == nullptr || group->nPlaced == group->nCount) return false;
        const int64_t place = int64_t{group->nStart} + group->nPlaced++;
        std::memcpy(block + place * items.size, items.at(i), static_cast<size_t>(items.size));
    }
    std::memcpy(items.first, block, static_cast<size_t>(items.bytes()));
    return true;
}

// In place. An item at home raises nPlaced as well, so that the next place runs ahead of the items
// that were placed: once the walk is inside a group, all the group's items that it meets are home.
bool permute(const Items& items, Groups& groups) {
    for (int32_t i = 0; i < items.count;) {
        Group* const group = groups.of(i);
        if (group == nullptr) return false;
        const int64_t place = int64_t{group->nStart} + group->nPlaced++;
        if (i >= group->nStart && i < place) {
            ++i;
        } else if (place < items.count) {
            groups.exchange(i, static_cast<int32_t>(place));
        } else {
            return false;
        }
    }
    return true;
}

bool sort_by_groups(const Items& items, MOLTE_COMPARE cmp, int32_t hint) {
    Groups groups(items, cmp);
    if (!groups.make(hint) || !groups.count()) return false;
    groups.line_up();
    if (items.bytes() <= kLargestBlock) {
        const auto block = molte::scratch<uint8_t>(static_cast<size_t>(items.bytes()));
        if (block != nullptr) return distribute(items, groups, block.get());
    }
    return permute(items, groups);
}

}  // namespace

void MOLTE_GroupSort(void* pBase, int32_t n, int32_t size, MOLTE_COMPARE cmp) {
    MOLTE_GroupSortEx(pBase, n, size, cmp, -1);
}

void MOLTE_GroupSortEx(void* pBase, int32_t n, int32_t size, MOLTE_COMPARE cmp,
                       int32_t nGroupHint) {
    const bool large = n >= kLeastItems && sortable(pBase, n, size, cmp);
    if (large && sort_by_groups({static_cast<uint8_t*>(pBase), n, size}, cmp, nGroupHint)) return;
    MOLTE_qsort(pBase, n, size, cmp);
}

void MOLTE_BubbleSort(void* pBase, int32_t n, int32_t size, MOLTE_COMPARE cmp) {
    if (n < 2) return;
    if (!sortable(pBase, n, size, cmp)) {
        refuse();
        return;
    }
    const Items items{static_cast<uint8_t*>(pBase), n, size};
    for (int32_t i = 0; i < n - 1; ++i) {
        int32_t smallest = i;
        for (int32_t k = i + 1; k < n; ++k) {
            if (cmp(items.at(smallest), items.at(k)) > 0) smallest = k;
        }
        if (smallest != i) items.exchange(i, smallest);
    }
}

void MOLTE_ExchangeData(void* pA, void* pB, int32_t nSize) {
    if (nSize < 1) return;
    if (pA == nullptr || pB == nullptr) {
        refuse();
        return;
    }
    if (pA == pB) return;
    auto* a = static_cast<uint8_t*>(pA);
    auto* b = static_cast<uint8_t*>(pB);
    uint8_t buffer[kExchangedAtOnce];
    for (int32_t left = nSize; left > 0;) {
        const int32_t part = std::min(left, kExchangedAtOnce);
        const auto bytes = static_cast<size_t>(part);
        std::memcpy(buffer, a, bytes);
        std::memcpy(a, b, bytes);
        std::memcpy(b, buffer, bytes);
        a += part;
        b += part;
        left -= part;
    }
}
