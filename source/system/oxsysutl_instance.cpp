// One instance of a program at a time.
#include <atomic>

#include "core/modules.h"
#include "moltelib/instance.h"
#include "platform/kernel_objects.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysutl;
constexpr uint32_t kHeldByAnother = 115;
constexpr uint32_t kNoMutex = 263;

std::atomic<HANDLE> held{nullptr};

}  // namespace

int32_t ORVEX_CheckPreInstance(const char* pszName) {
    if (pszName == nullptr || pszName[0] == '\0') return kModule.fail(here(), molte::kBadArgument);
    held = nullptr;  // what an earlier call took stays open
    const HANDLE mutex = CreateMutexA(nullptr, TRUE, pszName);
    if (mutex == nullptr) return kModule.fail(here(), kNoMutex, SystemError::runtime);
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
        kModule.fail(here(), kHeldByAnother, SystemError::platform);
        CloseHandle(mutex);
        return -1;
    }
    held = mutex;
    return 1;
}

int32_t ORVEX_ReleaseInstance(void) {
    const HANDLE mutex = held.exchange(nullptr);
    if (mutex != nullptr) CloseHandle(mutex);
    return 1;
}
