// Ranges of identifiers, single and in a row.
#include "data/oidrange.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "core/owners.h"
#include "data/radix_sort.h"
#include "moltelib/byte_field.h"

using namespace molte::id_range;

namespace {

// Below this many a sort by comparing is faster.
constexpr size_t kManyRanges = 512;

bool starts_below(const OX_IDRANGE& a, const OX_IDRANGE& b) {
    return a.nStart < b.nStart;
}

void sort_unsorted(OX_IDRANGE* ranges, size_t count) {
    if (count >= kManyRanges) {
        const auto spare = molte::scratch<OX_IDRANGE>(count);
        if (spare != nullptr) {
            molte::radix_sort(ranges, spare.get(), count,
                              [](const OX_IDRANGE& range) { return range.nStart; });
            return;
        }
    }
    std::stable_sort(ranges, ranges + count, starts_below);
}

// Whether each range starts behind the one before: then none joins another.
bool is_merged(const OX_IDRANGE* ranges, const OX_IDRANGE* end) {
    return std::adjacent_find(ranges, end, [](const OX_IDRANGE& a, const OX_IDRANGE& b) {
               return b.nStart <= a.nStart || b.nStart <= a.nEnd;
           }) == end;
}

// Fits the range that stands behind merged ones in among them; the new end.
OX_IDRANGE* join_last(OX_IDRANGE* ranges, OX_IDRANGE* last) {
    OX_IDRANGE joined = *last;
    OX_IDRANGE* first = std::upper_bound(ranges, last, joined, starts_below);
    OX_IDRANGE* next = first;
    if (first != ranges && joined.nStart <= first[-1].nEnd) {
        --first;
        joined = {first->nStart, std::max(first->nEnd, joined.nEnd)};
    }
    for (; next != last && next->nStart <= joined.nEnd; ++next) {
        joined.nEnd = std::max(joined.nEnd, next->nEnd);
    }
    if (first == next) {
        std::copy_backward(first, last, last + 1);
        *first = joined;
        return last + 1;
    }
    *first = joined;
    return std::copy(next, last, first + 1);
}

OX_IDRANGE intersection(const OX_IDRANGE& a, const OX_IDRANGE& b) {
    if (!overlap(a, b)) return {};
    return {std::max(a.nStart, b.nStart), std::min(a.nEnd, b.nEnd)};
}

}  // namespace

uint32_t OX_IDRANGE_GetCount(const OX_IDRANGE* pRange) {
    return given(pRange) ? count_of(*pRange) : 0;
}

int32_t OX_IDRANGE_IsEmpty(const OX_IDRANGE* pRange) {
    if (!given(pRange)) return -1;
    return is_empty(*pRange) ? 1 : 0;
}

int32_t OX_IDRANGE_IsSame(const OX_IDRANGE* pA, const OX_IDRANGE* pB) {
    if (!given(pA, pB)) return -1;
    return same(*pA, *pB) ? 1 : 0;
}

int32_t OX_IDRANGE_IsLarger(const OX_IDRANGE* pA, const OX_IDRANGE* pB) {
    if (!given(pA, pB)) return -1;
    return pA->nStart <= pB->nStart && pA->nEnd >= pB->nEnd ? 1 : 0;
}

void OX_IDRANGE_Intersect(const OX_IDRANGE* pA, const OX_IDRANGE* pB, OX_IDRANGE* pOut) {
    if (given(pA, pB, pOut)) *pOut = intersection(*pA, *pB);
}

int32_t OX_IDRANGE_HasIntersection(const OX_IDRANGE* pA, const OX_IDRANGE* pB) {
    if (!given(pA, pB)) return -1;
    return overlap(*pA, *pB) ? 1 : 0;
}

uint32_t OX_IDRANGE_CalcDistance(const OX_IDRANGE* pA, const OX_IDRANGE* pB) {
    if (!given(pA, pB) || is_empty(*pA) || is_empty(*pB)) return 0;
    if (pA->nEnd < pB->nStart) return pB->nStart - pA->nEnd;
    if (pB->nEnd < pA->nStart) return pA->nStart - pB->nEnd;
    return 0;
}

void OX_IDRANGE_Subtract(const OX_IDRANGE* pA, const OX_IDRANGE* pB, OX_IDRANGE* pLeft,
                         OX_IDRANGE* pRight) {
    if (!given(pA, pB, pLeft, pRight)) return;
    const OX_IDRANGE a = *pA;
    const OX_IDRANGE b = *pB;
    *pLeft = {};
    *pRight = {};
    if (is_empty(a)) return;
    if (overlap(a, b)) {
        *pLeft = {a.nStart, b.nStart};
        *pRight = {b.nEnd, a.nEnd};
    } else {
        *pLeft = a;
    }
}

// Mostly a few ranges come behind many that are in order: those alone are sorted, and fitted in.
void OX_IDRANGE_Sort(OX_IDRANGE* pRanges, int32_t n) {
    if (n < 2 || !given(pRanges)) return;
    OX_IDRANGE* const end = pRanges + n;
    OX_IDRANGE* const unsorted = std::is_sorted_until(pRanges, end, starts_below);
    if (unsorted == end) return;
    sort_unsorted(unsorted, static_cast<size_t>(end - unsorted));
    std::inplace_merge(pRanges, unsorted, end, starts_below);
}

int32_t OX_IDRANGE_Merge(OX_IDRANGE* pRanges, int32_t n) {
    if (n < 2) return n;
    if (!given(pRanges)) return -1;
    OX_IDRANGE* const end = pRanges + n;
    OX_IDRANGE* const last = end - 1;
    if (is_merged(pRanges, last)) return static_cast<int32_t>(join_last(pRanges, last) - pRanges);
    OX_IDRANGE_Sort(pRanges, n);
    OX_IDRANGE* current = pRanges;
    for (const OX_IDRANGE* next = pRanges + 1; next != end; ++next) {
        if (next->nStart <= current->nEnd) {
            current->nEnd = std::max(current->nEnd, next->nEnd);
        } else {
            *++current = *next;
        }
    }
    return static_cast<int32_t>(current - pRanges) + 1;
}

uint64_t OX_IDRANGE_GetAllCount(const OX_IDRANGE* pRanges, int32_t n) {
    uint64_t sum = 0;
    if (n < 1 || !given(pRanges)) return 0;
    for (int32_t i = 0; i < n; ++i) sum += count_of(pRanges[i]);
    return sum;
}

int32_t OX_IDRANGE_sPrint(char* pszBuf, int32_t nSize, const OX_IDRANGE* pRanges, int32_t n) {
    if (nSize < 1) return 0;
    if (!given(pszBuf) || (n > 0 && !given(pRanges))) return -1;
    const auto size = static_cast<size_t>(nSize);
    size_t length = 0;
    for (int32_t i = 0; i < n; ++i) {
        char text[32];
        const auto more = static_cast<size_t>(std::snprintf(
            text, sizeof text, "[%" PRIu32 " %" PRIu32 "]", pRanges[i].nStart, pRanges[i].nEnd));
        if (length + more >= size) break;
        std::memcpy(pszBuf + length, text, more);
        length += more;
    }
    pszBuf[length] = '\0';
    return static_cast<int32_t>(length);
}

void OX_IDRANGE_ToNETIDRANGE(const OX_IDRANGE* pRange, OX_NETIDRANGE* pNet) {
    if (!given(pRange, pNet)) return;
    uint4ToChar4(pRange->nStart, pNet->nStart);
    uint4ToChar4(pRange->nEnd, pNet->nEnd);
}

void OX_NETIDRANGE_ToIDRANGE(const OX_NETIDRANGE* pNet, OX_IDRANGE* pRange) {
    if (given(pNet, pRange)) *pRange = {Char4To_uint4(pNet->nStart), Char4To_uint4(pNet->nEnd)};
}

uint32_t OX_NETIDRANGE_GetCount(const OX_NETIDRANGE* pNet) {
    OX_IDRANGE range = {};
    OX_NETIDRANGE_ToIDRANGE(pNet, &range);
    return count_of(range);
}
