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

TEST_F(ErrorLog, OffMeansOff) {
    ORVEX_ERRLOG_Log("one");
    g_stBv.bErrLogEnabled = 0;
    EXPECT_EQ((Ints{ORVEX_ERRLOG_Log("two"), ORVEX_ERRLOG_SysErrLog("two"),
                    ORVEX_ERRLOG_LogEx(1, "two"), ORVEX_ERRLOG_Close()}),
              (Ints{0, 0, 0, 0}));
    g_stBv.bErrLogEnabled = 1;
    EXPECT_EQ(installation_.log().find("two"), std::string::npos);
    EXPECT_EQ((Ints{ORVEX_ERRLOG_Close(), ORVEX_ERRLOG_Clear(), ORVEX_ERRLOG_Clear()}),
              (Ints{1, 0, -1}));
    for (const char* text :
         {"three", "four"}) {  // a log that is removed while it is open comes back
        ORVEX_ERRLOG_Log(text);
        EXPECT_NE(installation_.log().find(text), std::string::npos);
        ORVEX_ERRLOG_Clear();  // in vain where open files stay
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
    make("any.log", 100);
    for (const char* name : {"any_0003.log", "any_0004.log", "any_0005.log"}) make(name, 10);
    EXPECT_EQ(MOLTE_BackupFile(dir.c_str(), "any", ".log", 1000, 101), 1);
    EXPECT_EQ(names().size(), 4U);
    EXPECT_EQ(MOLTE_BackupFile(dir.c_str(), "any", ".log", 120, 100), 1);
    EXPECT_EQ(names(), (Texts{"any_0005.log", "any_0006.log"}));
    EXPECT_EQ(MOLTE_BackupFile(dir.c_str(), "none", ".log", 120, 0), 1);
    make("far.log", 100);
    make("far_2147483647.log", 10);
    make("far_0000.log", 10);
    EXPECT_EQ(MOLTE_BackupFile(dir.c_str(), "far", ".log", 121, 100), 1);  // at once
    EXPECT_TRUE(fs::exists(installation_.log_folder() / "far_0001.log"));  // the first free one
    make("odd.log", 100);
    make("odd_-3.log", 10);  // no backup has a negative number
    MOLTE_BackupFile(dir.c_str(), "odd", ".log", 1000, 100);
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
    Installation installation(false);
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_ERRLOG_LogEx(1, "lost"), 1);
    EXPECT_EQ(GetRvexErrNo(), 0U);
    std::ofstream(installation.log_folder()).put('f');  // a file where the folder should be
    EXPECT_EQ(ORVEX_ERRLOG_LogEx(1, "lost"), 1);
    fs::remove(installation.log_folder());
    fs::create_directories(installation.log_file());  // a folder where the file should be
    EXPECT_EQ(ORVEX_ERRLOG_LogEx(1, "lost"), 1);
}

// Entries "<writer:number:...>" as written below, whole and in each writer's order.
std::map<std::string, int> whole_entries(const std::string& text) {
    std::map<std::string, int> next;
    for (size_t at = text.find("<w"); at != std::string::npos; at = text.find("<w", at + 1)) {
        const size_t end = text.find('>', at);
        const std::string entry = text.substr(at, end - at);
        const std::string writer = entry.substr(1, entry.find(':') - 1);
        const int number = std::stoi(entry.substr(entry.find(':') + 1));
        EXPECT_EQ(number, next[writer]++) << entry.substr(0, 40);
        EXPECT_EQ(entry.size(), 20U + 300U) << entry.substr(0, 40);
    }
    return next;
}

void write_entries(int writer, int count) {
    for (int i = 0; i < count; ++i) {
        char head[32];
        snprintf(head, sizeof head, "<w%03d:%06d:", writer, i);
        ORVEX_ERRLOG_LogEx(0, "%-20s%s>\n", head, std::string(300, 'e').c_str());
    }
}

std::string all_text(const fs::path& folder) {
    Texts files = names_in(folder);
    std::rotate(files.begin(), files.begin() + 1, files.end());  // errlog.txt sorts first
    std::string text;
    for (const auto& file : files) text += read_bytes(folder / file);
    return text;
}

TEST_F(ErrorLog, ThreadsLoseNothingWhileItTurnsOver) {
    make("errlog.txt", kLimit - 200000);
    std::vector<std::thread> threads;
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([i] {
            write_entries(i, 100);
            if (i == 3) ORVEX_ERRLOG_Close();
            MOLTE_THDATA_FreeData();
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(names().size(), 2U);
    const auto entries = whole_entries(all_text(installation_.log_folder()));
    EXPECT_EQ(entries.size(), 16U);
    for (const auto& [writer, count] : entries) EXPECT_EQ(count, 100) << writer;
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

TEST_F(ErrorLog, AMillionLinesOfHistoryAndManyOfTheLog) {
    for (int i = 0; i < 1000000; ++i) ORVEX_Err_AddNL(i, "caller");
    EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 14);
    const std::string line(9000, 'l');
    for (int i = 0; i < 2500; ++i) ORVEX_ERRLOG_Log(line.c_str());  // 22.5 MB
    EXPECT_EQ(names(), (Texts{"errlog.txt", "errlog_0000.txt", "errlog_0001.txt"}));
}

CHILD_ROLE(writes_entries) {
    ORVEX_SetMainPath(args.at(0).c_str());
    if (ORVEX_BASE_InitVar() < 0) return 1;
    tell_parent("ready");
    hear_parent();
    write_entries(std::stoi(args.at(1)), 400);
    ORVEX_BASE_ReleaseVar();
    return 0;
}

TEST_F(ErrorLog, ProcessesLoseNothingWhileItTurnsOver) {
    make("errlog.txt", kLimit - 200000);
    ChildProcess a("writes_entries", {installation_.str(), "1"});
    ChildProcess b("writes_entries", {installation_.str(), "2"});
    EXPECT_EQ(a.read_line(), "ready");
    EXPECT_EQ(b.read_line(), "ready");
    a.send_line("go");
    b.send_line("go");
    EXPECT_EQ(a.wait(), 0);
    EXPECT_EQ(b.wait(), 0);
    const auto entries = whole_entries(all_text(installation_.log_folder()));
    EXPECT_EQ(entries, (std::map<std::string, int>{{"w001", 400}, {"w002", 400}}));
}

}  // namespace
