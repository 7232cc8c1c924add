#include "../../source/system/os_type.h"

#include "support/scenes.h"

#if !defined(_WIN32)
#include <pwd.h>
#include <sys/utsname.h>
#endif

namespace {

// The big-endian number at an offset.
uint64_t number_at(const void* record, size_t offset, size_t size) {
    uint64_t value = 0;
    for (size_t i = 0; i < size; ++i) {
        value = value << 8 | static_cast<const uint8_t*>(record)[offset + i];
    }
    return value;
}

using SystemInfo = InFolder;

std::string processor(uint32_t speed, uint32_t count) {
    ORVEX_SYSINFO info{};
    info.nCpuSpeedInMhz = speed;
    info.nCpuCount = count;
    EXPECT_EQ(ORVEX_GetCPUProp(&info), 1);
    return testing::PrintToString(std::vector<uint32_t>{
        info.nCpuClass, info.nCpuModel, info.bCpuFastMulti, info.nRefCPUSpeedInMhz});
}

std::string file_system(Text path) {
    MOLTE_FILESYSTEMINFO info;
    std::memset(&info, 0xEE, sizeof info);
    const std::string told = outcome(MOLTE_GetFileSystemInfo(path, &info));
    EXPECT_EQ(number_at(&info, 0, 4), 256u);
    EXPECT_EQ(number_at(&info, 8, 1), 0u);
    return told;
}

[[maybe_unused]] const bool plays = play_scenes<SystemInfo>(
    "SystemInfo", TEST_ROWS,
    {{"windows_type", step_of<[](uint32_t platform, uint32_t major, uint32_t minor, Text whose) {
          return molte::windows_type(platform, major, minor, whose == "workstation"s);
      }>},
     {"processor", step_of<processor>},
     {"name", step_of<[](int32_t type) { return std::string(MOLTE_OsType2String(type)); }>},
     {"class_name", step_of<[](int32_t kind) { return std::string(MOLTE_OsClass2String(kind)); }>},
     {"is_nt", step_of<ORVEX_IsWinNTSeries>},
     {"type_of", step_of<MOLTE_FileSystemName2Type>},
     {"type_name",
      step_of<[](int32_t type) { return std::string(MOLTE_FileSystemType2Name(type)); }>},
     {"file_system", step_of<file_system>}});

TEST_F(SystemInfo, IsOfThisSystem) {
    EXPECT_EQ(ORVEX_PlatformIsNT(), ORVEX_GetOsType() != 11);
    EXPECT_EQ(ORVEX_GetOsType() == 11, fs::path::preferred_separator == '/');
}

TEST_F(SystemInfo, ComputerNameIsCutToTheBuffer) {
    char name[64];
    char narrow[4];
    wchar_t wide[64];
    ASSERT_EQ(ORVEX_GetComputerName(name, sizeof name), 1);
    ASSERT_GT(std::strlen(name), 0U);
    for (const int32_t size : {3, 1}) {
        EXPECT_EQ(ORVEX_GetComputerNameWithOpt(narrow, size, 0), 1);
        EXPECT_EQ(narrow, std::string(name).substr(0, static_cast<size_t>(size) - 1));
    }
    ASSERT_EQ(ORVEX_GetComputerNameW(wide, 64), 1);
    EXPECT_EQ(std::wstring(wide), std::wstring(name, name + std::strlen(name)));
    const auto length = static_cast<int32_t>(std::strlen(name));
    EXPECT_EQ(error_number_of(ORVEX_GetComputerNameW(wide, length)), 2624U);
    EXPECT_EQ(ORVEX_GetComputerName(nullptr, 5) + ORVEX_GetComputerNameWithOptW(nullptr, 5, 1), -2);
    EXPECT_EQ(error_of(ORVEX_GetComputerName(name, 0)), "50 oxsysutl");
}

// The number behind a label in a file of the kernel's.
[[maybe_unused]] uint64_t kernel_tells(const char* file, const std::string& label) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(label)) return std::strtoull(line.c_str() + label.size(), nullptr, 10);
    }
    return 0;
}

// A record that a call fills, full of rubbish before.
template <typename Record>
Record filled(int32_t (*fill)(Record*)) {
    Record record;
    std::memset(&record, 0xEE, sizeof record);
    EXPECT_EQ(fill(&record), 1);
    return record;
}

TEST_F(SystemInfo, MemoryProcessorsAndName) {
    const auto info = filled(ORVEX_GetSysInfo);
    EXPECT_EQ(info.nCpuCount, std::thread::hardware_concurrency());
    EXPECT_EQ(info.nOsType, static_cast<uint32_t>(ORVEX_GetOsType()));
    EXPECT_EQ(info.nCpuSpeedInMhz, info.nCpuSpeedInMhz2);
    EXPECT_EQ(info.nReserved + info.anReserved[0] + info.anReserved[5], 0u);
    int32_t speed = -1;
    EXPECT_EQ(GetCPUSpeedInMhz(&speed), speed);
    EXPECT_GE(speed, 0);
    EXPECT_EQ(ORVEX_GetSimpSysInfo(nullptr), -1);

    const auto computer = filled(MOLTE_GetComputerInfo);
    char name[48];
    ORVEX_GetComputerName(name, 32);
    const tuple<size_t, size_t, uint64_t> fields[] = {
        {0, 4, 128},          {4, 4, info.nPhysicalMemInMB}, {8, 1, ORVEX_GetOsType() != 11},
        {9, 1, info.nOsType}, {10, 2, info.nCpuCount},       {12, 4, 0},
        {120, 8, 0}};
    for (const auto& [offset, size, value] : fields) {
        EXPECT_EQ(number_at(&computer, offset, size), value) << offset;
    }
    EXPECT_STREQ(reinterpret_cast<const char*>(&computer) + 16, name);
#if !defined(_WIN32)
    EXPECT_EQ(info.nPhysicalMemInMB,
              (kernel_tells("/proc/meminfo", "MemTotal:") * 1024 + 0xA0000) / 1048576);
    utsname system;
    uname(&system);
    const std::string node = system.nodename;
    EXPECT_EQ(name, node.substr(0, node.find('.')).substr(0, 31));
#endif
}

TEST_F(SystemInfo, MemoryInUse) {
    const auto begin = std::chrono::steady_clock::now();
    const auto status = filled(MOLTE_GetMemStatus);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(90));
    EXPECT_EQ(number_at(&status, 0, 4), 64u);
    EXPECT_EQ(number_at(&status, 6, 2) + number_at(&status, 56, 8), 0u);
    const uint64_t total = number_at(&status, 8, 8);
    EXPECT_LE(number_at(&status, 16, 8), total);
    EXPECT_GE(number_at(&status, 24, 8), total);
    EXPECT_LT(number_at(&status, 48, 8), number_at(&status, 40, 8));
#if !defined(_WIN32)
    const double available =
        1024.0 * static_cast<double>(kernel_tells("/proc/meminfo", "MemAvailable:"));
    const auto whole = static_cast<double>(total);
    EXPECT_EQ(total, 1024 * kernel_tells("/proc/meminfo", "MemTotal:"));
    EXPECT_NEAR(static_cast<double>(number_at(&status, 16, 8)), available, whole / 5);
    EXPECT_NEAR(static_cast<double>(number_at(&status, 4, 1)), 100 * (1 - available / whole), 20);
    EXPECT_EQ(number_at(&status, 24, 8) - total,
              kernel_tells("/proc/meminfo", "SwapTotal:") * 1024);
#endif
}

TEST_F(SystemInfo, ProcessorsAtWorkAreSeen) {
    std::atomic<bool> stop{false};
    int32_t usage = -1;
    in_threads(static_cast<int>(std::thread::hardware_concurrency()) + 1, [&](int i) {
        if (i == 0) {
            usage = MOLTE_GetCpuUsage();
            stop = true;
        }
        while (!stop) {
        }
    });
    EXPECT_TRUE(usage >= 0 && usage <= 100) << usage;
#if !defined(_WIN32)
    EXPECT_GT(usage, 0);
#endif
}

MOLTE_PROCESSINFO of_process(int32_t number, int32_t result) {
    MOLTE_PROCESSINFO info;
    std::memset(&info, 0xEE, sizeof info);
    uint4ToChar4(static_cast<uint32_t>(number), info.nProcessId);
    EXPECT_EQ(MOLTE_GetProcessInfo(&info), result) << number;
    EXPECT_EQ(number_at(&info, 0, 4), 128u);
    EXPECT_EQ(number_at(&info, 28, 4), static_cast<uint32_t>(number));
    EXPECT_EQ(number_at(&info, 4, 4) + number_at(&info, 32, 8) + number_at(&info, 120, 8), 0u);
    return info;
}

TEST_F(SystemInfo, ThisProcess) {
#if !defined(_WIN32)
    setenv("TZ", "XYZ-3", 1);
    tzset();
#endif
    const time_t now = std::time(nullptr);
    const tm utc = *std::gmtime(&now);
    const int64_t utc_taken_for_local = ORVEX_MkTime(
        utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    std::vector<uint8_t> used(64 << 20, 1);
    while (std::clock() < CLOCKS_PER_SEC * 6 / 10) {
    }
    const MOLTE_PROCESSINFO info = of_process(MOLTE_GetProcessID(), 1);
    for (const size_t used_now : {8U, 12U}) {  // and 68 bytes further what was used at most
        EXPECT_GE(number_at(&info, used_now, 4), 65536u);
        EXPECT_GE(number_at(&info, used_now + 68, 4), number_at(&info, used_now, 4));
    }
    const int64_t age = utc_taken_for_local - static_cast<int64_t>(number_at(&info, 24, 4));
    EXPECT_TRUE(age >= -1 && age <= 300) << age;
#if !defined(_WIN32)
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    EXPECT_NEAR(static_cast<double>(number_at(&info, 16, 4)), seconds(usage.ru_utime), 0.55);
    EXPECT_NEAR(static_cast<double>(number_at(&info, 20, 4)), seconds(usage.ru_stime), 0.55);
    EXPECT_LE(number_at(&info, 80, 4), static_cast<uint64_t>(usage.ru_maxrss) + 4096);
#endif
    EXPECT_EQ(used.back(), 1);
}

CHILD_ROLE(tells_its_number) {
    tell_parent(std::to_string(MOLTE_GetProcessID()));
    hear_parent();
    return 0;
}

TEST_F(SystemInfo, AnotherProcessWhileItLives) {
    ChildProcess child("tells_its_number");
    const int32_t number = std::stoi(child.read_line());
    EXPECT_NE(number, MOLTE_GetProcessID());
    const MOLTE_PROCESSINFO info = of_process(number, 1);
    EXPECT_GT(number_at(&info, 12, 4), 0u);
    child.send_line("end");
    EXPECT_EQ(child.wait(), 0);
    for (const int32_t gone : {0, -1, 0x7FFFFFF0}) {
        of_process(gone, -1);
        EXPECT_EQ(error_of_this_thread(), "276 oxsysutl open process error. 87") << gone;
    }
}

TEST_F(SystemInfo, FileSystems) {
    MOLTE_FILESYSTEMINFO info;
    fs::current_path(folder_.path());
#if defined(_WIN32)
    const uint64_t type = 3;  // what the emulator's is told to be, and most are
#else
    fs::create_directory("c:");
    const uint64_t type = 0;  // of those with a number this system has next to none
#endif
    EXPECT_EQ(MOLTE_GetFileSystemInfo("c:\\any\\thing", &info), 1);
    EXPECT_EQ(number_at(&info, 8, 1), type);
}

TEST_F(SystemInfo, NameOfTheUser) {
    char name[300];
    ASSERT_EQ(ORVEX_GetLogonUserName(name, sizeof name), 1);
    const auto length = static_cast<int32_t>(std::strlen(name));
    EXPECT_EQ(ORVEX_GetEffectiveUserName(name, length + 1), 1);
    EXPECT_EQ(error_of(ORVEX_GetLogonUserName(name, length)),
              "265 oxsysutl get logon user name failed");
    EXPECT_EQ(ORVEX_GetLogonUserName(nullptr, 5), -1);
    EXPECT_EQ(error_of(ORVEX_GetLogonUserName(name, 0)), "50 oxsysutl");
#if !defined(_WIN32)
    EXPECT_STREQ(name, getpwuid(geteuid())->pw_name);
#endif
}

}  // namespace
