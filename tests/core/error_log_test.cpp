#include <map>

#include "support/test.h"

#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

namespace {

constexpr uintmax_t kLimit = 10485760;

class ErrorLog : public testing::Test {
 protected:
    // A sparse file costs no disk.
    void make(const std::string& name, uintmax_t size) const {
        std::ofstream(installation_.log_folder() / name).put('x');
        fs::resize_file(installation_.log_folder() / name, size);
    }
    [[nodiscard]] Texts names() const { return names_in(installation_.log_folder()); }
    Installation installation_;
};

TEST_F(ErrorLog, AnEntryLineByLine) {
    std::strcpy(g_stBv.szAppName, "C:\\prog\\app.exe");
    std::strcpy(g_stBv.szAppVersion, "1.0.0.1");
    std::strcpy(g_stBv.szStartupTime, "Mon Jun  4 10:59:12 2018\n");
    std::strcpy(g_stBv.szOsPlatform, "win x64");
    g_stBv.nAppFileSize = 4096;
    g_stBv.stSysInfo.nCpuCount = 8;
    g_stBv.stSysInfo.nPhysicalMemInMB = 16384;
    g_stBv.nKernelBit = 64;
    EXPECT_EQ(ORVEX_ERRLOG_LogEx(0, "%s and %d\n", "text", 42), 1);
    const std::string log = installation_.log();
    ASSERT_EQ(log.rfind("\n======>", 0), 0U) << log;
    EXPECT_EQ(log.substr(8 + 24),
              "\n C:\\prog\\app.exe\n1.0.0.1 Mon Jun  4 10:59:12 2018\n"
              " size=4096 cpu=8 16384MB win x64 64bit\ntext and 42\n");
}

TEST_F(ErrorLog, TheRecordFollowsOnDemand) {
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_ERRLOG_SysErrLog("x"), 1);
    EXPECT_NE(installation_.log().find("\nx\nNo error history recorded.\n"), std::string::npos);
    ORVEX_Err_Set(123, 0, "source\\module", 77, 4, "data", 0);
    const ORVEX_ERRDATA before = *ORVEX_GetErrData();
    EXPECT_EQ(ORVEX_ERRLOG_LogEx(1, nullptr), 1);
    EXPECT_NE(installation_.log().find("RVEX errno=123 : Unknown\n"), std::string::npos);
    EXPECT_EQ(std::memcmp(ORVEX_GetErrData(), &before, sizeof before), 0);  // logging keeps it
    const size_t length = installation_.log().size();
    EXPECT_EQ(ORVEX_ERRLOG_Log(nullptr), 1);  // the head lines alone
    EXPECT_EQ(installation_.log().substr(length).find("Unknown"), std::string::npos);
    EXPECT_GT(installation_.log().size(), length);
}

TEST_F(ErrorLog, OffMeansOffAndClearedComesBack) {
    ORVEX_ERRLOG_Log("one");
    g_stBv.bErrLogEnabled = 0;
    EXPECT_EQ(ORVEX_ERRLOG_Log("two") + ORVEX_ERRLOG_SysErrLog("two") +
                  ORVEX_ERRLOG_LogEx(1, "two") + ORVEX_ERRLOG_Close(),
              0);
    g_stBv.bErrLogEnabled = 1;
    EXPECT_EQ(installation_.log().find("two"), std::string::npos);
    EXPECT_EQ((Ints{ORVEX_ERRLOG_Close(), ORVEX_ERRLOG_Clear(), ORVEX_ERRLOG_Clear()}),
              (Ints{1, 0, -1}));
    for (const char* text : {"three", "four"}) {
        ORVEX_ERRLOG_Log(text);
        EXPECT_NE(installation_.log().find(text), std::string::npos);
        ORVEX_ERRLOG_Clear();  // while it is open; in vain where open files stay
    }
}

TEST_F(ErrorLog, TurnsOverAtTenMebibytes) {
    make("errlog.txt", kLimit - 1);
    const std::string small(1000000, 's');  // a long text stays whole
    ORVEX_ERRLOG_Log(small.c_str());
    EXPECT_NE(installation_.log().find("\n" + small + "\n"), std::string::npos);
    EXPECT_EQ(names(), Texts{"errlog.txt"});
    ORVEX_Err_Set(77, 0, "module", 1, 0, nullptr, 0);
    ORVEX_ERRLOG_SysErrLog("full");
    EXPECT_EQ(names(), (Texts{"errlog.txt", "errlog_0000.txt"}));
    EXPECT_EQ(installation_.log().find("sss"), std::string::npos);
    EXPECT_NE(installation_.log().find("RVEX errno=77 "), std::string::npos);  // survives the turn
}

TEST_F(ErrorLog, NumbersRiseAndTheLowestGoFirst) {
    make("errlog.txt", kLimit);
    make("errlog_0003.txt", 50000000);
    make("errlog_0005.txt", 40000000);
    make("errlog_0009.txt", 40000000);
    make("errlog_x.txt", 1);  // counts, as number -1, but is no backup's name
    ORVEX_ERRLOG_Log("now");
    // 130000001 and 10485760 pass 134217728; without the 50000000 of 3 they don't.
    EXPECT_EQ(names(), (Texts{"errlog.txt", "errlog_0005.txt", "errlog_0009.txt", "errlog_0010.txt",
                              "errlog_x.txt"}));
}

TEST_F(ErrorLog, BackupOfAnyFile) {
    const std::string dir = installation_.log_folder().string();
    const auto back_up = [&](const char* name, int64_t limit, int64_t size) {
        EXPECT_EQ(MOLTE_BackupFile(dir.c_str(), name, ".log", limit, size), 1);
        return names();
    };
    make("any.log", 100);
    for (const char* name : {"any_0003.log", "any_0004.log", "any_0005.log"}) make(name, 10);
    EXPECT_EQ(back_up("any", 1000, 101).size(), 4U);
    EXPECT_EQ(back_up("any", 120, 100), (Texts{"any_0005.log", "any_0006.log"}));
    EXPECT_EQ(back_up("none", 120, 0).size(), 2U);
    for (const char* name : {"far.log", "far_2147483647.log", "far_0000.log"}) make(name, 10);
    back_up("far", 121, 10);
    EXPECT_TRUE(fs::exists(installation_.log_folder() / "far_0001.log"));  // the first free one
    for (const char* name : {"odd.log", "odd_-3.log"}) make(name, 10);     // no number is negative
    back_up("odd", 1000, 10);
    EXPECT_TRUE(fs::exists(installation_.log_folder() / "odd_0000.log"));
    char path[64];
    const std::pair<int32_t, Text> paths[] = {
        {-2, "d\\n_*.e"}, {-1, "d\\n.e"}, {7, "d\\n_0007.e"}, {12345, "d\\n_12345.e"}};
    for (const auto& [index, expected] : paths) {
        EXPECT_EQ(MOLTE_BuildBackupFileName(path, 64, "d", "n", index, ".e"),
                  static_cast<int32_t>(std::strlen(expected)));
        EXPECT_STREQ(path, expected);
    }
}

TEST_F(ErrorLog, ClearsBySize) {
    make("errlog.txt", 5 * 1024);
    EXPECT_EQ(ORVEX_ERRLOG_ClearIfSizeLargerThan(6), 1);
    EXPECT_EQ(names(), Texts{"errlog.txt"});
    EXPECT_EQ(ORVEX_ERRLOG_ClearIfSizeLargerThan(5), 1);
    EXPECT_EQ(names(), Texts{"errlog_0000.txt"});
    EXPECT_EQ(ORVEX_ERRLOG_ClearIfSizeLargerThan_Old(1), 0);  // no file
    make("errlog.txt", 4096 * 1024 - 1);
    EXPECT_EQ(ORVEX_ERRLOG_ClearIfSizeLargerThan_Old(0), 0);  // 4096 KiB
    EXPECT_EQ(names().size(), 2U);
    make("errlog_0001.txt", 1);
    EXPECT_EQ(ORVEX_ERRLOG_ClearIfSizeLargerThan_Old(4095), 0);
    EXPECT_EQ(names(), (Texts{"errlog_0000.txt", "errlog_0001.txt", "errlog_0002.txt"}));
    make("errlog.txt", 4096 * 1024);
    g_stBv.bBackupErrLogFile = 0;
    EXPECT_EQ(ORVEX_ERRLOG_ClearIfSizeLargerThan_Old(0), 0);
    EXPECT_EQ(names().size(), 3U);
}

TEST(ErrorLogFolder, MissingOrUnwritableIsSilent) {
    const Installation installation(false);
    const std::function<void()> obstacles[] = {
        [] {}, [&] { std::ofstream(installation.log_folder()).put('f'); },
        [&] {
            fs::remove(installation.log_folder());
            fs::create_directories(installation.log_file());
        }};
    for (const auto& obstacle : obstacles) {
        obstacle();
        ORVEX_Err_ClearError();
        EXPECT_EQ(ORVEX_ERRLOG_LogEx(1, "lost"), 1);
        EXPECT_EQ(GetRvexErrNo(), 0U);
    }
}

#if !defined(_WIN32)
CHILD_ROLE(logs_to_a_full_disk) {
    const Installation installation;
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit full{4096, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &full);
    ORVEX_Err_ClearError();
    for (int i = 0; i < 100; ++i) {
        if (ORVEX_ERRLOG_SysErrLog("no room") != 1 || GetRvexErrNo() != 0) return 1;
    }
    if (fs::file_size(installation.log_file()) != 4096) return 2;
    const rlimit room{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &room);
    ORVEX_ERRLOG_Log("room again");
    return installation.log().find("room again") != std::string::npos ? 0 : 3;
}

TEST(ErrorLogFolder, AFullDiskIsSilentAndNotForEver) {
    EXPECT_EQ(ChildProcess("logs_to_a_full_disk").wait(), 0);
}
#endif

// Entries "<writer:number:...>" as written below, whole and in each writer's order.
std::map<std::string, int> whole_entries(const std::string& text) {
    std::map<std::string, int> next;
    for (size_t at = text.find("<w"); at != std::string::npos; at = text.find("<w", at + 1)) {
        const std::string entry = text.substr(at, text.find('>', at) - at);
        const std::string writer = entry.substr(1, entry.find(':') - 1);
        EXPECT_EQ(std::stoi(entry.substr(writer.size() + 2)), next[writer]++);
        EXPECT_EQ(entry.size(), 312U) << entry.substr(0, 40);
    }
    return next;
}

// Four threads write; one has the log closed at its end.
CHILD_ROLE(writes_entries) {
    ORVEX_SetMainPath(args.at(0).c_str());
    if (ORVEX_BASE_InitVar() < 0) return 1;
    tell_parent("ready");
    hear_parent();
    const std::string rest(300, 'e');
    in_threads(4, [&](int thread) {
        const std::string head = "<w" + args[1] + std::to_string(thread);
        for (int i = 0; i < 100; ++i) {
            ORVEX_ERRLOG_LogEx(0, "%s:%06d:%s>\n", head.c_str(), i, rest.c_str());
        }
        if (thread == 3) ORVEX_ERRLOG_Close();
        MOLTE_THDATA_FreeData();
    });
    ORVEX_BASE_ReleaseVar();
    return 0;
}

TEST_F(ErrorLog, ThreadsOfTwoProcessesLoseNothingWhileItTurnsOver) {
    make("errlog.txt", kLimit - 200000);
    ChildProcess a("writes_entries", {installation_.str(), "a"});
    ChildProcess b("writes_entries", {installation_.str(), "b"});
    for (ChildProcess* child : {&a, &b}) EXPECT_EQ(child->read_line(), "ready");
    for (ChildProcess* child : {&a, &b}) child->send_line("go");
    EXPECT_EQ(a.wait() + b.wait(), 0);
    ASSERT_EQ(names(), (Texts{"errlog.txt", "errlog_0000.txt"}));
    const fs::path folder = installation_.log_folder();
    const auto entries =
        whole_entries(read_bytes(folder / "errlog_0000.txt") + read_bytes(folder / "errlog.txt"));
    EXPECT_EQ(entries.size(), 8U);
    for (const auto& [writer, count] : entries) EXPECT_EQ(count, 100) << writer;
}

}  // namespace
