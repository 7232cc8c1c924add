// The call traces of the threads.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "moltelib/state.h"
#include "moltelib/text_hook.h"
#include "moltelib/thread_data.h"
#include "moltelib/thread_list.h"

namespace {

constexpr size_t kLineSize = 32;  // 11 characters, a number, a line feed

// The calling thread's trace, or null.
MOLTE_CALLTRACEHEAD* own_trace() {
    const MOLTE_THDATA* const block = MOLTE_THDATA_GetDataNoAlloc();
    return block != nullptr && block->pCallTrace != nullptr ? &block->pCallTrace->stTrace : nullptr;
}

// Writes the frames of a trace as lines, as many whole ones as fit, into SIZE bytes.
void write_history(const MOLTE_CALLTRACEHEAD& trace, char* buf, size_t size) {
    for (int32_t i = 0; i < trace.nCount; ++i) {
        const MOLTE_CALLTRACEENT& entry = trace.pEnt[i];
        char line[kLineSize];
        const int length = std::snprintf(line, sizeof line, "%.11s%d\n", entry.szFile, entry.nLine);
        const auto bytes = static_cast<size_t>(length);
        if (bytes >= size) return;
        std::memcpy(buf, line, bytes + 1);
        buf += bytes;
        size -= bytes;
    }
}

// The calling thread's trace as text; empty when traces are off or it has none.
void own_history(char* buf, size_t size) {
    buf[0] = '\0';
    const MOLTE_CALLTRACEHEAD* const trace = own_trace();
    if (g_stBv.bSupportStackTrace != 0 && trace != nullptr) write_history(*trace, buf, size);
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
    own_history(pszBuf, SIZE_MAX);  // the caller's buffer is large enough
    return 1;
}

int32_t ORVEX_ERRLOG_LogStackTrace(void) {
    char history[1024];
    own_history(history, sizeof history);
    MOLTE_PrintError("call stack is \n%s\n", history);
    return 0;
}
