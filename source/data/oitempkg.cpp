// Item packages: named items in one flat block.
#include "moltelib/item_package.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "core/owners.h"
#include "core/oxsysutl_memory.h"
#include "moltelib/byte_field.h"

using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOitempkg;
constexpr uint32_t kBadHead = 425;
constexpr uint32_t kBadItem = 426;
constexpr uint32_t kBadPosition = 427;
constexpr uint32_t kNoRoomForHead = 428;
constexpr uint32_t kBeyondEnd = 429;

constexpr int32_t kHeadSize = sizeof(MOLTE_ITEMPKG_HEAD);
constexpr int32_t kItemHeadSize = sizeof(MOLTE_ITEMHEAD);
constexpr size_t kNameSize = MOLTE_ITEM_NAME_SIZE;
constexpr size_t kTagSize = sizeof(MOLTE_ITEMHEAD::szTag);
constexpr int32_t kLeastBlock = 1024;
constexpr int32_t kLargestBlock = 268435456;
constexpr int64_t kGrowTo = 8192;

int32_t refuse(int32_t line = __builtin_LINE()) {
    return kModule.fail(line, kBadArgument);
}

// Whether none of these pointers is null; else that is reported.
template <typename... Pointers>
bool given(Pointers... pointers) {
    if (((pointers != nullptr) && ...)) return true;
    refuse();
    return false;
}

// Whether a handle has a package that can be added to; else that is reported.
bool has_package(const MOLTE_ITEMPKG_OPS& ops) {
    if (ops.pData != nullptr && ops.nUsed >= kHeadSize && ops.nAlloc >= ops.nUsed) return true;
    refuse();
    return false;
}

MOLTE_ITEMPKG_HEAD& head_of(const MOLTE_ITEMPKG_OPS& ops) {
    return *reinterpret_cast<MOLTE_ITEMPKG_HEAD*>(ops.pData);
}

// The room that an item takes: its head, its data and the padding.
constexpr int64_t room_for(int64_t data_length) {
    return (data_length + kItemHeadSize + 3) & ~int64_t{3};
}

bool is_item(const MOLTE_ITEMHEAD& item) {
    return std::memcmp(item.szTag, MOLTE_ITEM_TAG, kTagSize) == 0 &&
           Char4To_uint4(item.nHeadSize) == kItemHeadSize;
}

MOLTE_ITEMHEAD* item_at(uint8_t* block, int64_t position) {
    return reinterpret_cast<MOLTE_ITEMHEAD*>(block + position);
}

// Reports why there is no item at a position with so many bytes behind it; -1.
[[gnu::cold, gnu::noinline]] int32_t refuse_item(uint8_t* block, int64_t position, int64_t rest) {
    if (rest < 0 || position < 0) return kModule.fail(here(), kBadPosition);
    if (rest < kItemHeadSize) return kModule.fail(here(), kNoRoomForHead);
    if (!given(block)) return -1;
    if (MOLTE_ITEMPKG_IsValidItem(item_at(block, position)) == 0) return kModule.trace(here());
    return kModule.fail(here(), kBeyondEnd);
}

// The items one after the other.
struct Walk {
    explicit Walk(const MOLTE_ITEMPKG_OPS& package, int64_t first = kHeadSize)
        : block(package.pData), used(package.nUsed), next(first) {}

    // 1; 0 at the end; -1 for a bad item, which is reported.
    int32_t go_on();

    uint8_t* block;
    int64_t used;
    MOLTE_ITEMHEAD* item = nullptr;
    int64_t position = 0;
    int64_t next;  // the position of the item to come
};

inline int32_t Walk::go_on() {
    const int64_t rest = used - next;
    if (rest == 0 && next >= 0) return 0;
    if (block == nullptr || next < 0 || rest < kItemHeadSize || !is_item(*item_at(block, next))) {
        return refuse_item(block, next, rest);
    }
    MOLTE_ITEMHEAD* const found = item_at(block, next);
    const int64_t size = room_for(Char4To_uint4(found->nDataLen));
    if (size > rest) return refuse_item(block, next, rest);
    item = found;
    position = next;
    next += size;
    return 1;
}

// Goes on to the next item of a name: 1, 0 or -1 as go_on. Names are compared as whole texts, and
// within their field, for one that was sent may lack its terminator.
int32_t find(Walk& walk, const char* name) {
    const size_t length = strnlen(name, kNameSize + 1);
    const size_t compared = std::min(length + 1, kNameSize);
    const auto has_name = [&](const MOLTE_ITEMHEAD& item) {
        return length <= kNameSize && std::memcmp(item.szName, name, compared) == 0;
    };
    Walk at = walk;  // in registers
    int32_t result;
    do {
        result = at.go_on();
    } while (result > 0 && !has_name(*at.item));
    walk = at;
    return result;
}

// Where in the block of a package something lies; -1 for elsewhere.
int64_t offset_in(const MOLTE_ITEMPKG_OPS& ops, const void* at) {
    const auto offset = reinterpret_cast<uintptr_t>(at) - reinterpret_cast<uintptr_t>(ops.pData);
    return offset < static_cast<uintptr_t>(ops.nAlloc) ? static_cast<int64_t>(offset) : -1;
}

// Makes room for so many bytes behind the first USED. The block may move.
bool reserve(MOLTE_ITEMPKG_OPS* ops, int64_t used, int64_t size) {
    if (ops->nAlloc - used >= size) return true;
    const int64_t target = (used + size + kGrowTo - 1) / kGrowTo * kGrowTo;
    const int64_t growth = target - ops->nAlloc;
    if (target > std::numeric_limits<int32_t>::max()) {
        return molte::refuse_growth(ops->nAlloc, growth) > 0;
    }
    void* block = ops->pData;
    if (ORVEX_release_realloc(&block, 1, &ops->nAlloc, static_cast<int32_t>(growth)) < 0) {
        return false;
    }
    ops->pData = static_cast<uint8_t*>(block);
    return true;
}

// Puts an item into room that is there.
void put(MOLTE_ITEMPKG_OPS* ops, const MOLTE_ITEMHEAD& item, const void* data, int32_t length) {
    uint8_t* const at = ops->pData + ops->nUsed;
    // The data first: they may lie where the head comes.
    if (length > 0) std::memmove(at + kItemHeadSize, data, static_cast<size_t>(length));
    std::memcpy(at, &item, kItemHeadSize);
    ops->nUsed += static_cast<int32_t>(room_for(length));
    uint4ToChar4(static_cast<uint32_t>(ops->nUsed), head_of(*ops).nUsed);
    uint4ToChar4(static_cast<uint32_t>(ops->nAlloc), head_of(*ops).nAlloc);
}

// Takes out what lies between two positions. What is behind the bytes in use becomes zero, so that
// nothing that was deleted is sent as padding.
void take_out(MOLTE_ITEMPKG_OPS* ops, int64_t start, int64_t end) {
    const auto used = static_cast<int32_t>(ops->nUsed - (end - start));
    std::memmove(ops->pData + start, ops->pData + end, static_cast<size_t>(ops->nUsed - end));
    std::memset(ops->pData + used, 0, static_cast<size_t>(end - start));
    ops->nUsed = used;
    uint4ToChar4(static_cast<uint32_t>(used), head_of(*ops).nUsed);
}

// Makes the head of an item with data, if both can be added; else that is reported.
bool make_head(MOLTE_ITEMHEAD* head, const char* name, int32_t type, const void* data,
               int32_t length) {
    if (length < 0 || (length > 0 && data == nullptr)) {
        refuse();
        return false;
    }
    if (MOLTE_ITEMHEAD_Init(head, name, type) < 0) return false;
    uint4ToChar4(static_cast<uint32_t>(length), head->nDataLen);
    return true;
}

int32_t type_of(const MOLTE_ITEMHEAD& item) {
    return static_cast<int32_t>(Char4To_uint4(item.nItemType));
}
// One of 2 GiB and more is negative, and refused.
int32_t length_of(const MOLTE_ITEMHEAD& item) {
    return static_cast<int32_t>(Char4To_uint4(item.nDataLen));
}

}  // namespace

int32_t MOLTE_ITEMPKG_New(MOLTE_ITEMPKG_OPS* pOps, int32_t nSize) {
    if (!given(pOps)) return -1;
    *pOps = {};
    const int32_t size = std::clamp(nSize, kLeastBlock, kLargestBlock);
    auto block = molte::allocate<uint8_t>(size);
    if (block == nullptr) return kModule.trace(here());
    std::memset(block.get(), 0, static_cast<size_t>(size));
    *pOps = {block.release(), kHeadSize, size};
    MOLTE_ITEMPKG_HEAD& head = head_of(*pOps);
    uint4ToChar4(kHeadSize, head.nHeadSize);
    std::memcpy(head.szMagic, MOLTE_ITEMPKG_MAGIC, sizeof MOLTE_ITEMPKG_MAGIC);
    uint4ToChar4(kHeadSize, head.nUsed);
    uint2ToChar2(MOLTE_ITEMPKG_VERSION, head.nVersion);
    uint4ToChar4(static_cast<uint32_t>(size), head.nAlloc);
    return 1;
}

int32_t MOLTE_ITEMPKG_BuildOpsFromData(MOLTE_ITEMPKG_OPS* pOps, void* pData) {
    if (!given(pOps, pData)) return -1;
    pOps->pData = static_cast<uint8_t*>(pData);
    pOps->nUsed = static_cast<int32_t>(Char4To_uint4(head_of(*pOps).nUsed));
    pOps->nAlloc = pOps->nUsed;
    return 1;
}

int32_t MOLTE_ITEMPKG_Free(MOLTE_ITEMPKG_OPS* pOps) {
    if (pOps == nullptr) return 0;
    ORVEX_free(pOps->pData);
    *pOps = {};
    return 1;
}

int32_t MOLTE_ITEMPKG_IsValidHead(const MOLTE_ITEMPKG_OPS* pOps) {
    if (!given(pOps)) return 0;
    const bool is_there = pOps->nUsed >= kHeadSize;
    if (is_there && !given(pOps->pData)) return 0;
    const auto is_valid = [used =
                               static_cast<uint32_t>(pOps->nUsed)](const MOLTE_ITEMPKG_HEAD& head) {
        return std::memcmp(head.szMagic, MOLTE_ITEMPKG_MAGIC, sizeof MOLTE_ITEMPKG_MAGIC) == 0 &&
               Char2To_uint2(head.nVersion) == MOLTE_ITEMPKG_VERSION &&
               Char2To_uint2(head.nZero) == 0 && Char4To_uint4(head.nUsed) == used &&
               Char4To_uint4(head.nHeadSize) == kHeadSize;
    };
    if (is_there && is_valid(head_of(*pOps))) return 1;
    const int32_t held = std::max({pOps->nUsed, pOps->nAlloc, 0});
    kModule.fail_bytes(here(), kBadHead, SystemError::none, pOps->pData, std::min(held, kHeadSize));
    return 0;
}

int32_t MOLTE_ITEMPKG_IsValidItem(const MOLTE_ITEMHEAD* pItem) {
    if (!given(pItem)) return 0;
    if (is_item(*pItem)) return 1;
    kModule.fail_bytes(here(), kBadItem, SystemError::none, pItem, kItemHeadSize);
    return 0;
}

int32_t MOLTE_ITEMHEAD_Init(MOLTE_ITEMHEAD* pHead, const char* pszName, int32_t nItemType) {
    if (!given(pHead)) return -1;
    const size_t length = pszName != nullptr ? strnlen(pszName, kNameSize) : 0;
    if (length == kNameSize) return refuse();
    MOLTE_ITEMHEAD head{};  // the name may be that of the head itself
    uint4ToChar4(kItemHeadSize, head.nHeadSize);
    if (length > 0) std::memcpy(head.szName, pszName, length);
    uint4ToChar4(static_cast<uint32_t>(nItemType), head.nItemType);
    std::memcpy(head.szTag, MOLTE_ITEM_TAG, kTagSize);
    *pHead = head;
    return 1;
}

int32_t MOLTE_ITEMPKG_AddItemEx(MOLTE_ITEMPKG_OPS* pOps, const char* pszName, int32_t nItemType,
                                const void* pData, int32_t nLen) {
    MOLTE_ITEMHEAD head;
    if (!given(pOps) || !has_package(*pOps)) return -1;
    if (!make_head(&head, pszName, nItemType, pData, nLen)) return -1;
    const int64_t offset = offset_in(*pOps, pData);
    if (!reserve(pOps, pOps->nUsed, room_for(nLen))) return kModule.trace(here());
    put(pOps, head, offset < 0 ? pData : pOps->pData + offset, nLen);
    return 1;
}

int32_t MOLTE_ITEMPKG_AddItem(MOLTE_ITEMPKG_OPS* pOps, const MOLTE_ITEMHEAD* pItem) {
    if (!given(pItem)) return -1;
    if (MOLTE_ITEMPKG_AddItemEx(pOps, pItem->szName, type_of(*pItem), pItem + 1,
                                length_of(*pItem)) < 0) {
        return kModule.trace(here());
    }
    return 1;
}

int32_t ITEMPKG_GetNextItem(const MOLTE_ITEMPKG_OPS* pOps, MOLTE_ITEMHEAD** ppItem, int32_t* pnPos,
                            int32_t* pnNext) {
    if (!given(pOps, ppItem, pnPos, pnNext)) return -1;
    Walk walk(*pOps, *pnNext);
    const int32_t result = walk.go_on();
    if (result <= 0) return result;
    *ppItem = walk.item;
    *pnPos = static_cast<int32_t>(walk.position);
    *pnNext = static_cast<int32_t>(walk.next);
    return 1;
}

int32_t ITEMPKG_GetFirstItem(const MOLTE_ITEMPKG_OPS* pOps, MOLTE_ITEMHEAD** ppItem, int32_t* pnPos,
                             int32_t* pnNext) {
    if (!given(pnPos, pnNext)) return -1;
    *pnPos = 0;
    *pnNext = kHeadSize;
    const int32_t result = ITEMPKG_GetNextItem(pOps, ppItem, pnPos, pnNext);
    return result < 0 ? kModule.trace(here()) : result;
}

int32_t MOLTE_ITEMPKG_GetItemEx(const MOLTE_ITEMPKG_OPS* pOps, const char* pszName,
                                MOLTE_ITEMHEAD** ppItem, int32_t* pnPos) {
    if (!given(pOps, pszName)) return -1;
    Walk walk(*pOps);
    const int32_t result = find(walk, pszName);
    if (result < 0) return kModule.trace(here());
    if (result == 0) return 0;
    if (ppItem != nullptr) *ppItem = walk.item;
    if (pnPos != nullptr) *pnPos = static_cast<int32_t>(walk.position);
    return 1;
}

int32_t MOLTE_ITEMPKG_GetItem(const MOLTE_ITEMPKG_OPS* pOps, const char* pszName,
                              MOLTE_ITEMHEAD** ppItem) {
    const int32_t result = MOLTE_ITEMPKG_GetItemEx(pOps, pszName, ppItem, nullptr);
    return result < 0 ? kModule.trace(here()) : result;
}

int32_t MOLTE_ITEMPKG_GetItemDir(const MOLTE_ITEMPKG_OPS* pOps, MOLTE_ITEMHEAD** ppDir) {
    if (!given(pOps, ppDir)) return -1;
    int32_t count = 0;
    int32_t result;
    for (Walk walk(*pOps); (result = walk.go_on()) > 0;) ++count;
    if (result < 0) return kModule.trace(here());
    if (count == 0) return 0;
    auto heads = molte::allocate<MOLTE_ITEMHEAD>(count);
    if (heads == nullptr) return kModule.trace(here());
    MOLTE_ITEMHEAD* head = heads.get();
    for (Walk walk(*pOps); walk.go_on() > 0;) *head++ = *walk.item;
    *ppDir = heads.release();
    return count;
}

int32_t MOLTE_ITEMPKG_DelItem(MOLTE_ITEMPKG_OPS* pOps, const char* pszName) {
    if (!given(pOps, pszName)) return -1;
    Walk walk(*pOps);
    const int32_t result = find(walk, pszName);
    if (result < 0) return kModule.trace(here());
    if (result > 0) take_out(pOps, walk.position, walk.next);
    return result;
}

int32_t MOLTE_ITEMPKG_UpdateItem(MOLTE_ITEMPKG_OPS* pOps, const MOLTE_ITEMHEAD* pItem) {
    if (!given(pOps, pItem) || !has_package(*pOps)) return -1;
    const void* data = pItem + 1;
    const int32_t length = length_of(*pItem);
    MOLTE_ITEMHEAD head;
    if (!make_head(&head, pItem->szName, type_of(*pItem), data, length)) return -1;
    Walk old(*pOps);
    const int32_t found = find(old, head.szName);
    if (found < 0) return kModule.trace(here());
    if (found == 0) old.position = old.next;  // the end: nothing is taken out
    molte::Heap<uint8_t> copy;
    if (length > 0 && offset_in(*pOps, data) >= 0) {  // it moves, or is the old one itself
        copy = molte::allocate<uint8_t>(length);
        if (copy == nullptr) return kModule.trace(here());
        data = std::memcpy(copy.get(), data, static_cast<size_t>(length));
    }
    if (!reserve(pOps, pOps->nUsed - (old.next - old.position), room_for(length))) {
        return kModule.trace(here());
    }
    take_out(pOps, old.position, old.next);
    put(pOps, head, data, length);
    return 1;
}
