// Unique identifiers.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "core/modules.h"
#include "moltelib/byte_field.h"
#include "moltelib/date_time.h"
#include "moltelib/uuid.h"
#include "platform/critical_section.h"
#include "platform/guid.h"
#include "platform/ticks.h"

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;

constinit platform::Lock last_lock;
uint8_t last_result[ORVEX_UUID_SIZE];

void seed_by_ticks(DWORD ticks) {
    std::srand(ticks);
}

void make_by_time(uint8_t* uuid) {
    const DWORD first = GetTickCount();
    const auto now = static_cast<uint32_t>(ORVEX_Time());
    uint4ToChar4(now, uuid);
    seed_by_ticks(first);
    uint2ToChar2(static_cast<uint16_t>(std::rand()), uuid + 4);
    DWORD ticks = GetTickCount();
    while (ticks == first) {
        static_cast<void>(std::rand());
        ticks = GetTickCount();
    }
    uint4ToChar4(ticks - now, uuid + 6);
    UTIL_UUID_GetHWAddress(uuid + 10);
}

}  // namespace

int32_t ORVEX_UUID_Gen(uint8_t* pUuid) {
    if (pUuid == nullptr) return kModule.fail(molte::here(), kBadArgument);
    GUID guid;
    if (CoCreateGuid(&guid) != S_OK) return UTIL_UUID_Gen(pUuid);
    uint4ToChar4(static_cast<uint32_t>(guid.Data1), pUuid);
    uint2ToChar2(guid.Data2, pUuid + 4);
    uint2ToChar2(guid.Data3, pUuid + 6);
    std::memcpy(pUuid + 8, guid.Data4, sizeof guid.Data4);
    return 1;
}

int32_t UTIL_UUID_Gen(uint8_t* pUuid) {
    if (pUuid == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const std::lock_guard guard(last_lock);
    do make_by_time(pUuid);
    while (ORVEX_UUID_IsEqual(pUuid, last_result) == 1);
    std::memcpy(last_result, pUuid, sizeof last_result);
    return 1;
}

int32_t UTIL_UUID_GetHWAddress(uint8_t* pAddress) {
    if (pAddress == nullptr) return kModule.fail(molte::here(), kBadArgument);
    seed_by_ticks(GetTickCount());
    int n = std::rand();
    if (n > 1000) n = n % 145 + 91;
    if (n < 100) n += 47;
    double noise = 0.0;
    while (n > 0) {
        --n;
        noise += std::fabs(std::sin(n));
        noise += static_cast<int32_t>(GetTickCount()) % (n % 2 == 0 ? 3 : 5);
    }
    noise += static_cast<int32_t>(GetTickCount());
    uint64_t bits = 0;
    std::memcpy(&bits, &noise, sizeof bits);
    for (int i = 0; i < 6; ++i) pAddress[i] = static_cast<uint8_t>(bits >> 8 * i);
    return 1;
}

int32_t ORVEX_UUID_IsEmpty(const uint8_t* pUuid) {
    if (pUuid == nullptr) return kModule.fail(molte::here(), kBadArgument);
    return std::all_of(pUuid, pUuid + ORVEX_UUID_SIZE, [](uint8_t b) { return b == 0; });
}

int32_t ORVEX_UUID_IsEqual(const uint8_t* pA, const uint8_t* pB) {
    if (pA == nullptr || pB == nullptr) return kModule.fail(molte::here(), kBadArgument);
    return std::memcmp(pA, pB, ORVEX_UUID_SIZE) == 0 ? 1 : 0;
}

int32_t ORVEX_UUID_ToString(const uint8_t* pUuid, char* pszDst) {
    if (pUuid == nullptr || pszDst == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const uint8_t* u = pUuid;
    std::snprintf(pszDst, ORVEX_UUID_TEXT_SIZE,
                  "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", u[0],
                  u[1], u[2], u[3], u[4], u[5], u[6], u[7], u[8], u[9], u[10], u[11], u[12], u[13],
                  u[14], u[15]);
    return 1;
}
