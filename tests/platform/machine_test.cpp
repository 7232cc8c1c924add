// What only this platform tells, and what the families' tests of it can't reach.
#if !defined(_WIN32)

#include "platform/machine.h"

#include <grp.h>

#include <numeric>

#include "platform/processes.h"
#include "support/error_if.h"
#include "support/posix.h"

namespace {

TEST(Machine, FileSystemsByTheirMount) {
    char name[8];
    const auto get_into = [&name](const char* folder, DWORD room) {
        return error_if(
            !GetVolumeInformationA(folder, nullptr, 0, nullptr, nullptr, nullptr, name, room));
    };
    for (const auto& [folder, type] :
         {tuple{"/proc", "proc"}, {"/sys/", "sysfs"}, {"\\proc\\self", "proc"}}) {
        EXPECT_EQ(get_into(folder, 8), 0U);
        EXPECT_STREQ(name, type);
    }
    EXPECT_EQ(get_into("/proc", 5), 0U);
    EXPECT_EQ(get_into("/proc", 4), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(get_into("/none", 5), ERROR_FILE_NOT_FOUND);
}

// The kernel lists them in front of the memory.
TEST(Machine, AProcessOfManyGroups) {
    if (geteuid() != 0) GTEST_SKIP() << "only root gives groups";
    EXPECT_EQ(in_fork([] {
                  std::vector<gid_t> groups(5000);
                  std::iota(groups.begin(), groups.end(), 1'000'000'000);
                  PROCESS_MEMORY_COUNTERS memory{};
                  const HANDLE self = GetCurrentProcess();
                  const bool told = setgroups(groups.size(), groups.data()) == 0 &&
                                    GetProcessMemoryInfo(self, &memory, sizeof memory) != 0;
                  return told && memory.WorkingSetSize > 0 && memory.PeakWorkingSetSize > 0 ? 0 : 1;
              }),
              0);
}

TEST(Machine, HandlesOfProcesses) {
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    const HANDLE gone = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, static_cast<DWORD>(child));
    ASSERT_NE(gone, nullptr);
    EXPECT_EQ(error_if(WaitForSingleObject(gone, 0) == WAIT_FAILED), ERROR_ACCESS_DENIED);
    EXPECT_EQ(kill(child, SIGKILL), 0);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    FILETIME times[4];
    const auto get_times = [&](HANDLE process) {
        return GetProcessTimes(process, &times[0], &times[1], &times[2], &times[3]);
    };
    PROCESS_MEMORY_COUNTERS memory;
    EXPECT_EQ(error_if(!get_times(gone)), ERROR_NOT_FOUND);
    EXPECT_EQ(error_if(!GetProcessMemoryInfo(gone, &memory, sizeof memory)), ERROR_NOT_FOUND);
    EXPECT_TRUE(CloseHandle(gone));
    EXPECT_EQ(error_if(!get_times(gone)), ERROR_INVALID_HANDLE);
    EXPECT_TRUE(get_times(GetCurrentProcess()));
    EXPECT_EQ(OpenProcess(0x1FFFFF, FALSE, GetCurrentProcessId()), nullptr);
    std::thread([] {  // a thread's number is no process's
        const auto number = static_cast<DWORD>(gettid());
        const HANDLE none = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, number);
        EXPECT_EQ(error_if(none == nullptr), ERROR_INVALID_PARAMETER);
    })
        .join();
}

}  // namespace

#endif
