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

// The first item from FROM on that isn't below the key, and whether it is equal. What is looked for
// in ascending order is found in steps that double, whether it lies near or far.
size_t find_from(const Set& set, size_t from, const void* key, MOLTE_COMPARE cmp, bool* equal) {
    size_t step = 1;
    size_t end = from;
    int order = 1;
    while (end < set.count && (order = cmp(key, set.at(end))) > 0) {
        from = end + 1;
        end += step;
        step *= 2;
    }
    end = std::min(end, set.count);
    while (from < end) {
        const size_t middle = from + (end - from) / 2;
        const int middle_order = cmp(key, set.at(middle));
        if (middle_order > 0) {
            from = middle + 1;
        } else {
            end = middle;
            order = middle_order;
        }
    }
    *equal = end < set.count && order == 0;
    return end;
}

// Marks the items of each set that the other one has; how many that are.
size_t mark_common(const Set& probe, bool* in_probe, const Set& longer, bool* in_longer,
                   MOLTE_COMPARE cmp) {
    std::fill_n(in_longer, longer.count, false);
    size_t hits = 0;
    size_t at = 0;
    for (size_t i = 0; i < probe.count; ++i) {
        bool hit = false;
        at = find_from(longer, at, probe.at(i), cmp, &hit);
        in_probe[i] = hit;
        if (!hit) continue;
        in_longer[at++] = true;
        ++hits;
    }
    return hits;
}

// Makes the list of the items that are marked so; false without memory.
bool fill(const Set& set, const bool* marks, bool wanted, size_t count, Output* output) {
    output->made_count = count;
    if (output->list == nullptr || count == 0) return true;
    output->made = molte::allocate_list<uint8_t>(count * set.size);
    if (output->made == nullptr) return false;
    uint8_t* to = output->made.get();
    const bool* const end = marks + set.count;
    for (const bool* run = std::find(marks, end, wanted); run != end;) {
        const bool* const run_end = std::find(run, end, !wanted);
        const auto bytes = static_cast<size_t>(run_end - run) * set.size;
        std::memcpy(to, set.at(static_cast<size_t>(run - marks)), bytes);
        to += bytes;
        run = std::find(run_end, end, wanted);
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
