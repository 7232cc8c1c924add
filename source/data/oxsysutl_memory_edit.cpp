// Block edits inside a flat buffer, and the small stream writer and reader.
#include <algorithm>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "moltelib/memory.h"
#include "moltelib/memory_edit.h"

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
constexpr uint32_t kStreamEnds = 272;
constexpr uint32_t kNotRemoved = 434;
constexpr uint32_t kNotInserted = 435;
constexpr int64_t kStreamStep = 1024;
constexpr int64_t kMaxSize = std::numeric_limits<int32_t>::max();

// All in bytes, as 64-bit numbers, so that entries of any size can't overflow. -1 when refused.
int64_t remove_bytes(void* buffer, int64_t size, int64_t pos, int64_t n) {
    if (buffer == nullptr || pos < 0 || pos >= size || n < 0 || n > size) return -1;
    n = std::min(n, size - pos);
    auto* place = static_cast<uint8_t*>(buffer) + pos;
    const int64_t tail = size - pos - n;
    std::memmove(place, place + n, static_cast<size_t>(tail));
    std::memset(place + tail, 0, static_cast<size_t>(n));
    return size - n;
}

int64_t insert_bytes(void* buffer, int64_t size, const void* ins, int64_t pos, int64_t n) {
    if (buffer == nullptr || ins == nullptr || size < 0 || pos < 0 || pos > size || n < 1)
        return -1;
    auto* place = static_cast<uint8_t*>(buffer) + pos;
    std::memmove(place + n, place, static_cast<size_t>(size - pos));
    std::memcpy(place, ins, static_cast<size_t>(n));
    return size + n;
}

int32_t removed(int32_t line, int64_t new_size, int32_t entry_size) {
    return new_size < 0 ? kModule.fail(line, kNotRemoved)
                        : static_cast<int32_t>(new_size / entry_size);
}

int32_t inserted(int32_t line, int64_t new_size, int32_t entry_size) {
    return new_size < 0 ? kModule.fail(line, kNotInserted)
                        : static_cast<int32_t>(new_size / entry_size);
}

}  // namespace

int32_t MOLTE_MemDelAndMove(void* pBuf, int32_t nSize, int32_t nPos, int32_t n) {
    return removed(molte::here(), remove_bytes(pBuf, nSize, nPos, n), 1);
}

int32_t MOLTE_EntryDelAndMove(void* pBuf, int32_t nCount, int32_t nPos, int32_t n,
                              int32_t nEntrySize) {
    if (nEntrySize < 1) return kModule.fail(molte::here(), kNotRemoved);
    const int64_t size = nEntrySize;
    return removed(molte::here(), remove_bytes(pBuf, nCount * size, nPos * size, n * size),
                   nEntrySize);
}

int32_t MOLTE_MemInsert(void* pBuf, int32_t nSize, const void* pIns, int32_t nPos, int32_t n) {
    return MOLTE_EntryInsert(pBuf, nSize, pIns, nPos, n, 1);
}

int32_t MOLTE_EntryInsert(void* pBuf, int32_t nCount, const void* pIns, int32_t nPos, int32_t n,
                          int32_t nEntrySize) {
    if (nEntrySize < 1 || (n > 0 && nCount > kMaxSize - n))
        return kModule.fail(molte::here(), kNotInserted);
    const int64_t size = nEntrySize;
    return inserted(molte::here(), insert_bytes(pBuf, nCount * size, pIns, nPos * size, n * size),
                    nEntrySize);
}

int32_t MOLTE_MEMOP_AddToStream(uint8_t** ppBuf, int32_t* pnCapacity, int32_t* pnPos,
                                const void* pData, int32_t n) {
    if (n < 0 || *pnPos < 0 || *pnPos > kMaxSize - n)
        return kModule.fail(molte::here(), kBadArgument);
    const int64_t end = static_cast<int64_t>(*pnPos) + n;
    if (end > *pnCapacity) {
        const int64_t capacity = std::max(*pnCapacity, 0);
        const int64_t shortfall = end - capacity;
        const int64_t step = (shortfall + kStreamStep - 1) / kStreamStep * kStreamStep;
        void* buffer = *ppBuf;
        if (ORVEX_release_realloc(&buffer, 1, pnCapacity,
                                  static_cast<int32_t>(std::min(step, kMaxSize - capacity))) < 0) {
            return kModule.trace(molte::here());
        }
        *ppBuf = static_cast<uint8_t*>(buffer);
    }
    if (n > 0) std::memcpy(*ppBuf + *pnPos, pData, static_cast<size_t>(n));
    *pnPos += n;
    return *pnPos;
}

int32_t MOLTE_MEMOP_GetFromStream(const void* pBuf, int32_t nBufLen, int32_t* pnPos, void* pOut,
                                  int32_t n) {
    if (n < 0 || *pnPos < 0 || static_cast<int64_t>(*pnPos) + n > nBufLen) {
        return kModule.fail(molte::here(), kStreamEnds, molte::SystemError::none,
                            "buflen=%d curpos=%d read=%d", nBufLen, *pnPos, n);
    }
    if (n > 0)
        std::memcpy(pOut, static_cast<const uint8_t*>(pBuf) + *pnPos, static_cast<size_t>(n));
    *pnPos += n;
    return *pnPos;
}
