// Threads and mutexes: the platform's, with the library's results and reports.
#include <bit>

#include "core/modules.h"
#include "moltelib/thread.h"
#include "platform/kernel_objects.h"
#include "platform/threads.h"

namespace {

constexpr auto kModule = molte::kOxthrdop;
constexpr uint32_t kThreadNotCreated = 277;

// Null, and reported, when there is no thread.
HANDLE create_thread(int64_t stack_size, OXTHREADROUTINE routine, void* context, uint32_t flags,
                     uint32_t* thread_id) {
    DWORD id = 0;
    HANDLE thread =
        CreateThread(nullptr, static_cast<size_t>(stack_size),
                     std::bit_cast<LPTHREAD_START_ROUTINE>(routine), context, flags, &id);
    if (thread == nullptr) {
        kModule.fail(molte::here(), kThreadNotCreated, molte::SystemError::platform,
                     "createthread");
    } else if (thread_id != nullptr) {
        *thread_id = id;
    }
    return thread;
}

}  // namespace

int32_t ORVEX_CreateThread(OXHANDLE* phThread, int64_t nStackSize, OXTHREADROUTINE pfnRoutine,
                           void* pContext, uint32_t nFlags, uint32_t* pnThreadId) {
    HANDLE thread = create_thread(nStackSize, pfnRoutine, pContext, nFlags, pnThreadId);
    if (phThread != nullptr) {
        *phThread = thread;
    } else {
        CloseHandle(thread);
    }
    return 1;  // even without a thread: callers look at the handle
}

int32_t ORVEX_StartThread(OXTHREADROUTINE pfnRoutine, void* pContext) {
    return ORVEX_CreateThread(nullptr, 0, pfnRoutine, pContext, 0, nullptr);
}

int32_t ORVEX_CloseThreadHandle(OXHANDLE hThread) {
    CloseHandle(hThread);
    return 1;
}

int32_t ORVEX_TerminateThread(OXHANDLE hThread, uint32_t nExitCode) {
    return TerminateThread(hThread, nExitCode);
}

uint32_t ORVEX_THREAD_GetCurID(void) {
    return GetCurrentThreadId();
}

int32_t ORVEX_THREAD_Lock(OXHANDLE hMutex) {
    return WaitForSingleObject(hMutex, INFINITE) != WAIT_FAILED ? 1 : kModule.trace(24);
}

int32_t ORVEX_THREAD_UnLock(OXHANDLE hMutex) {
    return ReleaseMutex(hMutex) != 0 ? 1 : kModule.trace(35);
}
