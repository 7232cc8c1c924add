// Mutexes and semaphores between processes.
#include <cstdint>

#include "concurrency/oxthrdop.h"
#include "core/modules.h"
#include "moltelib/process_lock.h"
#include "platform/kernel_objects.h"

using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxipc;

// The handle goes to the caller's word; without one the name is the data of the report.
int32_t give(OXHANDLE* word, HANDLE made, int32_t line, uint32_t error, const char* name) {
    *word = made;
    return made != nullptr ? 1 : kModule.fail_text(line, error, SystemError::platform, name);
}

}  // namespace

// ---- Mutexes ----

int32_t MOLTE_MUTEX_Create(OXHANDLE* phMutex, const char* pszName) {
    if (phMutex == nullptr) return kModule.fail(here(), kBadArgument);
    return give(phMutex, CreateMutexA(nullptr, FALSE, pszName), here(), 1201, pszName);
}

int32_t MOLTE_MUTEX_Open(OXHANDLE* phMutex, const char* pszName) {
    if (phMutex == nullptr) return kModule.fail(here(), kBadArgument);
    return give(phMutex, OpenMutexA(MUTEX_ALL_ACCESS, FALSE, pszName), here(), 1202, pszName);
}

int32_t MOLTE_MUTEX_Lock(OXHANDLE* phMutex, int32_t nSeconds) {
    return MOLTE_IPC_TimeWait(phMutex, nSeconds);
}

int32_t MOLTE_MUTEX_Unlock(OXHANDLE* phMutex) {
    if (phMutex == nullptr) return kModule.fail(here(), kBadArgument);
    if (ReleaseMutex(*phMutex) != 0) return 1;
    return kModule.fail_text(here(), 1203, SystemError::platform, "release mutex error");
}

int32_t MOLTE_MUTEX_Release(OXHANDLE* phMutex) {
    return MOLTE_IPC_Release(phMutex);
}

// ---- Semaphores ----

int32_t MOLTE_SEMA_Create(OXHANDLE* phSemaphore, int32_t nInitial, int32_t nMax,
                          const char* pszName) {
    if (phSemaphore == nullptr || pszName == nullptr || nInitial < 1 || nMax < nInitial) {
        return kModule.fail(here(), 410);
    }
    return give(phSemaphore, CreateSemaphoreA(nullptr, nInitial, nMax, pszName), here(), 1204,
                pszName);
}

int32_t MOLTE_SEMA_Open(OXHANDLE* phSemaphore, const char* pszName) {
    if (phSemaphore == nullptr || pszName == nullptr) return kModule.fail(here(), 1206);
    return give(phSemaphore, OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, pszName), here(), 1205,
                pszName);
}

int32_t MOLTE_SEMA_GetResource(OXHANDLE* phSemaphore, int32_t nSeconds) {
    return MOLTE_IPC_TimeWait(phSemaphore, nSeconds);
}

int32_t MOLTE_SEMA_FreeResource(OXHANDLE* phSemaphore) {
    if (phSemaphore == nullptr) return kModule.fail(here(), 1208);
    if (ReleaseSemaphore(*phSemaphore, 1, nullptr) != 0) return 1;
    return kModule.fail_text(here(), 1207, SystemError::platform, "release semaphore");
}

int32_t MOLTE_SEMA_Release(OXHANDLE* phSemaphore) {
    return MOLTE_IPC_Release(phSemaphore);
}

// ---- Both ----

int32_t MOLTE_IPC_TimeWait(OXHANDLE* phObject, int32_t nSeconds) {
    if (phObject == nullptr || *phObject == nullptr) return kModule.fail(here(), 409);
    switch (WaitForSingleObject(*phObject, molte::wait_limit(nSeconds))) {
        case WAIT_OBJECT_0:
            return 1;
        case WAIT_TIMEOUT:
            return 0;
        default:  // also an abandoned mutex, which is the caller's now: it is meant
            return kModule.fail_text(here(), 1200, SystemError::runtime, "wait failed");
    }
}

int32_t MOLTE_IPC_Release(OXHANDLE* phObject) {
    if (phObject == nullptr) return kModule.fail(here(), kBadArgument);
    return CloseHandle(*phObject);
}
