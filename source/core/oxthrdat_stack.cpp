// The call traces of the threads.
#include <cstdio>

#include "moltelib/state.h"
#include "moltelib/thread_data.h"
#include "moltelib/thread_list.h"

namespace {

// The calling thread's trace, or null.
MOLTE_CALLTRACEHEAD* own_trace() {
    const MOLTE_THDATA* const block = MOLTE_THDATA_GetDataNoAlloc();
    return block != nullptr && block->pCallTrace != nullptr ? &block->pCallTrace->stTrace : nullptr;
}

}  // namespace

int32_t MOLTE_STACKTRACE_AddEnt(const char* pszFile, int32_t nLine) {
    // Before bring-up there is no list to join, whatever the parameter says.
    const bool ready = g_stBv.stThreadList.stCrit.bInited != 0;
    if (g_stBv.bSupportStackTrace == 0 || !ready) return 0;
    MOLTE_THREADLIST_Add(&g_stBv.stThreadList, pszFile, nLine);
    MOLTE_CALLTRACEHEAD* const trace = own_trace();
    if (trace == nullptr) return 0;
    // Joining the list has recorded a thread's first frame already: it stands twice. This is meant.
    return MOLTE_CALLTRACEHEAD_PushEnt(trace, pszFile, nLine);
}

int32_t MOLTE_STACKTRACE_RemoveEnt(int32_t nCount) {
    MOLTE_CALLTRACEHEAD* const trace = own_trace();
    return trace != nullptr ? MOLTE_CALLTRACEHEAD_PopEnt(trace, nCount) : 0;
}

int32_t MOLTE_STACKTRACE_GetHistory(char* pszBuf) {
    if (pszBuf == nullptr) return 0;
    pszBuf[0] = '\0';
    const MOLTE_CALLTRACEHEAD* const trace = own_trace();
    if (g_stBv.bSupportStackTrace == 0 || trace == nullptr) return 1;
    for (int32_t i = 0; i < trace->nCount; ++i) {
        const MOLTE_CALLTRACEENT& entry = trace->pEnt[i];
        pszBuf += std::sprintf(pszBuf, "%.11s%d\n", entry.szFile, entry.nLine);
    }
    return 1;
}
