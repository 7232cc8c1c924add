// The list of text hooks: bringing it up and down, installing and removing hooks.
#include "core/otxthook.h"

#include <mutex>

#include "moltelib/array.h"
#include "moltelib/memory.h"

using molte::SystemError;
using namespace molte::hooks;

namespace {

constexpr uint32_t kNoHook = 305;
constexpr uint32_t kBadHook = 433;
constexpr int32_t kIdLimit = 100000;

// What a mask gets that names a destination but no direction, or no class. Each step sees the
// result of the one before.
struct Defaults {
    uint32_t destination;
    uint32_t direction;
    uint32_t text_class;
};
constexpr Defaults kDefaults[] = {
    {OXMSG_TO_INNER, OXMSG_INNER, OXMSG_INFO},
    {OXMSG_TO_OUTER, OXMSG_OUTER, OXMSG_INFO},
    {OXMSG_TO_INNER_FILE, OXMSG_INNER, OXMSG_INFO},
    {OXMSG_TO_OUTER_FILE, OXMSG_OUTER, OXMSG_INFO},
    {OXMSG_TO_STDOUT, OXMSG_DIRECTION_MASK, OXMSG_INFO},
    {OXMSG_TO_ERROR_LOG, OXMSG_DIRECTION_MASK, OXMSG_ERROR_TEXT},
    {OXMSG_TO_BINARY_LOG, OXMSG_DIRECTION_MASK, OXMSG_ERROR_TEXT},
    {OXMSG_TO_TEXT_LOG, OXMSG_DIRECTION_MASK, OXMSG_ERROR_TEXT},
};

uint32_t with_defaults(uint32_t mask) {
    for (const Defaults& row : kDefaults) {
        if ((mask & row.destination) == 0) continue;
        mask = OTXTHOOK_UTIL_GetDefPropMask(mask, row.direction, row.text_class);
    }
    return mask;
}

// The link that leads to a hook: the head or a node's; one that holds null when there is none.
OTXTHOOK_NODE** link_to(OTXTHOOK_OUTTEXT out_text, int32_t id) {
    OTXTHOOK_NODE** link = &state().pHead;
    while (*link != nullptr && ((*link)->pfnOutText != out_text || (*link)->nId != id)) {
        link = &(*link)->pNext;
    }
    return link;
}

void collect_installed_bits() {
    uint32_t bits = 0;
    for (const OTXTHOOK_NODE* node = state().pHead; node != nullptr; node = node->pNext) {
        bits |= node->nMask;
    }
    installed_bits.store(bits, std::memory_order_release);
}

// Unlinks, closes and frees the node behind a link. The node's own link stays for a walk that is
// at it.
void remove_node(OTXTHOOK_NODE** link) {
    OTXTHOOK_NODE* node = *link;
    *link = node->pNext;
    collect_installed_bits();
    if (node->pfnClose != nullptr) node->pfnClose(node->pUserData, node->nDataSize);
    Walk::dispose(node);
}

// The registry holds pointers to the parameters, which are about to be zeroed.
void withdraw_parameters() {
    PA* items = &g_stBv.stParamAdm.stItems;
    for (MOLTE_PARAMITEM& parameter : state().astParam) {
        const MOLTE_PARAMITEM* pointer = &parameter;
        const int32_t index = PA_Lookup(items, &pointer);
        if (index >= 0) PA_DelAt(items, index);
    }
}

// All but the flags, which are down, and the lock, for which others may be waiting.
void zero_state() {
    state().n64OutputTicks = 0;
    state().nOutputSec = 0;
    state().pTxtLog = nullptr;
    for (MOLTE_PARAMITEM& parameter : state().astParam) parameter = {};
}

}  // namespace

namespace molte::hooks {

std::atomic<uint32_t> installed_bits{0};
int32_t Walk::depth_ = 0;
OTXTHOOK_NODE* Walk::removed_ = nullptr;

MOLTE_CRIT& list_lock() {
    static std::once_flag made;
    std::call_once(made, [] { MOLTE_InitCrit(&state().stLock); });
    return state().stLock;
}

void Walk::dispose(OTXTHOOK_NODE* node) {
    node->nMask = 0;
    node->bLogger = 0;
    node->pUserData = removed_;
    removed_ = node;
    if (depth_ == 0) free_removed();
}

void Walk::free_removed() {
    while (removed_ != nullptr) {
        OTXTHOOK_NODE* node = removed_;
        removed_ = static_cast<OTXTHOOK_NODE*>(node->pUserData);
        ORVEX_free(node);
    }
}

}  // namespace molte::hooks

// Hooks run under the lock for as long as they please, so who finds them up doesn't want it.
int32_t OTXTHOOK_Init(void) {
    std::atomic_ref up(state().bInited);
    if (up.load(std::memory_order_acquire) != 0) return 0;
    const molte::CritGuard guard(list_lock());
    if (up.load(std::memory_order_relaxed) != 0) return 0;
    std::atomic_ref(state().bCsReady).store(1, std::memory_order_release);
    OTXTHOOK_PARAM_Init();
    up.store(1, std::memory_order_release);
    return 1;
}

int32_t OTXTHOOK_Release(void) {
    const molte::CritGuard guard(list_lock());
    if (state().bInited == 0) return 0;
    std::atomic_ref(state().bInited).store(0, std::memory_order_relaxed);
    std::atomic_ref(state().bCsReady).store(0, std::memory_order_release);
    while (state().pHead != nullptr) remove_node(&state().pHead);
    withdraw_parameters();
    zero_state();
    return 1;
}

uint32_t OTXTHOOK_UTIL_GetDefPropMask(uint32_t nMask, uint32_t nDirection, uint32_t nClass) {
    if ((nMask & OXMSG_DIRECTION_MASK) == 0) nMask |= nDirection;
    if ((nMask & OXMSG_CLASS_MASK) == 0) nMask |= nClass;
    return nMask;
}

OTXTHOOK_NODE* OTXTHOOK_UTIL_GetHook(OTXTHOOK_OUTTEXT pfnOutText, int32_t nId) {
    const molte::CritGuard guard(list_lock());
    OTXTHOOK_NODE* node = *link_to(pfnOutText, nId);
    if (node == nullptr) {
        kModule.fail(112, kNoHook, SystemError::none, "txt hook with given id %d does not exist",
                     nId);
    }
    return node;
}

int32_t OTXTHOOK_InstallHook(OTXTHOOK_OUTTEXT pfnOutText, OTXTHOOK_CLOSE pfnClose, void* pUserData,
                             int32_t nDataSize, uint32_t nMask, int32_t nId) {
    if (nMask == 0) {
        return kModule.fail(144, kZeroMask, SystemError::none, "mask can not be zero");
    }
    if (pfnOutText == nullptr || nId >= kIdLimit) {
        return kModule.fail(159, kBadHook, SystemError::none, "text hook=%p id=%d\n",
                            reinterpret_cast<void*>(pfnOutText), nId);
    }
    const molte::CritGuard guard(list_lock());
    if (OTXTHOOK_Init() < 0) return kModule.trace(164);
    // The search reports error 305 when it finds nothing, and that stays in the record of a
    // successful installation. This is meant.
    if (OTXTHOOK_UTIL_GetHook(pfnOutText, nId) != nullptr) {
        return kModule.fail(170, kExists, SystemError::none, "txt hook with given id %d exists",
                            nId);
    }
    auto node = molte::allocate<OTXTHOOK_NODE>(1);
    if (node == nullptr) return kModule.trace(174);
    node[0] = {};
    node[0].nMask = with_defaults(nMask);
    node[0].nDataSize = nDataSize;
    node[0].pUserData = pUserData;
    node[0].pfnOutText = pfnOutText;
    node[0].pfnClose = pfnClose;
    node[0].nId = nId;
    node[0].bLogger = (nMask & OXMSG_TO_LOGGER) != 0 ? 1 : 0;
    node[0].pNext = state().pHead;
    state().pHead = node.release();
    collect_installed_bits();
    return 1;
}

int32_t OTXTHOOK_RemoveHook(OTXTHOOK_OUTTEXT pfnOutText, int32_t nId) {
    const molte::CritGuard guard(list_lock());
    OTXTHOOK_NODE** link = link_to(pfnOutText, nId);
    if (*link == nullptr) return kModule.fail(209, kNoHook, SystemError::none, "Hook id=%d", nId);
    remove_node(link);
    return 1;
}
