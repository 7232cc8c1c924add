// The growing array.
#include <algorithm>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "core/oxsysutl_memory.h"
#include "moltelib/array.h"
#include "moltelib/memory.h"

namespace {

constexpr auto kModule = molte::kOarray;
using molte::kBadArgument;
constexpr int64_t kMaxItems = std::numeric_limits<int32_t>::max();
constexpr uint32_t kBadIndex = 414;
constexpr uint32_t kNotCopied = 416;
constexpr int32_t kInitLine = 20;

uint8_t* item_at(const PA& array, int32_t index) {
    return static_cast<uint8_t*>(array.pData) + static_cast<int64_t>(index) * array.nItemSize;
}

size_t bytes_of(const PA& array, int32_t count) {
    return static_cast<size_t>(count) * static_cast<size_t>(array.nItemSize);
}

// Moves of one word each: a caller that has just written the item field by field would wait for a
// wider load to see its fields.
template <int32_t kWords>
inline void copy_words(uint8_t* to, const uint8_t* from) {
    uint64_t words[kWords];
    for (int32_t i = 0; i < kWords; ++i) std::memcpy(&words[i], from + 8 * i, 8);
    for (int32_t i = 0; i < kWords; ++i) std::memcpy(to + 8 * i, &words[i], 8);
}

// Most arrays hold pointers, numbers or pairs of them; a copy of constant size is a few moves.
inline void copy_item(uint8_t* to, const void* item, int32_t size) {
    const auto* from = static_cast<const uint8_t*>(item);
    if (size == 16) {
        copy_words<2>(to, from);
    } else if (size == 8) {
        copy_words<1>(to, from);
    } else if (size == 4) {
        std::memcpy(to, from, 4);
    } else {
        std::memcpy(to, from, static_cast<size_t>(size));
    }
}

// Items to add so that index NEED exists.
int32_t growth(const PA& array, int64_t need) {
    const int64_t missing = need - array.nCapacity;
    const int64_t quantum = array.nGrowBy;
    const int64_t added =
        missing >= 0 && missing < quantum ? quantum : (quantum + missing) / quantum * quantum;
    return static_cast<int32_t>(std::min(added, kMaxItems));
}

bool grow(PA* array, int64_t need) {
    if (need >= kMaxItems) {  // no capacity is above it
        const int64_t bytes = int64_t{array->nCapacity} * array->nItemSize;
        return molte::refuse_growth(bytes, (need + 1) * array->nItemSize - bytes) > 0;
    }
    return ORVEX_release_realloc(&array->pData, array->nItemSize, &array->nCapacity,
                                 growth(*array, need)) > 0;
}

// Out of line, so that an append with room is a few instructions.
[[gnu::noinline]] int32_t append_growing(PA* array, const void* item) {
    if (!grow(array, array->nCount)) return kModule.trace(molte::here());
    return PA_Append(array, item);
}

bool has(const PA& array, int32_t index) {
    return index >= 0 && index < array.nCount;
}

int32_t no_such_index(int32_t line, uint32_t error, const PA& array, int32_t index) {
    return kModule.fail(line, error, molte::SystemError::none, "cur=%d max=%d", index,
                        array.nCount);
}

int32_t default_growth(int32_t item_size) {
    return item_size < 16 ? 16 : item_size < 512 ? 8 : 2;
}

// Makes room for INDEX and counts it in; the items between the old end and it become zero, whatever
// removed items left there.
bool extend_to(PA* array, int32_t index) {
    if (index >= array->nCapacity && !grow(array, index)) return false;
    if (index >= array->nCount) {
        std::memset(item_at(*array, array->nCount), 0, bytes_of(*array, index - array->nCount));
        array->nCount = index + 1;
    }
    return true;
}

}  // namespace

int32_t PA_Init(PA* pArray, int32_t nItemSize, int32_t nCapacity) {
    *pArray = {};
    if (nItemSize < 0) return kModule.fail(molte::here(), kBadArgument);
    pArray->nItemSize = nItemSize;
    pArray->nGrowBy = default_growth(nItemSize);
    if (nCapacity < 1) return 1;
    pArray->pData = ORVEX_release_malloc(static_cast<int64_t>(nCapacity) * nItemSize);
    if (pArray->pData == nullptr) return kModule.trace(kInitLine);
    pArray->nCapacity = nCapacity;
    std::memset(pArray->pData, 0, bytes_of(*pArray, nCapacity));
    return 1;
}

int32_t PA_Build(PA* pArray, void* pData, int32_t nItemSize, int32_t nCount, int32_t nCapacity,
                 int32_t nGrowBy) {
    *pArray = {nItemSize, nCount, nCapacity, nGrowBy, pData, 0};
    return 1;
}

int32_t PA_Release(PA* pArray) {
    ORVEX_free(pArray->pData);
    *pArray = {};
    return 1;
}

int32_t PA_AllocMem(PA* pArray, int32_t n) {
    if (n < 0) n = pArray->nCount;
    if (n < pArray->nCapacity || grow(pArray, n)) return 1;
    return kModule.trace(molte::here());
}

int32_t PA_SetBuf(PA* pArray, int32_t n) {
    if (pArray->nCapacity >= n) return 0;
    return PA_AllocMem(pArray, n - 1) > 0 ? 1 : kModule.trace(molte::here());
}

int32_t PA_SetAt(PA* pArray, int32_t nIndex, const void* pItem) {
    if (nIndex < 0) nIndex = pArray->nCount;
    if (!extend_to(pArray, nIndex)) return kModule.trace(molte::here());
    copy_item(item_at(*pArray, nIndex), pItem, pArray->nItemSize);
    return 1;
}

int32_t PA_InsertAt(PA* pArray, int32_t nIndex, const void* pItem) {
    if (nIndex < 0) {
        return kModule.fail(molte::here(), kBadIndex, molte::SystemError::none, "cur idx=%d",
                            nIndex);
    }
    const int32_t count = pArray->nCount;
    // Grows one item early: the room for nCount + 1 must be there before the move.
    const int64_t need = int64_t{count} + 1;
    if (need >= pArray->nCapacity && !grow(pArray, need)) {
        return kModule.trace(molte::here());
    }
    if (nIndex < count) {
        uint8_t* place = item_at(*pArray, nIndex);
        std::memmove(place + pArray->nItemSize, place, bytes_of(*pArray, count - nIndex));
        pArray->nCount = count + 1;
    }
    return PA_SetAt(pArray, nIndex, pItem) > 0 ? 1 : kModule.trace(molte::here());
}

int32_t PA_Append(PA* pArray, const void* pItem) {
    const int32_t count = pArray->nCount;
    if (count >= pArray->nCapacity) return append_growing(pArray, pItem);
    pArray->nCount = count + 1;
    copy_item(item_at(*pArray, count), pItem, pArray->nItemSize);
    return 1;
}

int32_t PA_MultiAppend(PA* pArray, const void* pItems, int32_t n) {
    if (n < 0) return kModule.fail(molte::here(), kBadArgument);
    const int64_t wanted = static_cast<int64_t>(pArray->nCount) + n;
    if (wanted > pArray->nCapacity && !grow(pArray, wanted)) {
        return kModule.trace(molte::here());
    }
    if (n > 0) std::memcpy(item_at(*pArray, pArray->nCount), pItems, bytes_of(*pArray, n));
    pArray->nCount += n;
    return pArray->nCount;
}

int32_t PA_DelAt(PA* pArray, int32_t nIndex) {
    if (!has(*pArray, nIndex)) return no_such_index(molte::here(), 415, *pArray, nIndex);
    uint8_t* place = item_at(*pArray, nIndex);
    std::memmove(place, place + pArray->nItemSize, bytes_of(*pArray, pArray->nCount - nIndex - 1));
    --pArray->nCount;
    return 1;
}

int32_t PA_Lookup(const PA* pArray, const void* pItem) {
    for (int32_t i = 0; i < pArray->nCount; ++i) {
        if (std::memcmp(item_at(*pArray, i), pItem, bytes_of(*pArray, 1)) == 0) return i;
    }
    return -1;
}

int32_t PA_DelItem(PA* pArray, const void* pItem) {
    const int32_t index = PA_Lookup(pArray, pItem);
    return index < 0 ? kModule.trace(molte::here()) : PA_DelAt(pArray, index);
}

int32_t PA_GetAt(const PA* pArray, int32_t nIndex, void* pOut) {
    if (!has(*pArray, nIndex)) return no_such_index(molte::here(), 417, *pArray, nIndex);
    copy_item(static_cast<uint8_t*>(pOut), item_at(*pArray, nIndex), pArray->nItemSize);
    return 1;
}

int32_t PA_Duplicate(const PA* pSrc, PA* pDst) {
    if (PA_Init(pDst, pSrc->nItemSize, pSrc->nCapacity) < 0) return kModule.trace(molte::here());
    pDst->nCount = pSrc->nCount;
    pDst->nGrowBy = pSrc->nGrowBy;
    if (pSrc->nCapacity > 0) {
        std::memcpy(pDst->pData, pSrc->pData, bytes_of(*pSrc, pSrc->nCapacity));
    }
    return 1;
}

int32_t PA_Copy(const PA* pSrc, PA* pDst) {
    if (pDst->pData == nullptr || pDst->nItemSize != pSrc->nItemSize ||
        pDst->nCapacity < pSrc->nCount) {
        return kModule.fail(molte::here(), kNotCopied);
    }
    if (pSrc->nCount > 0) std::memcpy(pDst->pData, pSrc->pData, bytes_of(*pSrc, pSrc->nCount));
    return 1;
}
