// The stack.
#include "core/modules.h"
#include "moltelib/stack.h"

namespace {
constexpr auto kModule = molte::kOxsysutl;
constexpr int32_t kFirstCapacity = 16;
constexpr uint32_t kTooDeep = 271;
constexpr int32_t kInitLine = 2466;
}  // namespace

int32_t MOLTE_STACK_Init(MOLTE_STACK* pStack, int32_t nItemSize) {
    *pStack = {};
    if (PA_Init(&pStack->stItems, nItemSize, kFirstCapacity) < 0) return kModule.trace(kInitLine);
    pStack->bInited = 1;
    return 1;
}

int32_t MOLTE_STACK_IsEmpty(const MOLTE_STACK* pStack) {
    return pStack->stItems.nCount < 1 ? 1 : 0;
}

int32_t MOLTE_STACK_Release(MOLTE_STACK* pStack) {
    if (pStack->bInited == 0) return 0;
    PA_Release(&pStack->stItems);
    *pStack = {};
    return 1;
}

int32_t MOLTE_STACK_Push(MOLTE_STACK* pStack, const void* pItem) {
    return PA_Append(&pStack->stItems, pItem) > 0 ? 1 : kModule.trace(2496);
}

int32_t MOLTE_STACK_Pop(MOLTE_STACK* pStack, void* pOut) {
    const int32_t last = pStack->stItems.nCount - 1;
    if (last < 0 || MOLTE_STACK_GetTop(pStack, pOut) < 0) return kModule.trace(2486);
    return PA_DelAt(&pStack->stItems, last) > 0 ? 1 : kModule.trace(2488);
}

int32_t MOLTE_STACK_GetTop(const MOLTE_STACK* pStack, void* pOut) {
    if (MOLTE_STACK_IsEmpty(pStack) != 0) return kModule.trace(2502);
    return MOLTE_STACK_GetDeepTop(pStack, 0, pOut);
}

int32_t MOLTE_STACK_GetDeepTop(const MOLTE_STACK* pStack, int32_t nDepth, void* pOut) {
    const int32_t count = pStack->stItems.nCount;
    if (nDepth >= count) {
        return kModule.fail(molte::here(), kTooDeep, molte::SystemError::none, "idx=%d max=%d",
                            nDepth, count);
    }
    if (pOut == nullptr) return 1;
    // A negative depth gives an index that the array refuses, whichever way it wraps.
    const auto index =
        static_cast<int32_t>(static_cast<uint32_t>(count - 1) - static_cast<uint32_t>(nDepth));
    return PA_GetAt(&pStack->stItems, index, pOut) > 0 ? 1 : kModule.trace(molte::here());
}
