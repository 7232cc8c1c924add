// What parameters decide about the text hooks: the two that count their time, and the library of
// the logger, which one parameter asks for.
#include "core/otxthook.h"
#include "moltelib/date_time.h"
#include "moltelib/parameter_file.h"
#include "moltelib/parameter_registry.h"
#include "moltelib/plugin.h"

using molte::here;
using namespace molte::hooks;

namespace {

constexpr int16_t kTicksParameter = 0;
constexpr int16_t kSecondsParameter = 1;
constexpr char kLoggerLibrary[] = "odlogger64.dll";

template <typename Function>
Function entry_of(OXHANDLE module, const char* name) {
    return reinterpret_cast<Function>(OX_DLL_GetProc(module, name));
}

}  // namespace

int32_t OTXTHOOK_PARAM_Init(void) {
    for (int16_t id : {kTicksParameter, kSecondsParameter}) {
        MOLTE_PARAMITEM* item = &state().astParam[id];
        item->nId = id;
        item->pOwner = &state();
        OTXTHOOK_PARAM_Set(item, nullptr, MOLTE_PARAM_REGISTER, 0);
    }
    return 1;
}

int32_t OTXTHOOK_PARAM_Set(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord, int32_t nMode,
                           int32_t /*nIndex*/) {
    if (pItem == nullptr) return kModule.fail(here(), kBadArgument);
    pItem->tChanged = static_cast<uint32_t>(ORVEX_Time());
    int32_t result = 0;
    if (pItem->nId == kTicksParameter) {
        result = MOLTE_PARAMADM_LongAct(pItem, pRecord, nMode, 0, "OutputTextTimeInHiReso",
                                        OTXTHOOK_PARAM_Set, &state().n64OutputTicks);
    } else if (pItem->nId == kSecondsParameter) {
        result = MOLTE_PARAMADM_IntAct(pItem, pRecord, nMode, 0, "OutputTextTimeInSec",
                                       OTXTHOOK_PARAM_Set, &state().nOutputSec);
    }
    return result >= 0 ? result : kModule.trace(here());
}

OXHANDLE Install_Odcs_Hook(int32_t nId) {
    int32_t wanted = 0;
    if (ORVEX_PARAMETER_GetValueInt("InstallOdcsLogger", &wanted) < 0 || wanted == 0) {
        return nullptr;
    }
    OXHANDLE module = OX_DLL_Open(kLoggerLibrary, 0);
    if (module == nullptr) return nullptr;
    const auto install = entry_of<int32_t (*)(void*, int32_t)>(module, "Logger_InstallHook");
    if (install == nullptr) {
        OX_DLL_Close(module);
        return nullptr;
    }
    install(nullptr, nId);
    return module;
}

int32_t Remove_Odcs_Hook(OXHANDLE* phModule, int32_t nId) {
    if (phModule == nullptr || *phModule == nullptr) return 0;
    const auto remove = entry_of<int32_t (*)(int32_t)>(*phModule, "Logger_RemoveHook");
    if (remove != nullptr) remove(nId);
    OX_DLL_Close(*phModule);
    *phModule = nullptr;
    return 1;
}
