#include "support/posix.h"
#include "support/scenes.h"

namespace {

constexpr uintmax_t kLimit = 10485760;

// Steps are about the LOG folder of an installation.
class ErrorLog : public InFolder {
 protected:
    Installation installation_;

 public:
    ErrorLog() { fs::current_path(installation_.log_folder()); }
    ~ErrorLog() override { fs::current_path(before_); }
};

// A sparse file costs no disk.
void make(const std::string& name, uintmax_t size) {
    std::ofstream(name).put('x');
    fs::resize_file(name, size);
}

Texts names() {
    return names_in(".");
}

[[maybe_unused]] const bool plays = play_scenes<ErrorLog>(
    "ErrorLog", TEST_ROWS,
    {{"make", step_of<[](Text name, int64_t size) {
          make(name, static_cast<uintmax_t>(size));
          return size;
      }>},
     {"log", step_of<ORVEX_ERRLOG_Log>},
     {"log_system", step_of<ORVEX_ERRLOG_SysErrLog>},
     {"log_error", step_of<[](uint32_t error, Text text) {
          ORVEX_Err_Set(error, 0, "module", 1, 0, nullptr, 0);
          const int32_t result = ORVEX_ERRLOG_SysErrLog(text);
          ORVEX_Err_ClearError();
          return result;
      }>},
     {"log_with",
      step_of<[](int32_t record, Text text) { return ORVEX_ERRLOG_LogEx(record, "%s", text); }>},
     {"has", step_of<[](Text text) {
          return int64_t{read_text("errlog.txt").find(text) != std::string::npos};
      }>},
     {"log_enabled", step_of<[](int32_t flag) { return g_stBv.bErrLogEnabled = flag; }>},
     {"backup_enabled", step_of<[](int32_t flag) { return g_stBv.bBackupErrLogFile = flag; }>},
     {"close", step_of<ORVEX_ERRLOG_Close>},
     {"clear", step_of<ORVEX_ERRLOG_Clear>},
     {"clear_larger", step_of<ORVEX_ERRLOG_ClearIfSizeLargerThan>},
     {"clear_larger_old", step_of<ORVEX_ERRLOG_ClearIfSizeLargerThan_Old>},
     {"back_up", step_of<[](Text name, int64_t total, int64_t least) {
          return MOLTE_BackupFile(fs::current_path().string().c_str(), name, ".log", total, least);
      }>},
     {"backup_name", step_of<MOLTE_BuildBackupFileName>}});

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
    ORVEX_Err_ClearError();
    {
        const FileSizeLimit full(4096);
        for (int i = 0; i < 100; ++i) {
            if (ORVEX_ERRLOG_SysErrLog("no room") != 1 || GetRvexErrNo() != 0) return 1;
        }
    }
    if (fs::file_size(installation.log_file()) != 4096) return 2;
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
