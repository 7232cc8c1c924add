// Searches in sorted arrays of items of any size.
#include <cstdlib>
#include <cstring>

#include "data/oxsysutl_lists.h"
#include "moltelib/memory.h"
#include "moltelib/sorted_array.h"

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
