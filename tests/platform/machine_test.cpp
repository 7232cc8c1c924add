// What only this platform tells, and what the families' tests of it can't reach.
#if !defined(_WIN32)

#include "platform/machine.h"

#include <grp.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <numeric>

#include "platform/processes.h"
#include "support/common.h"

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

// The kernel lists them in front of the memory.
TEST(Machine, AProcessOfManyGroups) {
    if (geteuid() != 0) GTEST_SKIP() << "only root gives groups";
    const pid_t child = fork();
    if (child == 0) {
        std::vector<gid_t> groups(5000);
        std::iota(groups.begin(), groups.end(), 1'000'000'000);
        PROCESS_MEMORY_COUNTERS memory{};
        const bool told = setgroups(groups.size(), groups.data()) == 0 &&
                          GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory) != 0;
        _exit(told && memory.WorkingSetSize > 0 && memory.PeakWorkingSetSize > 0 ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(Machine, AProcessThatIsGone) {
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    const HANDLE handle = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, static_cast<DWORD>(child));
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(kill(child, SIGKILL), 0);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    FILETIME times[4];
    EXPECT_FALSE(GetProcessTimes(handle, &times[0], &times[1], &times[2], &times[3]));
    EXPECT_EQ(GetLastError(), ERROR_NOT_FOUND);
    PROCESS_MEMORY_COUNTERS memory;
    EXPECT_FALSE(GetProcessMemoryInfo(handle, &memory, sizeof memory));
    EXPECT_EQ(GetLastError(), ERROR_NOT_FOUND);
    EXPECT_TRUE(CloseHandle(handle));
}

TEST(Machine, HandlesOfProcesses) {
    const HANDLE own = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, GetCurrentProcessId());
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(WaitForSingleObject(own, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CloseHandle(own));
    FILETIME times[4];
    EXPECT_FALSE(GetProcessTimes(own, &times[0], &times[1], &times[2], &times[3]));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_TRUE(GetProcessTimes(GetCurrentProcess(), &times[0], &times[1], &times[2], &times[3]));
    EXPECT_EQ(OpenProcess(0x1FFFFF, FALSE, GetCurrentProcessId()), nullptr);
    std::thread([] {  // a thread's number is no process's
        const auto number = static_cast<DWORD>(syscall(SYS_gettid));
        EXPECT_EQ(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, number), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    })
        .join();
}

}  // namespace

#endif
