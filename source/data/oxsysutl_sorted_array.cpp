// Searches in sorted arrays of items of any size, and two sets split into three.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/owners.h"
#include "data/merge_sort.h"
#include "data/oxsysutl_key_list.h"
#include "moltelib/memory.h"
#include "moltelib/sorted_array.h"

using molte::Heap;
using molte::here;
using molte::lists::kModule;
using molte::lists::refuse;

namespace {

bool usable(const void* base, int32_t n, int32_t size, MOLTE_COMPARE cmp) {
    return cmp != nullptr && size > 0 && molte::lists::readable(base, n);
}

// Part of a sorted array that is searched.
class Span {
 public:
    Span(const void* base, int32_t n, int32_t size)
        : base_(static_cast<const uint8_t*>(base)),
          first_(base_),
          size_(static_cast<size_t>(size)),
          count_(static_cast<size_t>(n)) {}

    [[nodiscard]] size_t count() const { return count_; }
    [[nodiscard]] const uint8_t* first() const { return first_; }
    // The middle item; the lower one of an even count.
    [[nodiscard]] const uint8_t* middle() const { return first_ + below_middle(); }
    [[nodiscard]] const uint8_t* behind(const uint8_t* item) const { return item + size_; }
    [[nodiscard]] int32_t index_of(const uint8_t* item) const {
        return static_cast<int32_t>(static_cast<size_t>(item - base_) / size_);
    }

    // Asks for both items that can be the middle once this half or the other is gone, or nearly so.
    void ask_ahead() const {
        const size_t half = below_middle();
        __builtin_prefetch(first_ + half / 2);
        __builtin_prefetch(first_ + half + half / 2);
    }
    // Drops the items up to the middle, or those behind it. Which one can't be foreseen, so the two
    // are computed and chosen between without a jump.
    void halve(bool drop_lower) {
        const size_t lower = (count_ + 1) / 2;
        const uint8_t* upper_first = first_ + below_middle() + size_;
        first_ = drop_lower ? upper_first : first_;
        count_ = drop_lower ? count_ - lower : lower;
    }

 private:
    // In bytes.
    [[nodiscard]] size_t below_middle() const { return (count_ - 1) / 2 * size_; }

    const uint8_t* base_;
    const uint8_t* first_;
    size_t size_;
    size_t count_;
};

int32_t last_item(const Span& span, const void* key, MOLTE_COMPARE cmp) {
    return cmp(key, span.first()) == 0 ? span.index_of(span.first()) : -1;
}

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

void MOLTE_qsort(void* pBase, int32_t n, int32_t size, MOLTE_COMPARE cmp) {
    if (!usable(pBase, n, size, cmp)) {
        refuse();
    } else if (n > 1) {
        std::qsort(pBase, static_cast<size_t>(n), static_cast<size_t>(size), cmp);
    }
}

int32_t MOLTE_bsearch(const void* pKey, const void* pBase, int32_t n, int32_t size,
                      MOLTE_COMPARE cmp) {
    if (!usable(pBase, n, size, cmp)) return refuse();
    if (n < 1) return -1;
    Span span(pBase, n, size);
    while (span.count() > 1) {
        span.ask_ahead();
        const uint8_t* middle = span.middle();
        const int order = cmp(pKey, middle);
        if (order == 0) return span.index_of(middle);
        span.halve(order > 0);
    }
    return last_item(span, pKey, cmp);
}

int32_t MOLTE_SearchLow(const void* pKey, const void* pBase, int32_t n, int32_t size,
                        MOLTE_COMPARE cmp) {
    if (!usable(pBase, n, size, cmp)) return refuse();
    if (n < 1) return -1;
    Span span(pBase, n, size);
    while (span.count() > 1) {
        span.ask_ahead();
        span.halve(cmp(pKey, span.middle()) > 0);
    }
    return last_item(span, pKey, cmp);
}

int32_t MOLTE_SearchHigh(const void* pKey, const void* pBase, int32_t n, int32_t size,
                         MOLTE_COMPARE cmp) {
    if (!usable(pBase, n, size, cmp)) return refuse();
    if (n < 1) return -1;
    Span span(pBase, n, size);
    while (span.count() > 1) {
        span.ask_ahead();
        const uint8_t* middle = span.middle();
        const int order = cmp(pKey, middle);
        if (order == 0 && cmp(pKey, span.behind(middle)) != 0) return span.index_of(middle);
        span.halve(order >= 0);
    }
    return last_item(span, pKey, cmp);
}

int32_t MOLTE_FindInsPos(const void* pKey, const void* pBase, int32_t n, int32_t size,
                         MOLTE_COMPARE cmp) {
    if (n < 1) return 0;
    if (!usable(pBase, n, size, cmp)) return refuse();
    Span span(pBase, n, size);
    while (span.count() > 1) {
        span.ask_ahead();
        span.halve(cmp(pKey, span.middle()) >= 0);
    }
    return span.index_of(span.first()) + (cmp(pKey, span.first()) < 0 ? 0 : 1);
}

int32_t MOLTE_RemoveDupItem(void* pItems, int32_t size, int32_t n, MOLTE_COMPARE cmp) {
    if (n < 2) return 1;
    if (!usable(pItems, n, size, cmp)) return refuse();
    auto* kept = static_cast<uint8_t*>(pItems);
    const auto step = static_cast<size_t>(size);
    int32_t count = 1;
    const uint8_t* item = kept;
    for (int32_t i = 1; i < n; ++i) {
        item += step;
        if (cmp(kept, item) == 0) continue;
        kept += step;
        if (kept != item) std::memcpy(kept, item, step);
        ++count;
    }
    return count;
}

int32_t MOLTE_HasDupItem(const void* pItems, int32_t size, int32_t n, MOLTE_COMPARE cmp) {
    if (!usable(pItems, n, size, cmp)) return refuse();
    const auto* item = static_cast<const uint8_t*>(pItems);
    for (int32_t i = 1; i < n; ++i, item += size) {
        if (cmp(item, item + size) == 0) return 1;
    }
    return 0;
}

void* MOLTE_UTIL_DupData(PA* pArray) {
    if (pArray == nullptr) {
        refuse();
        return nullptr;
    }
    if (pArray->nCount < 1) {
        PA_Release(pArray);
        return nullptr;
    }
    if (pArray->nCount == pArray->nCapacity) return pArray->pData;
    const int64_t bytes = int64_t{pArray->nCount} * pArray->nItemSize;
    void* const exact = ORVEX_release_malloc(bytes);
    if (exact == nullptr) return pArray->pData;
    std::memcpy(exact, pArray->pData, static_cast<size_t>(bytes));
    ORVEX_free(pArray->pData);
    pArray->pData = exact;
    pArray->nCapacity = pArray->nCount;
    return exact;
}

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
    if (cmp == nullptr || size < 1) return refuse();
    const Set a = sorted_set(pA, nA, size, cmp);
    const Set b = sorted_set(pB, nB, size, cmp);
    if (b.count < a.count) return split(b, a, &only_b, &both, &only_a, cmp);
    return split(a, b, &only_a, &both, &only_b, cmp);
}
