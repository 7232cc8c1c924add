// Room on disks.
#include <algorithm>
#include <limits>

#include "core/modules.h"
#include "data/oxdatcnv.h"
#include "files/oxdirop.h"
#include "moltelib/directory.h"
#include "platform/find.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxdskinf;
constexpr uint32_t kNoSpace = 202;
constexpr int64_t kUnit = 1048576;
constexpr int32_t kReserveUnits = 32;
using molte::kBadArgument;

// Disks of 2 PB and more are shown as the most that a result can hold.
int32_t whole_units(int64_t bytes) {
    return static_cast<int32_t>(
        std::min<int64_t>(bytes / kUnit, std::numeric_limits<int32_t>::max()));
}

void store(auto* out, auto value) {
    if (out != nullptr) *out = value;
}

}  // namespace

int64_t ORVEX_DISK_GetInfoEx(const char* pszDir, int64_t* pnTotal, int64_t* pnAvailable) {
    ULARGE_INTEGER available{};
    ULARGE_INTEGER total{};
    const bool known = GetDiskFreeSpaceExA(pszDir, &available, &total, nullptr) != 0;
    store(pnTotal, known ? static_cast<int64_t>(total.QuadPart) : 0);
    store(pnAvailable, known ? static_cast<int64_t>(available.QuadPart) : 0);
    if (!known) return kModule.fail_text(here(), molte::kNoState, SystemError::platform, pszDir);
    return static_cast<int64_t>(available.QuadPart);
}

int32_t ORVEX_DISK_GetInfo(const char* pszDir, int32_t* pnTotal, int32_t* pnAvailable) {
    int64_t total = 0;
    int64_t available = 0;
    // An available count with all bits set is a failure, too.
    const bool known = ORVEX_DISK_GetInfoEx(pszDir, &total, &available) != -1;
    store(pnTotal, known ? whole_units(total) : 0);
    store(pnAvailable, known ? whole_units(available) : 0);
    return known ? whole_units(available) : kModule.trace(here());
}

int32_t ORVEX_DISK_CanHoldFile(const char* pszFileName, int64_t nBytes) {
    if (pszFileName == nullptr) return kModule.fail(here(), kBadArgument);
    const molte::directory::DirectoryOf folder(pszFileName);
    if (folder.path() == nullptr) return kModule.trace(here());
    const int32_t units = ORVEX_DISK_GetInfo(folder.path(), nullptr, nullptr);
    if (units < 0) return kModule.trace(here());
    if (units > kReserveUnits && (units - kReserveUnits) * kUnit >= nBytes) return 1;
    kModule.fail(here(), kNoSpace, SystemError::none, "Need %s bytes,  Left %s MB",
                 molte::Decimal(nBytes).text(), molte::Decimal(units).text());
    return 0;
}
