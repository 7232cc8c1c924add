// Arrays of ranges, kept as sets.
#include <limits>

#include "core/owners.h"
#include "core/oxsysutl_memory.h"
#include "data/oidrange.h"

using molte::here;
using namespace molte::id_range;

namespace {

constexpr int64_t kGrowBy = 16;
constexpr int64_t kItemSize = sizeof(OX_IDRANGE);
constexpr uint32_t kUnmerged = 1;

// Whether an array can be worked on.
bool readable(const OX_IDRANGEARRAY* array) {
    if (!given(array)) return false;
    if (array->nCount == 0 || (array->nCount > 0 && array->pRange != nullptr)) return true;
    refuse();
    return false;
}

OX_IDRANGE* end_of(const OX_IDRANGEARRAY& array) {
    return array.pRange + array.nCount;
}

// Makes room for MORE ranges. A copy has more elements than its capacity tells, and keeps them.
bool reserve(OX_IDRANGEARRAY* array, int32_t more) {
    const int64_t missing = int64_t{array->nCount} + more - array->nCapacity;
    if (missing <= 0) return true;
    const int64_t target = array->nCapacity + (missing + kGrowBy - 1) / kGrowBy * kGrowBy;
    int32_t held = std::max(array->nCapacity, array->nCount);
    if (target > std::numeric_limits<int32_t>::max()) {
        return molte::refuse_growth(held * kItemSize, (target - held) * kItemSize) > 0;
    }
    void* ranges = array->pRange;
    if (ORVEX_release_realloc(&ranges, sizeof(OX_IDRANGE), &held,
                              static_cast<int32_t>(target) - held) < 0) {
        return false;
    }
    array->pRange = static_cast<OX_IDRANGE*>(ranges);
    array->nCapacity = held;
    return true;
}

void merge(OX_IDRANGEARRAY* array) {
    array->nCount = OX_IDRANGE_Merge(array->pRange, array->nCount);
}

template <typename Array>
int32_t init(Array* array, int32_t n) {
    if (!given(array)) return -1;
    *array = {};
    if (n < 1) return 1;
    auto ranges = molte::allocate<std::remove_pointer_t<decltype(array->pRange)>>(n);
    if (ranges == nullptr) return kModule.trace(here());
    array->pRange = ranges.release();
    array->nCapacity = n;
    return 1;
}

template <typename Array>
int32_t release(Array* array, int32_t result) {
    if (!given(array)) return -1;
    ORVEX_free(array->pRange);
    *array = {};
    return result;
}

// The element in two parts around a removed range, and the array merged.
bool split(OX_IDRANGEARRAY* array, OX_IDRANGE* element, const OX_IDRANGE& left,
           const OX_IDRANGE& right) {
    const auto index = element - array->pRange;
    if (!reserve(array, 1)) return false;
    array->pRange[index] = left;
    array->pRange[array->nCount++] = right;
    merge(array);
    return true;
}

enum class Removal : uint8_t { done, again, failed };

// Takes a range from the elements in turn. One that is split leaves the array in another order: the
// rest is for the next turn.
Removal remove(OX_IDRANGEARRAY* array, const OX_IDRANGE& range) {
    OX_IDRANGE* kept = array->pRange;
    OX_IDRANGE* const end = end_of(*array);
    for (OX_IDRANGE* element = array->pRange; element != end; ++element) {
        if (!overlap(*element, range)) {
            *kept++ = *element;
            continue;
        }
        const OX_IDRANGE left = {element->nStart, range.nStart};
        const OX_IDRANGE right = {range.nEnd, element->nEnd};
        if (!is_empty(left) && !is_empty(right)) {
            OX_IDRANGE* const whole = kept;
            kept = std::copy(element, end, kept);
            array->nCount = static_cast<int32_t>(kept - array->pRange);
            return split(array, whole, left, right) ? Removal::again : Removal::failed;
        }
        if (!is_empty(left)) {
            *kept++ = left;
        } else if (!is_empty(right)) {
            *kept++ = right;
        }
    }
    array->nCount = static_cast<int32_t>(kept - array->pRange);
    return Removal::done;
}

// The copy of an array in its other form.
template <typename Source, typename Target, typename Convert>
int32_t convert(const Source* source, Target* target, Convert convert_one) {
    if (!given(source, target)) return -1;
    *target = {};
    if (source->nCapacity < 1 || source->nCount < 1) return 0;
    if (!given(source->pRange)) return -1;
    if (init(target, source->nCount) < 0) return kModule.trace(here());
    for (int32_t i = 0; i < source->nCount; ++i) {
        convert_one(&source->pRange[i], &target->pRange[i]);
    }
    target->nCount = source->nCount;
    return 1;
}

// The lowest element that isn't empty, the earliest of several; the end for none.
OX_IDRANGE* lowest_work(const OX_IDRANGEARRAY& array) {
    OX_IDRANGE* const end = end_of(array);
    OX_IDRANGE* lowest = std::find_if_not(array.pRange, end, is_empty);
    for (OX_IDRANGE* element = lowest; element != end; ++element) {
        if (element->nStart < lowest->nStart && !is_empty(*element)) lowest = element;
    }
    return lowest;
}

// The head of a range, of at most MOST identifiers.
OX_IDRANGE head_of(const OX_IDRANGE& range, uint32_t most) {
    return {range.nStart, range.nStart + std::min(count_of(range), most)};
}

}  // namespace

int32_t OX_IDRANGEARRAY_Init(OX_IDRANGEARRAY* pArray) {
    return init(pArray, 0);
}

int32_t OX_IDRANGEARRAY_InitByBuf(OX_IDRANGEARRAY* pArray, int32_t n) {
    return init(pArray, n);
}

int32_t OX_NETIDRANGEARRAY_InitByBuf(OX_NETIDRANGEARRAY* pArray, int32_t n) {
    return init(pArray, n);
}

int32_t OX_IDRANGEARRAY_Release(OX_IDRANGEARRAY* pArray) {
    return release(pArray, 1);
}

int32_t OX_NETIDRANGEARRAY_Release(OX_NETIDRANGEARRAY* pArray) {
    return release(pArray, 0);
}

int32_t OX_IDRANGEARRAY_AddRange(OX_IDRANGEARRAY* pArray, const OX_IDRANGE* pRanges, int32_t n,
                                 uint32_t nFlags) {
    if (n < 1) return 0;
    if (!given(pRanges) || !readable(pArray)) return -1;
    if (!reserve(pArray, n)) return kModule.trace(here());
    std::copy(pRanges, pRanges + n, end_of(*pArray));
    pArray->nCount += n;
    if ((nFlags & kUnmerged) == 0) merge(pArray);
    return 1;
}

int32_t OX_IDRANGEARRAY_RemoveRange(OX_IDRANGEARRAY* pArray, const OX_IDRANGE* pRanges, int32_t n) {
    if (n < 1) return 1;
    if (!given(pRanges) || !readable(pArray)) return -1;
    for (int32_t i = 0; i < n; ++i) {
        const OX_IDRANGE range = pRanges[i];  // it may be an element
        Removal removal = Removal::again;
        while (removal == Removal::again) removal = remove(pArray, range);
        if (removal == Removal::failed) return kModule.trace(here());
    }
    return 1;
}

int32_t OX_IDRANGEARRAY_SimpRemove(OX_IDRANGEARRAY* pArray, const OX_IDRANGE* pRange) {
    if (!given(pRange) || !readable(pArray)) return -1;
    OX_IDRANGE* const end = end_of(*pArray);
    OX_IDRANGE* const found = std::find_if(
        pArray->pRange, end, [&](const OX_IDRANGE& element) { return same(element, *pRange); });
    if (found == end) return 0;
    std::copy(found + 1, end, found);
    --pArray->nCount;
    return 1;
}

int32_t OX_IDRANGEARRAY_HasWork(const OX_IDRANGEARRAY* pArray) {
    if (!readable(pArray)) return -1;
    return std::all_of(pArray->pRange, end_of(*pArray), is_empty) ? 0 : 1;
}

int32_t OX_IDRANGEARRAY_IsHoldRange(const OX_IDRANGEARRAY* pArray, const OX_IDRANGE* pRange) {
    if (!given(pRange) || !readable(pArray)) return -1;
    for (const OX_IDRANGE* element = pArray->pRange; element != end_of(*pArray); ++element) {
        if (overlap(*element, *pRange)) return OX_IDRANGE_IsLarger(element, pRange) != 0 ? 1 : 2;
    }
    return 0;
}

int32_t OX_IDRANGEARRAY_Dup(const OX_IDRANGEARRAY* pSrc, OX_IDRANGEARRAY* pDst) {
    if (!given(pDst) || !readable(pSrc)) return -1;
    if (pSrc == pDst) return 1;
    pDst->nCount = 0;
    if (pSrc->nCount < 1) return 1;
    if (pDst->nCapacity < pSrc->nCount) {
        auto ranges = molte::allocate<OX_IDRANGE>(pSrc->nCount);
        if (ranges == nullptr) return kModule.trace(here());
        ORVEX_free(pDst->pRange);
        pDst->pRange = ranges.release();
        pDst->nCapacity = 0;  // less than there is: meant
    }
    std::copy(pSrc->pRange, end_of(*pSrc), pDst->pRange);
    pDst->nCount = pSrc->nCount;
    return 1;
}

int32_t OX_IDRANGEARRAY_GetMinSeg(const OX_IDRANGEARRAY* pArray, OX_IDRANGE* pOut) {
    if (!given(pOut) || !readable(pArray)) return -1;
    *pOut = {};
    if (pArray->nCount < 1) return 0;
    *pOut = pArray->pRange[0];
    // Empty ones only, and never the last: meant.
    for (int32_t i = 0; i < pArray->nCount - 1; ++i) {
        const OX_IDRANGE& element = pArray->pRange[i];
        if (is_empty(element) && element.nStart < pOut->nStart) *pOut = element;
    }
    return 1;
}

int32_t OX_IDRANGEARRAY_GetSegToWork(OX_IDRANGEARRAY* pArray, OX_IDRANGE* pOut, uint32_t nMax,
                                     int32_t bTake) {
    if (!given(pOut) || !readable(pArray)) return -1;
    OX_IDRANGE* const end = end_of(*pArray);
    OX_IDRANGE* const element = std::find_if_not(pArray->pRange, end, is_empty);
    if (element == end) return 0;
    *pOut = head_of(*element, nMax);
    if (bTake != 0) element->nStart = pOut->nEnd;
    return 1;
}

int64_t OX_IDRANGEARRAY_GetReadySeg(OX_IDRANGEARRAY* pReady, OX_IDRANGEARRAY* pWorking,
                                    OX_IDRANGE* pOut, uint32_t nMax) {
    if (!given(pOut) || !readable(pReady)) return -1;
    *pOut = {};
    OX_IDRANGE* const lowest = lowest_work(*pReady);
    if (lowest == end_of(*pReady)) return 0;
    const OX_IDRANGE head = head_of(*lowest, nMax);
    if (pWorking != nullptr) {
        const auto index = lowest - pReady->pRange;  // the two may be one array, and move
        if (OX_IDRANGEARRAY_AddRange(pWorking, &head, 1, kUnmerged) < 0) {
            return kModule.trace(here());
        }
        pReady->pRange[index].nStart = head.nEnd;
    }
    *pOut = head;
    return count_of(head);
}

int32_t OX_IDRANGEARRAY_AbortWorkSeg(OX_IDRANGEARRAY* pReady, OX_IDRANGEARRAY* pWorking,
                                     const OX_IDRANGE* pSeg) {
    if (!given(pSeg) || !readable(pReady) || !readable(pWorking)) return -1;
    const OX_IDRANGE segment = *pSeg;  // it may be an element
    if (OX_IDRANGEARRAY_AddRange(pReady, &segment, 1, 0) < 0) return kModule.trace(here());
    OX_IDRANGEARRAY_SimpRemove(pWorking, &segment);
    return 1;
}

int32_t OX_IDRANGEARRAY_ToNET(const OX_IDRANGEARRAY* pArray, OX_NETIDRANGEARRAY* pNet) {
    return convert(pArray, pNet, OX_IDRANGE_ToNETIDRANGE);
}

int32_t OX_IDRANGEARRAY_FromNET(const OX_NETIDRANGEARRAY* pNet, OX_IDRANGEARRAY* pArray) {
    return convert(pNet, pArray, OX_NETIDRANGE_ToIDRANGE);
}
