// Events, and waits for them.
#include <algorithm>

#include "core/modules.h"
#include "moltelib/event.h"
#include "moltelib/state.h"
#include "platform/kernel_objects.h"
#include "platform/last_error.h"

namespace {

constexpr auto kModule = molte::kOxthrdop;
constexpr uint32_t kBadWait = 419;
constexpr int32_t kLongestWaitEx = 5;  // seconds

int last_error() {
    return static_cast<int>(GetLastError());
}

// Seconds below 1 mean no limit, and so do those whose milliseconds the platform can't hold.
DWORD milliseconds(int32_t seconds) {
    if (seconds < 1) return INFINITE;
    return static_cast<DWORD>(std::min<int64_t>(int64_t{seconds} * 1000, INFINITE));
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

}  // namespace

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
    return wait_for(hEvent, milliseconds(nSeconds));
}

int32_t ORVEX_EVENT_TimeWaitInMilliSecond(OXHANDLE hEvent, uint32_t nMilliSeconds) {
    return wait_for(hEvent, nMilliSeconds == 0 ? INFINITE : nMilliSeconds);
}

int32_t ORVEX_EVENT_Wait(OXHANDLE hEvent) {
    return ORVEX_EVENT_TimeWait(hEvent, 0);
}

int32_t ORVEX_EVENT_WaitEx(OXHANDLE hEvent, int32_t nSeconds) {
    if (g_stBv.bStopAll != 0) return 0;
    return ORVEX_EVENT_TimeWait(hEvent, std::min(nSeconds, kLongestWaitEx));
}

int32_t ORVEX_EVENT_MultiTimeWait(const OXHANDLE* phEvents, int32_t nCount, int32_t bWaitAll,
                                  int32_t nSeconds) {
    if (phEvents == nullptr || nCount < 1) return bad_wait(molte::here());
    const auto count = static_cast<DWORD>(nCount);
    const DWORD result = WaitForMultipleObjects(count, phEvents, bWaitAll != 0 ? TRUE : FALSE,
                                                milliseconds(nSeconds));
    return wait_result(molte::here(), result, count);
}
