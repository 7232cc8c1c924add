// Critical sections: the platform's, in a block of the interface's own.
#include "concurrency/oxthrdop.h"
#include "core/modules.h"
#include "moltelib/thread.h"
#include "platform/critical_section.h"

namespace {

constexpr auto kModule = molte::kOxthrdop;
constexpr uint32_t kSectionBusy = 283;

static_assert(sizeof(CRITICAL_SECTION) <= sizeof(OXCRITSECT));
static_assert(alignof(CRITICAL_SECTION) <= alignof(OXCRITSECT));

CRITICAL_SECTION* native(OXCRITSECT* section) {
    return reinterpret_cast<CRITICAL_SECTION*>(section);
}

}  // namespace

bool molte::holds(const OXCRITSECT& section) {
    return platform::holds_section(reinterpret_cast<const CRITICAL_SECTION*>(&section));
}

int32_t ORVEX_InitCritSect(OXCRITSECT* pSection) {
    InitializeCriticalSection(native(pSection));
    return 1;
}

int32_t ORVEX_DestroyCritSect(OXCRITSECT* pSection) {
    DeleteCriticalSection(native(pSection));
    return 1;
}

int32_t MOLTE_EnterCrit(OXCRITSECT* pSection) {
    EnterCriticalSection(native(pSection));
    return 1;
}

int32_t ORVEX_EnterCritSect(OXCRITSECT* pSection) {
    return MOLTE_EnterCrit(pSection);
}

int32_t MOLTE_LeaveCrit(OXCRITSECT* pSection) {
    LeaveCriticalSection(native(pSection));
    return 1;
}

int32_t ORVEX_LeaveCritSect(OXCRITSECT* pSection) {
    return MOLTE_LeaveCrit(pSection);
}

int32_t ORVEX_TryEnterCritSect(OXCRITSECT* pSection) {
    if (TryEnterCriticalSection(native(pSection)) != 0) return 1;
    return kModule.fail(molte::here(), kSectionBusy, molte::SystemError::runtime, "dead lock");
}
