// Critical sections that know whether they were made.
#include "core/report.h"
#include "moltelib/state.h"
#include "platform/critical_section.h"

namespace {

constexpr molte::Module kModule("moltevar");
constexpr uint32_t kBadArgument = 50;

CRITICAL_SECTION* section_of(MOLTE_CRIT* crit) {
    return reinterpret_cast<CRITICAL_SECTION*>(&crit->stCrit);
}

}  // namespace

int32_t MOLTE_InitCrit(MOLTE_CRIT* pCrit) {
    if (pCrit == nullptr) return kModule.fail(molte::here(), kBadArgument);
    *pCrit = {};
    InitializeCriticalSection(section_of(pCrit));
    pCrit->bInited = 1;
    return 1;
}

int32_t MOLTE_COUNTER_Init(MOLTE_CRIT* pCrit) {
    return MOLTE_InitCrit(pCrit);
}

int32_t MOLTE_ReleaseCrit(MOLTE_CRIT* pCrit) {
    if (pCrit == nullptr || pCrit->bInited == 0) return 1;
    DeleteCriticalSection(section_of(pCrit));
    *pCrit = {};
    return 1;
}

int32_t MOLTE_COUNTER_Release(MOLTE_CRIT* pCrit) {
    return MOLTE_ReleaseCrit(pCrit);
}
