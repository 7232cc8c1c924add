// Critical sections, threads and mutexes, events, the list of traced threads, and local time.
#include "concurrency/oxthrdop.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <utility>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/clock.h"
#include "moltelib/event.h"
#include "moltelib/state.h"
#include "moltelib/thread.h"
#include "moltelib/thread_list.h"
#include "platform/critical_section.h"
#include "platform/kernel_objects.h"
#include "platform/last_error.h"
#include "platform/threads.h"
#include "platform/time.h"

namespace {

constexpr auto kModule = molte::kOxthrdop;
constexpr uint32_t kSectionBusy = 283;

static_assert(sizeof(CRITICAL_SECTION) <= sizeof(OXCRITSECT));
static_assert(alignof(CRITICAL_SECTION) <= alignof(OXCRITSECT));

CRITICAL_SECTION* native(OXCRITSECT* section) {
    return reinterpret_cast<CRITICAL_SECTION*>(section);
}

constexpr uint32_t kThreadNotCreated = 277;

// Null, and reported, when there is no thread. Its number isn't asked for unless it is wanted: the
// thread may have to run first.
HANDLE create_thread(int64_t stack_size, OXTHREADROUTINE routine, void* context, uint32_t flags,
                     uint32_t* thread_id) {
    DWORD id = 0;
    HANDLE thread = CreateThread(nullptr, static_cast<size_t>(stack_size),
                                 std::bit_cast<LPTHREAD_START_ROUTINE>(routine), context, flags,
                                 thread_id != nullptr ? &id : nullptr);
    if (thread == nullptr) {
        kModule.fail(molte::here(), kThreadNotCreated, molte::SystemError::platform,
                     "createthread");
    } else if (thread_id != nullptr) {
        *thread_id = id;
    }
    return thread;
}

constexpr uint32_t kBadWait = 419;
constexpr int32_t kLongestWaitEx = 5;  // seconds

int last_error() {
    return static_cast<int>(GetLastError());
}

int32_t bad_wait(int32_t line) {
    return kModule.fail(line, kBadWait);
}

int32_t wait_result(int32_t line, DWORD result, DWORD signalled_count) {
    if (result < WAIT_OBJECT_0 + signalled_count) return 1;
    if (result == WAIT_TIMEOUT) return 0;
    return kModule.fail(line, 289, molte::SystemError::platform, "LastErrCode=%d time=%d",
                        last_error(), static_cast<int>(result));
}

int32_t wait_for(OXHANDLE event, DWORD limit) {
    if (event == nullptr) return bad_wait(molte::here());
    return wait_result(molte::here(), WaitForSingleObject(event, limit), 1);
}

using molte::kBadArgument;

void link_at_tail(MOLTE_THREADLIST* list, MOLTE_THREADLISTNODE* node) {
    const molte::CritGuard guard(list->stCrit);
    node->pPrev = list->pTail;
    (list->pTail != nullptr ? list->pTail->pNext : list->pHead) = node;
    list->pTail = node;
}

void unlink(MOLTE_THREADLIST* list, MOLTE_THREADLISTNODE* node) {
    (node->pPrev != nullptr ? node->pPrev->pNext : list->pHead) = node->pNext;
    (node->pNext != nullptr ? node->pNext->pPrev : list->pTail) = node->pPrev;
}

MOLTE_THREADLISTNODE* take_out(MOLTE_THREADLIST* list, uint32_t thread_id) {
    const molte::CritGuard guard(list->stCrit);
    MOLTE_THREADLISTNODE* node = list->pHead;
    while (node != nullptr && node->nThreadId != thread_id) node = node->pNext;
    if (node != nullptr) unlink(list, node);
    return node;
}

// The calling thread's block mustn't lead to a node that is freed.
void forget_node(const MOLTE_THREADLISTNODE* node) {
    MOLTE_THDATA* const data = MOLTE_THDATA_GetDataNoAlloc();
    if (data != nullptr && data->pCallTrace == node) data->pCallTrace = nullptr;
}

constexpr size_t kFieldBytes = 9 * sizeof(int);  // tm_sec to tm_isdst
constexpr size_t kTextSize = 26;
using molte::time_lock;

__time64_t moment_or_now(const int64_t* moment) {
    return moment != nullptr ? static_cast<__time64_t>(*moment) : _time64(nullptr);
}

char* copied(char* text, char* dst) {
    if (text != nullptr && dst != nullptr) std::memcpy(dst, text, strnlen(text, kTextSize - 1) + 1);
    return text;
}

}  // namespace

// ---- Critical sections ----

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

// ---- Threads and mutexes ----

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

// ---- Events, and waits for them ----

DWORD molte::wait_limit(int32_t seconds) {
    if (seconds < 1) return INFINITE;
    return static_cast<DWORD>(std::min<int64_t>(int64_t{seconds} * 1000, INFINITE));
}

OXHANDLE ORVEX_EVENT_Create(const char* pszName) {
    HANDLE event = CreateEventA(nullptr, FALSE, FALSE, pszName);
    if (event == nullptr) {
        kModule.fail(molte::here(), 286, molte::SystemError::platform, "LastErrCode=%d. %s",
                     last_error(), pszName != nullptr ? pszName : "");
    }
    return event;
}

OXHANDLE ORVEX_EVENT_Open(const char* pszName) {
    HANDLE event = OpenEventA(EVENT_ALL_ACCESS, FALSE, pszName);
    if (event == nullptr) {
        kModule.fail(molte::here(), 287, molte::SystemError::platform, "LastErrCode=%d",
                     last_error());
    }
    return event;
}

void ORVEX_EVENT_Release(OXHANDLE hEvent) {
    if (hEvent != nullptr) CloseHandle(hEvent);
}

int32_t ORVEX_EVENT_Set(OXHANDLE hEvent) {
    if (hEvent == nullptr) return 0;
    return SetEvent(hEvent) != 0 ? 1
                                 : kModule.fail(molte::here(), 288, molte::SystemError::platform);
}

int32_t ORVEX_EVENT_TimeWait(OXHANDLE hEvent, int32_t nSeconds) {
    return wait_for(hEvent, molte::wait_limit(nSeconds));
}

int32_t ORVEX_EVENT_TimeWaitInMilliSecond(OXHANDLE hEvent, uint32_t nMilliSeconds) {
    return wait_for(hEvent, nMilliSeconds == 0 ? INFINITE : nMilliSeconds);
}

int32_t ORVEX_EVENT_Wait(OXHANDLE hEvent) {
    return ORVEX_EVENT_TimeWait(hEvent, 0);
}

int32_t ORVEX_EVENT_WaitEx(OXHANDLE hEvent, int32_t nSeconds) {
    if (molte::stop_requested()) return 0;
    return ORVEX_EVENT_TimeWait(hEvent, std::min(nSeconds, kLongestWaitEx));
}

int32_t ORVEX_EVENT_MultiTimeWait(const OXHANDLE* phEvents, int32_t nCount, int32_t bWaitAll,
                                  int32_t nSeconds) {
    if (phEvents == nullptr || nCount < 1) return bad_wait(molte::here());
    const auto count = static_cast<DWORD>(nCount);
    const DWORD result = WaitForMultipleObjects(count, phEvents, bWaitAll != 0 ? TRUE : FALSE,
                                                molte::wait_limit(nSeconds));
    return wait_result(molte::here(), result, count);
}

bool molte::stop_requested() {
    return std::atomic_ref(g_stBv.bStopAll).load(std::memory_order_acquire) != 0;
}

bool molte::wait_for_next_look(OXHANDLE event) {
    constexpr int32_t kSeconds = 1;
    const int32_t result = ORVEX_EVENT_TimeWait(event, kSeconds);
    if (result < 0) ORVEX_Sleep(kSeconds);
    return result > 0;
}

// ---- The list of the threads that keep a call trace ----

int32_t MOLTE_THREADLIST_Init(MOLTE_THREADLIST* pList) {
    *pList = {};
    return MOLTE_InitCrit(&pList->stCrit);
}

int32_t MOLTE_THREADLIST_Release(MOLTE_THREADLIST* pList) {
    MOLTE_ReleaseCrit(&pList->stCrit);
    MOLTE_THREADLISTNODE* node = std::exchange(pList->pHead, nullptr);
    pList->pTail = nullptr;
    while (node != nullptr) {
        MOLTE_THREADLISTNODE* next = node->pNext;
        MOLTE_THREADLISTNODE_Release(node);
        node = next;
    }
    return 1;
}

int32_t MOLTE_THREADLISTNODE_Release(MOLTE_THREADLISTNODE* pNode) {
    if (pNode == nullptr) return 1;
    ORVEX_free(pNode->stTrace.pEnt);
    ORVEX_free(pNode);
    return 1;
}

MOLTE_THREADLISTNODE* MOLTE_THREADLIST_Add(MOLTE_THREADLIST* pList, const char* pszFile,
                                           int32_t nLine) {
    MOLTE_THDATA* data = MOLTE_THDATA_GetData();
    if (data == nullptr) return nullptr;
    if (data->pCallTrace != nullptr) return data->pCallTrace;
    if (pList->stCrit.bInited == 0) {
        kModule.fail(molte::here(), kBadArgument);
        return nullptr;
    }
    molte::Heap<MOLTE_THREADLISTNODE> node = molte::allocate<MOLTE_THREADLISTNODE>(1);
    if (node == nullptr) {
        kModule.trace(872);
        return nullptr;
    }
    node[0] = {};
    node[0].nThreadId = ORVEX_THREAD_GetCurID();
    MOLTE_CALLTRACEHEAD_PushEnt(&node[0].stTrace, pszFile, nLine);
    link_at_tail(pList, node.get());
    data->pCallTrace = node.release();
    return data->pCallTrace;
}

int32_t MOLTE_THREADLIST_Remove(MOLTE_THREADLIST* pList) {
    if (pList->stCrit.bInited == 0) return 0;
    MOLTE_THREADLISTNODE* node = take_out(pList, ORVEX_THREAD_GetCurID());
    if (node == nullptr) return 0;
    forget_node(node);
    return MOLTE_THREADLISTNODE_Release(node);
}

// ---- Local time: the run-time's functions share a record among all threads, and one lock guards
// it

OXCRITSECT& molte::time_lock() {
    static LastingLock lock;
    return lock.section;
}

int32_t ORVEX_InnerTimeLock(void) {
    return MOLTE_EnterCrit(&time_lock());
}

int32_t ORVEX_InnerTimeUnlock(void) {
    return MOLTE_LeaveCrit(&time_lock());
}

struct tm* ORVEX_LocalTime(const int64_t* pTime, struct tm* pTm) {
    if (pTm != nullptr) std::memset(pTm, 0, kFieldBytes);
    const __time64_t moment = moment_or_now(pTime);
    const molte::CritGuard guard(time_lock());
    struct tm* shared = _localtime64(&moment);
    if (shared != nullptr && pTm != nullptr) std::memcpy(pTm, shared, kFieldBytes);
    return shared;
}

char* ORVEX_ctime(const int64_t* pTime, char* pszDst) {
    const __time64_t moment = moment_or_now(pTime);
    const molte::CritGuard guard(time_lock());
    return copied(_ctime64(&moment), pszDst);
}

char* ORVEX_asctime(const struct tm* pTm, char* pszDst) {
    struct tm now {};
    if (pTm == nullptr) {
        if (ORVEX_LocalTime(nullptr, &now) == nullptr) return nullptr;
        pTm = &now;
    }
    const molte::CritGuard guard(time_lock());
    return copied(platform::asctime(pTm), pszDst);
}
