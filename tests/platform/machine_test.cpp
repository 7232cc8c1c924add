// What only this platform tells, and what the families' tests of it can't reach.
#if !defined(_WIN32)

#include "platform/machine.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <thread>

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
