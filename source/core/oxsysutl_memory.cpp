// The allocator.
#include "moltelib/memory.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>

#include "core/modules.h"
#include "core/oxsysutl_memory.h"
#include "platform/memory.h"

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
using molte::kOutOfMemory;
constexpr int32_t kDefaultGrow = 16;

void* out_of_memory() {
    errno = ENOMEM;
    return nullptr;
}

// A new one, or null with a report.
void* block_by(void* (*make)(size_t), int64_t size) {
    void* const block = size < 0 ? out_of_memory() : make(static_cast<size_t>(size));
    if (block == nullptr) {
        kModule.fail(1382, kOutOfMemory, molte::SystemError::runtime, "Size=%" PRId64, size);
    }
    return block;
}

// A block of at least SIZE bytes with what BLOCK held. One that must move gets twice its size, so
// that growing in many small steps costs no more than in a few large ones; what is beyond the
// caller's capacity is asked of the heap again at the next step.
void* grown_block(void* block, size_t size) {
    if (block == nullptr) return std::malloc(size);
    if (platform::block_size(block) >= size) return block;
    void* const roomy = std::realloc(block, size * 2);
    if (roomy == nullptr) return std::realloc(block, size);
    platform::expect_large_use(roomy, size * 2);
    return roomy;
}

}  // namespace

int32_t molte::refuse_growth(int64_t old_bytes, int64_t added_bytes) {
    errno = ENOMEM;
    return kModule.fail(1324, kOutOfMemory, SystemError::runtime, "Size O=%" PRId64 " S=%" PRId64,
                        old_bytes, added_bytes);
}

void* molte::zeroed_malloc(int64_t size) {
    return block_by(platform::zeroed_block, size);
}

void* ORVEX_release_malloc(int64_t nSize) {
    return block_by(std::malloc, nSize);
}

int32_t ORVEX_release_realloc(void** ppData, int32_t nItemSize, int32_t* pnCapacity,
                              int32_t nGrow) {
    if (ppData == nullptr || pnCapacity == nullptr || nItemSize < 1) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    const int64_t items = std::max(*pnCapacity, 0);
    const int64_t added = nGrow < 1 ? kDefaultGrow : nGrow;
    const int64_t old_bytes = items * nItemSize;
    const int64_t new_bytes = (items + added) * nItemSize;
    void* const grown =
        items + added > INT32_MAX ? nullptr : grown_block(*ppData, static_cast<size_t>(new_bytes));
    if (grown == nullptr) return molte::refuse_growth(old_bytes, new_bytes - old_bytes);
    const int64_t kept = *ppData != nullptr ? old_bytes : 0;
    std::memset(static_cast<uint8_t*>(grown) + kept, 0, static_cast<size_t>(new_bytes - kept));
    *ppData = grown;
    *pnCapacity = static_cast<int32_t>(items + added);
    return 1;
}

void ORVEX_free(void* p) {
    std::free(p);
}
void ThreadFreeMemory(void* p) {
    std::free(p);
}
void ORVEX_CONVBAR_FreeMem(void* p) {
    std::free(p);
}

int32_t ORVEX_debug_realloc(void) {
    return -1;
}
int32_t ORVEX_dbg_malloc(void) {
    return 0;
}
int32_t MOLTE_DumpMemoryLeak(void) {
    return 0;
}
int32_t ORVEX_ALLOCHOOK_Install(void) {
    return 1;
}
