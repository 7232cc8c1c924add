// What only this platform tells, and what the families' tests of it can't reach.
#if !defined(_WIN32)

#include "platform/machine.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <thread>

#include "platform/performance.h"
#include "platform/processes.h"

namespace {

TEST(Machine, FileSystemsByTheirMount) {
    const struct {
        const char* folder;
        const char* name;
    } cases[] = {{"/proc", "proc"}, {"/sys/", "sysfs"}, {"\\proc\\self", "proc"}};
    for (const auto& c : cases) {
        char name[8];
        EXPECT_TRUE(
            GetVolumeInformationA(c.folder, nullptr, 0, nullptr, nullptr, nullptr, name, 8));
        EXPECT_STREQ(name, c.name);
    }
    char small[5];
    EXPECT_TRUE(GetVolumeInformationA("/proc", nullptr, 0, nullptr, nullptr, nullptr, small, 5));
    EXPECT_FALSE(GetVolumeInformationA("/proc", nullptr, 0, nullptr, nullptr, nullptr, small, 4));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_FALSE(GetVolumeInformationA("/none", nullptr, 0, nullptr, nullptr, nullptr, small, 5));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST(Machine, HandlesOfProcesses) {
    const HANDLE own = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, GetCurrentProcessId());
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(WaitForSingleObject(own, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    FILETIME times[2][4];
    for (const HANDLE process : {own, GetCurrentProcess()}) {
        FILETIME* t = times[process == own ? 0 : 1];
        EXPECT_TRUE(GetProcessTimes(process, &t[0], &t[1], &t[2], &t[3]));
    }
    const auto low = [&](int i) { return static_cast<int64_t>(times[i][0].dwLowDateTime); };
    EXPECT_LT(std::abs(low(0) - low(1)), 10'000'000);
    EXPECT_TRUE(CloseHandle(own));
    EXPECT_FALSE(GetProcessTimes(own, times[0], times[0], times[0], times[0]));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(OpenProcess(0x1FFFFF, FALSE, GetCurrentProcessId()), nullptr);
    std::thread([] {  // a thread's number is no process's
        const auto number = static_cast<DWORD>(syscall(SYS_gettid));
        EXPECT_EQ(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, number), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    })
        .join();
}

TEST(Machine, TimesOfFilesAsDates) {
    const uint64_t ticks = (11644473600 + 951827696ULL) * 10'000'000 + 7'890'000;
    const FILETIME time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    SYSTEMTIME parts;
    ASSERT_TRUE(FileTimeToSystemTime(&time, &parts));
    const SYSTEMTIME expected = {2000, 2, 2, 29, 12, 34, 56, 789};
    EXPECT_EQ(std::memcmp(&parts, &expected, sizeof parts), 0);
    const FILETIME first = {0, 0};
    ASSERT_TRUE(FileTimeToSystemTime(&first, &parts));
    EXPECT_EQ(parts.wYear, 1601);
    const FILETIME beyond = {0, 0x80000000};
    EXPECT_FALSE(FileTimeToSystemTime(&beyond, &parts));
}

TEST(Machine, CountersOfAQuery) {
    PDH_HQUERY query = nullptr;
    PDH_HCOUNTER counter = nullptr;
    PDH_FMT_COUNTERVALUE value;
    const auto read = [&](DWORD format) {
        return PdhGetFormattedCounterValue(counter, format, nullptr, &value);
    };
    ASSERT_EQ(PdhOpenQueryA(nullptr, 0, &query), 0);
    EXPECT_EQ(PdhAddCounterA(query, "\\Memory\\x", 0, &counter), PDH_CSTATUS_NO_COUNTER);
    EXPECT_EQ(PdhAddCounterA(query, "\\Processor(_Total)\\% Processor Time", 0, &counter), 0);
    EXPECT_EQ(PdhCollectQueryData(query), 0);
    EXPECT_EQ(read(PDH_FMT_LARGE), PDH_INVALID_DATA);
    EXPECT_EQ(PdhCollectQueryData(query), 0);
    EXPECT_EQ(read(PDH_FMT_LARGE | PDH_FMT_NOSCALE), 0);
    EXPECT_EQ(read(0x200), PDH_INVALID_ARGUMENT);
    EXPECT_EQ(PdhCloseQuery(query), 0);
    EXPECT_EQ(PdhCloseQuery(query), PDH_INVALID_HANDLE);
    EXPECT_EQ(read(PDH_FMT_LARGE), PDH_INVALID_HANDLE);
}

}  // namespace

#endif
