// Two sets split into three.
#include <algorithm>
#include <cstring>

#include "core/owners.h"
#include "data/merge_sort.h"
#include "data/oxsysutl_lists.h"
#include "moltelib/sorted_array.h"

using molte::Heap;
using molte::here;
using molte::lists::kModule;

namespace {

struct Set {
    uint8_t* items;
    size_t count;
    size_t size;

    [[nodiscard]] const uint8_t* at(size_t i) const { return items + i * size; }
};

// What the caller wants of one of the three.
struct Output {
    void** list;
    int32_t* count;
    Heap<uint8_t> made = nullptr;
    size_t made_count = 0;

    void clear() const { store(nullptr, 0); }
    void hand_over() { store(made.release(), made_count); }

 private:
    void store(void* value, size_t n) const {
        if (list != nullptr) *list = value;
        if (count != nullptr) *count = static_cast<int32_t>(n);
    }
};

Set sorted_set(void* list, int32_t n, int32_t size, MOLTE_COMPARE cmp) {
    const auto step = static_cast<size_t>(size);
    // No item stays none: the count of one that is given then would be past the end.
    if (list == nullptr || n < 1) return {static_cast<uint8_t*>(list), 0, step};
    molte::merge_sort(list, static_cast<size_t>(n), step, cmp);
    const int32_t count = MOLTE_RemoveDupItem(list, size, n, cmp);
    return {static_cast<uint8_t*>(list), static_cast<size_t>(count), step};
}

// Marks the items of each set that the other one has; how many that are. Each step passes one item
// or two, and which can't be foreseen: there is no jump for it. A mark holds when its item is
// passed.
size_t mark_common(const Set& probe, bool* in_probe, const Set& longer, bool* in_longer,
                   MOLTE_COMPARE cmp) {
    size_t hits = 0;
    size_t i = 0;
    size_t k = 0;
    while (i < probe.count && k < longer.count) {
        const int order = cmp(probe.at(i), longer.at(k));
        const bool same = order == 0;
        in_probe[i] = same;
        in_longer[k] = same;
        hits += same ? 1 : 0;
        i += order <= 0 ? 1 : 0;
        k += order >= 0 ? 1 : 0;
    }
    std::fill(in_probe + i, in_probe + probe.count, false);
    std::fill(in_longer + k, in_longer + longer.count, false);
    return hits;
}

// Makes the list of the items that are marked so; false without memory.
bool fill(const Set& set, const bool* marks, bool wanted, size_t count, Output* output) {
    output->made_count = count;
    if (output->list == nullptr || count == 0) return true;
    output->made = molte::allocate_list<uint8_t>(count * set.size);
    if (output->made == nullptr) return false;
    uint8_t* to = output->made.get();
    // Each item is copied, and stays if it is wanted; none is behind the last that is.
    for (size_t i = 0, filled = 0; filled < count; ++i) {
        const size_t step = marks[i] == wanted ? 1 : 0;
        std::memcpy(to, set.at(i), set.size);
        to += step * set.size;
        filled += step;
    }
    return true;
}

int32_t split(const Set& probe, const Set& longer, Output* only_probe, Output* both,
              Output* only_longer, MOLTE_COMPARE cmp) {
    const auto marks = molte::allocate<bool>(static_cast<int64_t>(probe.count + longer.count));
    if (marks == nullptr) return kModule.trace(here());
    bool* const in_probe = marks.get();
    bool* const in_longer = in_probe + probe.count;
    const size_t hits = mark_common(probe, in_probe, longer, in_longer, cmp);
    if (!fill(probe, in_probe, false, probe.count - hits, only_probe) ||
        !fill(probe, in_probe, true, hits, both) ||
        !fill(longer, in_longer, false, longer.count - hits, only_longer)) {
        return kModule.trace(here());
    }
    only_probe->hand_over();
    both->hand_over();
    only_longer->hand_over();
    return 1;
}

}  // namespace

int32_t MOLTE_KeyDiff(void* pA, int32_t nA, void* pB, int32_t nB, void** ppOnlyA, int32_t* pnOnlyA,
                      void** ppBoth, int32_t* pnBoth, void** ppOnlyB, int32_t* pnOnlyB,
                      MOLTE_COMPARE cmp, int32_t size) {
    Output only_a{ppOnlyA, pnOnlyA};
    Output both{ppBoth, pnBoth};
    Output only_b{ppOnlyB, pnOnlyB};
    only_a.clear();
    both.clear();
    only_b.clear();
    if (pA == nullptr && pB == nullptr) return 0;
    if (cmp == nullptr || size < 1) return molte::lists::refuse();
    const Set a = sorted_set(pA, nA, size, cmp);
    const Set b = sorted_set(pB, nB, size, cmp);
    if (b.count < a.count) return split(b, a, &only_b, &both, &only_a, cmp);
    return split(a, b, &only_a, &both, &only_b, cmp);
}
