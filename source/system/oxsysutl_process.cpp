// One process's use of memory and time.
#include "core/modules.h"
#include "moltelib/byte_field.h"
#include "moltelib/date_time.h"
#include "moltelib/system_info.h"
#include "platform/processes.h"

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
constexpr uint32_t kProcessNotOpened = 276;

class ProcessHandle {
 public:
    explicit ProcessHandle(uint32_t number)
        : handle_(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, number)) {}
    ~ProcessHandle() {
        if (handle_ != nullptr) CloseHandle(handle_);
    }
    ProcessHandle(const ProcessHandle&) = delete;
    ProcessHandle& operator=(const ProcessHandle&) = delete;

    [[nodiscard]] HANDLE get() const { return handle_; }

 private:
    HANDLE handle_;
};

// Rounded to the nearest.
uint32_t whole_seconds(const FILETIME& time) {
    constexpr uint64_t ticks_per_second = 10'000'000;
    const uint64_t ticks = uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    return static_cast<uint32_t>((ticks + ticks_per_second / 2) / ticks_per_second);
}

// The UTC reading is taken for local time: that is meant.
uint32_t time_value(const FILETIME& time) {
    SYSTEMTIME utc{};
    FileTimeToSystemTime(&time, &utc);
    return static_cast<uint32_t>(
        ORVEX_MkTime(utc.wYear, utc.wMonth, utc.wDay, utc.wHour, utc.wMinute, utc.wSecond));
}

void put_times(HANDLE process, MOLTE_PROCESSINFO* info) {
    FILETIME creation{};
    FILETIME end{};
    FILETIME kernel{};
    FILETIME user{};
    if (GetProcessTimes(process, &creation, &end, &kernel, &user) == FALSE) return;
    uint4ToChar4(time_value(creation), info->nCreationTime);
    uint4ToChar4(whole_seconds(kernel), info->nKernelTime);
    uint4ToChar4(whole_seconds(user), info->nUserTime);
}

uint32_t in_kilobytes(size_t bytes) {
    return static_cast<uint32_t>(bytes / 1024);
}

void put_memory(HANDLE process, MOLTE_PROCESSINFO* info) {
    PROCESS_MEMORY_COUNTERS memory{};
    memory.cb = sizeof memory;
    if (GetProcessMemoryInfo(process, &memory, sizeof memory) == FALSE) return;
    uint4ToChar4(in_kilobytes(memory.WorkingSetSize), info->nWorkingSetInKB);
    uint4ToChar4(in_kilobytes(memory.PeakWorkingSetSize), info->nPeakWorkingSetInKB);
    uint4ToChar4(in_kilobytes(memory.PagefileUsage), info->nPageFileInKB);
    uint4ToChar4(in_kilobytes(memory.PeakPagefileUsage), info->nPeakPageFileInKB);
}

}  // namespace

int32_t MOLTE_GetProcessID(void) {
    return static_cast<int32_t>(GetCurrentProcessId());
}

int32_t MOLTE_GetProcessInfo(MOLTE_PROCESSINFO* pInfo) {
    if (pInfo == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const uint32_t number = Char4To_uint4(pInfo->nProcessId);
    *pInfo = {};
    uint4ToChar4(sizeof *pInfo, pInfo->nRecSize);
    uint4ToChar4(number, pInfo->nProcessId);
    const ProcessHandle process(number);
    if (process.get() == nullptr) {
        return kModule.fail(molte::here(), kProcessNotOpened, molte::SystemError::platform,
                            "open process error. %d", static_cast<int>(GetLastError()));
    }
    put_times(process.get(), pInfo);
    put_memory(process.get(), pInfo);
    return 1;
}
