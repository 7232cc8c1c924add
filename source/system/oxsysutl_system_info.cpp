// The machine, its volumes and its processes.
#include "moltelib/system_info.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "core/modules.h"
#include "data/oxstring.h"
#include "moltelib/byte_field.h"
#include "moltelib/clock.h"
#include "moltelib/date_time.h"
#include "platform/code_page.h"
#include "platform/machine.h"
#include "platform/performance.h"
#include "platform/processes.h"
#include "platform/registry.h"
#include "system/os_type.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
constexpr uint32_t kNoProcessorKey = 253;

constexpr uint64_t kBelowFirstMegabyte = 0xA0000;  // which the system leaves out
constexpr uint32_t kAnyMemoryInMB = 4096;          // where the system tells none
constexpr uint32_t kFastMhz = 1200;                // above this
constexpr int32_t kCpuSampleMilli = 100;

MEMORYSTATUSEX memory_status() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    if (GlobalMemoryStatusEx(&status) == FALSE) status = {};
    return status;
}

// A query of the system's counters for the processors' time.
class ProcessorTime {
 public:
    ProcessorTime() { opened_ = PdhOpenQueryA(nullptr, 0, &query_) == ERROR_SUCCESS; }
    ~ProcessorTime() {
        if (opened_) PdhCloseQuery(query_);
    }
    ProcessorTime(const ProcessorTime&) = delete;
    ProcessorTime& operator=(const ProcessorTime&) = delete;

    // False when the system has no such counter; then it is printed why.
    bool add_counter() {
        if (!opened_) return false;
        const PDH_STATUS status =
            PdhAddCounterA(query_, "\\Processor(_Total)\\% Processor Time", 0, &counter_);
        if (status == ERROR_SUCCESS) return true;
        std::printf("%d %d\n", static_cast<int>(GetLastError()), static_cast<int>(status));
        return false;
    }
    bool collect() { return PdhCollectQueryData(query_) == ERROR_SUCCESS; }
    // -1 on failure.
    int32_t percent() {
        PDH_FMT_COUNTERVALUE value{};
        const PDH_STATUS status =
            PdhGetFormattedCounterValue(counter_, PDH_FMT_LARGE | PDH_FMT_NOSCALE, nullptr, &value);
        return status == ERROR_SUCCESS ? static_cast<int32_t>(value.largeValue) : -1;
    }

 private:
    bool opened_ = false;
    PDH_HQUERY query_{};
    PDH_HCOUNTER counter_{};
};

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

constexpr uint32_t kFailed = 101;

constexpr struct FileSystem {
    const char* name;
    int32_t type;
} kFileSystems[] = {{"FAT16", 1}, {"FAT32", 2}, {"NTFS", 3}, {"JFS", 10}, {"JFS2", 11}};

}  // namespace

// ---- Memory and processors of the machine ----

int32_t ORVEX_GetSimpSysInfo(ORVEX_SYSINFO* pInfo) {
    if (pInfo == nullptr) return kModule.fail(molte::here(), kBadArgument);
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    const uint64_t memory = (memory_status().ullTotalPhys + kBelowFirstMegabyte) >> 20;
    *pInfo = {};
    pInfo->nPhysicalMemInMB = memory != 0 ? static_cast<uint32_t>(memory) : kAnyMemoryInMB;
    pInfo->nCpuCount = system.dwNumberOfProcessors;
    pInfo->nOsType = static_cast<uint8_t>(ORVEX_GetOsType());
    return 1;
}

int32_t ORVEX_GetSysInfo(ORVEX_SYSINFO* pInfo) {
    if (ORVEX_GetSimpSysInfo(pInfo) < 0) return kModule.trace(molte::here());
    int32_t speed = 0;
    const bool known = GetCPUSpeedInMhz(&speed) >= 0;
    pInfo->nCpuSpeedInMhz = pInfo->nCpuSpeedInMhz2 = static_cast<uint32_t>(speed);
    ORVEX_GetCPUProp(pInfo);
    return known ? 1 : kModule.trace(molte::here());
}

int32_t ORVEX_GetCPUProp(ORVEX_SYSINFO* pInfo) {
    if (pInfo == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const bool fast = pInfo->nCpuSpeedInMhz > kFastMhz;
    const bool fast_multi = fast && pInfo->nCpuCount >= 2;
    double reference = pInfo->nCpuSpeedInMhz;
    if (fast) reference *= 0.75;
    if (fast_multi) reference *= 0.75;
    pInfo->nCpuClass = 1;
    pInfo->nCpuModel = fast ? 4 : 3;
    pInfo->bCpuFastMulti = fast_multi ? 1 : 0;
    pInfo->nRefCPUSpeedInMhz = static_cast<uint32_t>(reference);
    return 1;
}

int32_t GetCPUSpeedInMhz(int32_t* pnSpeed) {
    HKEY key{};
    if (platform::keep_error(RegOpenKeyExA(HKEY_LOCAL_MACHINE,
                                           "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", 0,
                                           KEY_READ, &key)) != ERROR_SUCCESS) {
        return kModule.fail(molte::here(), kNoProcessorKey, molte::SystemError::platform);
    }
    BYTE value[128] = {};
    DWORD size = sizeof value;
    RegQueryValueExA(key, "~MHz", nullptr, nullptr, value, &size);  // 0 where there is none
    RegCloseKey(key);
    int32_t speed = 0;
    std::memcpy(&speed, value, sizeof speed);
    if (pnSpeed != nullptr) *pnSpeed = speed;
    return speed;
}

int32_t MOLTE_GetCpuUsage(void) {
    ProcessorTime time;
    if (!time.add_counter() || !time.collect()) return -1;
    ORVEX_SleepMilli(kCpuSampleMilli);
    return time.collect() ? time.percent() : -1;
}

int32_t MOLTE_GetMemStatus(MOLTE_MEMSTATUS* pStatus) {
    if (pStatus == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const MEMORYSTATUSEX memory = memory_status();
    *pStatus = {};
    uint4ToChar4(sizeof *pStatus, pStatus->nRecSize);
    pStatus->nMemoryLoad = static_cast<uint8_t>(memory.dwMemoryLoad);
    uint8ToChar8(memory.ullTotalPhys, pStatus->nTotalPhysical);
    uint8ToChar8(memory.ullAvailPhys, pStatus->nFreePhysical);
    uint8ToChar8(memory.ullTotalPageFile, pStatus->nTotalPageFile);
    uint8ToChar8(memory.ullAvailPageFile, pStatus->nFreePageFile);
    uint8ToChar8(memory.ullTotalVirtual, pStatus->nTotalVirtual);
    uint8ToChar8(memory.ullAvailVirtual, pStatus->nFreeVirtual);
    pStatus->nCpuUsage = static_cast<uint8_t>(MOLTE_GetCpuUsage());
    return 1;
}

int32_t MOLTE_GetComputerInfo(MOLTE_COMPUTERINFO* pInfo) {
    if (pInfo == nullptr) return kModule.fail(molte::here(), kBadArgument);
    ORVEX_SYSINFO system;
    ORVEX_GetSimpSysInfo(&system);
    *pInfo = {};
    uint4ToChar4(sizeof *pInfo, pInfo->nRecSize);
    uint4ToChar4(system.nPhysicalMemInMB, pInfo->nPhysicalMemInMB);
    pInfo->nOsClass = system.nOsType == molte::kOsUnix ? 0 : 1;
    pInfo->nOsType = static_cast<uint8_t>(system.nOsType);
    uint2ToChar2(static_cast<uint16_t>(system.nCpuCount), pInfo->nCpuCount);
    ORVEX_GetComputerNameWithOpt(pInfo->szName, sizeof pInfo->szName, 0);
    return 1;
}

// ---- One process's use of memory and time ----

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

// ---- Kinds of file systems ----

const char* MOLTE_FileSystemType2Name(int32_t nType) {
    const auto* found =
        std::find_if(std::begin(kFileSystems), std::end(kFileSystems),
                     [nType](const FileSystem& system) { return system.type == nType; });
    return found != std::end(kFileSystems) ? found->name : "unknown";
}

int32_t MOLTE_FileSystemName2Type(const char* pszName) {
    if (pszName == nullptr) return kFileSystems[0].type;  // meant
    const auto* found = std::find_if(
        std::begin(kFileSystems), std::end(kFileSystems),
        [pszName](const FileSystem& s) { return platform::compare_no_case(s.name, pszName) == 0; });
    return found != std::end(kFileSystems) ? found->type : 0;
}

int32_t MOLTE_GetFileSystemInfo(const char* pszPath, MOLTE_FILESYSTEMINFO* pInfo) {
    if (pInfo == nullptr) return kModule.fail(here(), kBadArgument);
    *pInfo = {};
    uint4ToChar4(sizeof *pInfo, pInfo->nRecSize);
    if (pszPath == nullptr || pszPath[0] == '\0' || pszPath[1] == '\0') {
        return kModule.fail_text(here(), kFailed, SystemError::none, "path too short");
    }
    if (pszPath[1] != ':' || !molte::is_ascii_letter(pszPath[0])) {
        return kModule.fail_text(here(), kFailed, SystemError::none, "FORMAT ERROR");
    }
    const char root[] = {pszPath[0], ':', '\\', '\0'};
    char name[32];
    if (GetVolumeInformationA(root, nullptr, 0, nullptr, nullptr, nullptr, name, sizeof name) ==
        FALSE) {
        return kModule.fail_text(here(), kFailed, SystemError::platform, pszPath);
    }
    pInfo->nType = static_cast<uint8_t>(MOLTE_FileSystemName2Type(name));
    return 1;
}
