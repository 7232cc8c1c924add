// Locks on resources that exist only as values.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

#include "concurrency/oxthrdop.h"
#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/byte_field.h"
#include "moltelib/memory.h"
#include "moltelib/memory_edit.h"
#include "moltelib/resource_lock.h"
#include "moltelib/sorted_array.h"
#include "moltelib/state.h"
#include "moltelib/text_hook.h"

using molte::CritGuard;
using molte::here;
using molte::kBadArgument;

namespace {

constexpr auto kModule = molte::kOreslock;
constexpr uint32_t kNotLocked = 101;

constexpr int32_t kLeastCapacity = 16;
constexpr int32_t kMostCapacity = 1024;
constexpr int32_t kLeastNodes = 8;
constexpr int32_t kGrowBy = 128;
constexpr int32_t kSlotSize = sizeof(void*);

constexpr size_t kComparedBytes = offsetof(MOLTE_RESLOCKID, nLen);
constexpr uint8_t kBytesWithoutKey = offsetof(MOLTE_RESLOCKID, szKey);

int compare_bytes(const void* a, const void* b) {
    return std::memcmp(a, b, kComparedBytes);
}

bool key_fits(const void* key, int32_t length) {
    return length >= 0 && length <= MOLTE_RESLOCK_KEY_SIZE && (key != nullptr || length == 0);
}

void pack_types(MOLTE_RESLOCKID* id, int32_t type, int32_t sub_type) {
    uint2ToChar2(static_cast<uint16_t>(type), id->nResType);
    uint2ToChar2(static_cast<uint16_t>(sub_type), id->nResSubType);
}

// What a comparison takes for the node of an identifier.
MOLTE_RESLOCKNODE key_node(const MOLTE_RESLOCKID& id, MOLTE_RESLOCKCOMPARE compare) {
    MOLTE_RESLOCKNODE key{};
    key.stId = id;
    key.pfnCmp = compare;
    return key;
}

// The first 16 bytes, which nearly always decide, as numbers of the same order.
struct Head {
    uint64_t first;
    uint64_t second;
};

Head head_of(const MOLTE_RESLOCKID& id) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&id);
    return {Char8To_uint8(bytes), Char8To_uint8(bytes + 8)};
}

struct Place {
    int32_t index;  // of the identifier, or where to insert it
    bool found;
};

// compare(node) is the order of what is looked for beside a node.
template <typename Compare>
Place place_among(MOLTE_RESLOCKNODE* const* nodes, int32_t count, Compare compare) {
    int32_t low = 0;
    int32_t high = count;
    while (low < high) {
        const int32_t middle = low + (high - low) / 2;
        const int order = compare(*nodes[middle]);
        if (order == 0) return {middle, true};
        if (order > 0) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return {low, false};
}

// One search tells what the two of the interface tell; with the comparison by bytes it makes no
// call for it.
Place place_of(const MOLTE_RESLOCK& table, const MOLTE_RESLOCKID& id) {
    if (table.pfnCmp == compare_bytes) {
        const Head head = head_of(id);
        return place_among(table.ppNode, table.nActive, [&](const MOLTE_RESLOCKNODE& node) {
            const Head other = head_of(node.stId);
            if (head.first != other.first) return head.first < other.first ? -1 : 1;
            if (head.second != other.second) return head.second < other.second ? -1 : 1;
            return compare_bytes(&id, &node);
        });
    }
    const MOLTE_RESLOCKNODE key = key_node(id, table.pfnCmp);
    return place_among(table.ppNode, table.nActive,
                       [&key](const MOLTE_RESLOCKNODE& node) { return key.pfnCmp(&key, &node); });
}

bool add_node(MOLTE_RESLOCK* table) {
    auto node = molte::allocate<MOLTE_RESLOCKNODE>(1);
    if (node == nullptr) return false;
    node[0] = {};
    MOLTE_RESLOCKNODE_Init(node.get());
    node[0].pfnCmp = table->pfnCmp;
    table->ppNode[table->nNode++] = node.release();
    return true;
}

bool grow(MOLTE_RESLOCK* table, int32_t by) {
    void* nodes = table->ppNode;
    const int32_t grown = ORVEX_release_realloc(&nodes, kSlotSize, &table->nCapacity, by);
    table->ppNode = static_cast<MOLTE_RESLOCKNODE**>(nodes);
    return grown == 1;
}

bool has_room(MOLTE_RESLOCK* table) {
    return table->nActive < table->nCapacity || grow(table, kGrowBy);
}

// Makes the first free node that of the identifier. The others move up into its place.
bool activate(MOLTE_RESLOCK* table, const MOLTE_RESLOCKID& id, int32_t index) {
    if (!has_room(table)) return kModule.trace(196) > 0;
    if (table->nNode == table->nActive && !add_node(table)) return kModule.trace(204) > 0;
    MOLTE_RESLOCKNODE* const node = table->ppNode[table->nActive];
    node->stId = id;
    MOLTE_EntryInsert(table->ppNode, table->nActive, &node, index, 1, kSlotSize);
    ++table->nActive;
    return true;
}

// The node that the caller waits for from here on, so that nobody takes it away; null without
// memory.
MOLTE_RESLOCKNODE* want(MOLTE_RESLOCK* table, const MOLTE_RESLOCKID& id) {
    const CritGuard guard(table->stCrit);
    const Place place = place_of(*table, id);
    if (!place.found && !activate(table, id, place.index)) return nullptr;
    MOLTE_RESLOCKNODE* const node = table->ppNode[place.index];
    ++node->nRef;
    table->nPeakActive = std::max(table->nPeakActive, table->nActive);
    return node;
}

// The node becomes the first free one.
void deactivate(MOLTE_RESLOCK* table, int32_t index) {
    MOLTE_RESLOCKNODE* const node = table->ppNode[index];
    MOLTE_EntryDelAndMove(table->ppNode, table->nActive, index, 1, kSlotSize);
    table->ppNode[--table->nActive] = node;
}

enum class Unlocked { yes, not_there, not_ours };

// The node's lock is left under the table's: nobody can take the node for something else in
// between.
Unlocked give_up(MOLTE_RESLOCK* table, const MOLTE_RESLOCKID& id) {
    const CritGuard guard(table->stCrit);
    const Place place = place_of(*table, id);
    if (!place.found) return Unlocked::not_there;
    MOLTE_RESLOCKNODE* const node = table->ppNode[place.index];
    if (!molte::holds(node->stCrit.stCrit)) return Unlocked::not_ours;
    --node->nRef;
    MOLTE_LeaveCrit(&node->stCrit.stCrit);
    if (node->nRef == 0) deactivate(table, place.index);
    return Unlocked::yes;
}

struct TableRelease {
    void operator()(MOLTE_RESLOCK* table) const { MOLTE_RESLOCK_Release(&table); }
};

MOLTE_RESLOCK* no_table(int32_t line) {
    kModule.trace(line);
    return nullptr;
}

}  // namespace

// ---- Tables ----

MOLTE_RESLOCK* MOLTE_RESLOCK_Init(MOLTE_RESLOCKCOMPARE pfnCmp, int32_t nCapacity,
                                  int32_t nPreAlloc) {
    auto block = molte::allocate<MOLTE_RESLOCK>(1);
    if (block == nullptr) return no_table(136);
    block[0] = {};
    std::unique_ptr<MOLTE_RESLOCK, TableRelease> table(block.release());
    MOLTE_InitCrit(&table->stCrit);
    table->pfnCmp = pfnCmp != nullptr ? pfnCmp : compare_bytes;
    const int32_t capacity = std::clamp(nCapacity, kLeastCapacity, kMostCapacity);
    if (!grow(table.get(), capacity)) return no_table(148);
    const int32_t count = std::clamp(nPreAlloc, kLeastNodes, capacity);
    while (table->nNode < count) {
        if (!add_node(table.get())) return no_table(152);
    }
    return table.release();
}

int32_t MOLTE_RESLOCK_Release(MOLTE_RESLOCK** ppLock) {
    if (ppLock == nullptr || *ppLock == nullptr) return 1;
    MOLTE_RESLOCK* const table = *ppLock;
    for (int32_t i = 0; i < table->nNode; ++i) {
        MOLTE_RESLOCKNODE_Release(table->ppNode[i]);
        ORVEX_free(table->ppNode[i]);
    }
    ORVEX_free(table->ppNode);
    MOLTE_ReleaseCrit(&table->stCrit);
    ORVEX_free(table);
    *ppLock = nullptr;
    return 1;
}

// ---- Locks ----

int32_t MOLTE_RESLOCK_Lock(MOLTE_RESLOCK* pLock, MOLTE_RESLOCKID* pId, int32_t /*nOption*/) {
    if (pLock == nullptr || pId == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_RESLOCKNODE* const node = want(pLock, *pId);
    if (node == nullptr) return -1;
    MOLTE_EnterCrit(&node->stCrit.stCrit);
    pId->bLocked = 1;
    return 1;
}

int32_t MOLTE_RESLOCK_Unlock(MOLTE_RESLOCK* pLock, MOLTE_RESLOCKID* pId) {
    if (pLock == nullptr || pId == nullptr) return kModule.fail(here(), kBadArgument);
    if (pId->bLocked == 0) return 0;
    const Unlocked unlocked = give_up(pLock, *pId);
    if (unlocked != Unlocked::not_ours) pId->bLocked = 0;
    if (unlocked == Unlocked::yes) return 1;
    kModule.fail(here(), kNotLocked);
    MOLTE_PrintError("unlock error\n");
    return -1;
}

int32_t MOLTE_RESLOCK_LockByKey(MOLTE_RESLOCK* pLock, MOLTE_RESLOCKID* pId, int32_t nResType,
                                int32_t nResSubType, const void* pKey, int32_t nKeyLen,
                                int32_t nOption) {
    if (pLock == nullptr || pId == nullptr || !key_fits(pKey, nKeyLen)) {
        return kModule.fail(here(), kBadArgument);
    }
    MOLTE_RESLOCKID id{};  // the key may lie in *pId
    MOLTE_RESLOCKID_PackByKey(&id, nResType, nResSubType, pKey, nKeyLen);
    *pId = id;
    return MOLTE_RESLOCK_Lock(pLock, pId, nOption);
}

int32_t MOLTE_RESLOCK_LockBySID(MOLTE_RESLOCK* pLock, MOLTE_RESLOCKID* pId, int32_t nResType,
                                int32_t nResSubType, uint64_t n64Sid, int32_t nOption) {
    if (pLock == nullptr || pId == nullptr) return kModule.fail(here(), kBadArgument);
    *pId = {};
    MOLTE_RESLOCKID_PackBySID(pId, nResType, nResSubType, n64Sid);
    return MOLTE_RESLOCK_Lock(pLock, pId, nOption);
}

// ---- Identifiers ----

int32_t MOLTE_RESLOCKID_PackByKey(MOLTE_RESLOCKID* pId, int32_t nResType, int32_t nResSubType,
                                  const void* pKey, int32_t nKeyLen) {
    if (pId == nullptr || !key_fits(pKey, nKeyLen)) return kModule.fail(here(), kBadArgument);
    pack_types(pId, nResType, nResSubType);
    if (nKeyLen > 0) std::memmove(pId->szKey, pKey, static_cast<size_t>(nKeyLen));
    pId->nLen = static_cast<uint8_t>(kBytesWithoutKey + nKeyLen);
    return 1;
}

int32_t MOLTE_RESLOCKID_PackBySID(MOLTE_RESLOCKID* pId, int32_t nResType, int32_t nResSubType,
                                  uint64_t n64Sid) {
    if (pId == nullptr) return kModule.fail(here(), kBadArgument);
    pack_types(pId, nResType, nResSubType);
    uint8ToChar8(n64Sid, pId->n64Sid);
    pId->nLen = kBytesWithoutKey;
    return 1;
}

int MOLTE_RESKEYSIDLOCKID_Cmp(const void* pA, const void* pB) {
    const size_t a = static_cast<const MOLTE_RESLOCKID*>(pA)->nLen;
    const size_t b = static_cast<const MOLTE_RESLOCKID*>(pB)->nLen;
    if (a != b) return a < b ? -1 : 1;
    return std::memcmp(pA, pB, std::min(a, kComparedBytes));
}

// ---- The nodes of a table ----

int32_t MOLTE_RESLOCKNODE_Init(MOLTE_RESLOCKNODE* pNode) {
    if (pNode == nullptr) return kModule.fail(here(), kBadArgument);
    return MOLTE_InitCrit(&pNode->stCrit);
}

int32_t MOLTE_RESLOCKNODE_Release(MOLTE_RESLOCKNODE* pNode) {
    if (pNode == nullptr) return 1;
    MOLTE_ReleaseCrit(&pNode->stCrit);
    *pNode = {};
    return 1;
}

int MOLTE_RESLOCKNODE_Cmp(const void* ppA, const void* ppB) {
    const auto* a = *static_cast<const MOLTE_RESLOCKNODE* const*>(ppA);
    const auto* b = *static_cast<const MOLTE_RESLOCKNODE* const*>(ppB);
    return a->pfnCmp(a, b);
}

int32_t MOLTE_RESLOCKNODE_Find(MOLTE_RESLOCKNODE* const* ppNode, int32_t n,
                               const MOLTE_RESLOCKID* pId) {
    if (n < 1) return -1;
    if (ppNode == nullptr || pId == nullptr) return kModule.fail(here(), kBadArgument);
    const MOLTE_RESLOCKNODE key = key_node(*pId, ppNode[0]->pfnCmp);
    const MOLTE_RESLOCKNODE* const wanted = &key;
    return MOLTE_bsearch(&wanted, ppNode, n, kSlotSize, MOLTE_RESLOCKNODE_Cmp);
}

int32_t MOLTE_RESLOCKNODE_FindInsPos(MOLTE_RESLOCKNODE* const* ppNode, int32_t n,
                                     const MOLTE_RESLOCKID* pId) {
    if (n < 1) return 0;
    if (ppNode == nullptr || pId == nullptr) return kModule.fail(here(), kBadArgument);
    const MOLTE_RESLOCKNODE key = key_node(*pId, ppNode[0]->pfnCmp);
    const MOLTE_RESLOCKNODE* const wanted = &key;
    return MOLTE_FindInsPos(&wanted, ppNode, n, kSlotSize, MOLTE_RESLOCKNODE_Cmp);
}
