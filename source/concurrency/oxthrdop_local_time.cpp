// The run-time's local-time functions share a record among all threads; one lock guards it.
#include <cstring>

#include "concurrency/oxthrdop.h"
#include "core/owners.h"
#include "moltelib/thread.h"
#include "platform/time.h"

namespace {

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
