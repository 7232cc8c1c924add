// The counting resource.
#include "concurrency/oxthrdop.h"
#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/event.h"
#include "moltelib/integer_resource.h"
#include "moltelib/state.h"

using molte::CritGuard;
using molte::here;
using molte::kBadArgument;

namespace {

constexpr auto kModule = molte::kOxthrdop;
constexpr uint32_t kNothingTaken = 101;

bool usable(const MOLTE_INTRESOURCE* res) {
    return res != nullptr && res->stCrit.bInited != 0;
}

// Whoever was woken by a signal that stood for several units hands it on.
bool take(MOLTE_INTRESOURCE* res, bool woken) {
    bool more = false;
    {
        const CritGuard guard(res->stCrit);
        if (res->nFree < 1) return false;
        --res->nFree;
        more = res->nFree > 0;
    }
    if (woken && more) ORVEX_EVENT_Set(res->hFreeEvent);
    return true;
}

bool give_back(MOLTE_INTRESOURCE* res) {
    const CritGuard guard(res->stCrit);
    if (res->nFree == res->nTotal) return false;
    ++res->nFree;
    return true;
}

}  // namespace

int32_t MOLTE_INTRESOURCE_Init(MOLTE_INTRESOURCE* pRes, int32_t nCount) {
    if (pRes == nullptr) return kModule.fail(here(), kBadArgument);
    *pRes = {};
    if (nCount < 0) return kModule.fail(here(), kBadArgument);
    pRes->hFreeEvent = ORVEX_EVENT_Create(nullptr);
    if (pRes->hFreeEvent == nullptr) return kModule.trace(1046);
    pRes->nTotal = nCount;
    pRes->nFree = nCount;
    return MOLTE_InitCrit(&pRes->stCrit);
}

int32_t MOLTE_INTRESOURCE_Release(MOLTE_INTRESOURCE* pRes) {
    if (pRes == nullptr) return kModule.fail(here(), kBadArgument);
    ORVEX_EVENT_Release(pRes->hFreeEvent);
    MOLTE_ReleaseCrit(&pRes->stCrit);
    *pRes = {};
    return 1;
}

int32_t MOLTE_INTRESOURCE_Get(MOLTE_INTRESOURCE* pRes, int32_t nWait) {
    if (!usable(pRes)) return kModule.fail(here(), kBadArgument);
    bool woken = false;
    while (!take(pRes, woken)) {
        if (nWait == 0 || molte::stop_requested()) return 0;
        if (nWait > 0) --nWait;
        woken = molte::wait_for_next_look(pRes->hFreeEvent);
        if (molte::stop_requested()) {
            if (woken) ORVEX_EVENT_Set(pRes->hFreeEvent);
            return 0;
        }
    }
    return 1;
}

int32_t MOLTE_INTRESOURCE_Free(MOLTE_INTRESOURCE* pRes) {
    if (!usable(pRes)) return kModule.fail(here(), kBadArgument);
    if (!give_back(pRes)) return kModule.fail(here(), kNothingTaken);
    ORVEX_EVENT_Set(pRes->hFreeEvent);
    return 1;
}
