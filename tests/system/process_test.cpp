#include "support/environment.h"
#include "support/rows.h"
#include "support/test.h"

#if !defined(_WIN32)
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

#endif

namespace {

constexpr int32_t kLongest = 60;  // seconds that a start may take

// A program that has started tells so by it.
class Started : public Pinned {
 public:
    Started() : name_("process_test " + folder_.path().filename().string()) {
        event_ = ORVEX_EVENT_Create(name_.c_str());
    }
    ~Started() { ORVEX_EVENT_Release(event_); }

    [[nodiscard]] const TempFolder& folder() const { return folder_; }
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] bool wait() const { return ORVEX_EVENT_TimeWait(event_, kLongest) == 1; }

 private:
    TempFolder folder_;
    std::string name_;
    OXHANDLE event_;
};

std::string this_program() {
    char path[512];
    MOLTE_Win_GetExeName(path, sizeof path);
    return path;
}

std::string beside_this_program(const std::string& name) {
    return (fs::path(this_program()).parent_path() / name).string();
}

// A program that doesn't see its role would run these tests again, and so on.
class NoTestsInChildren : public testing::Environment {
    void SetUp() override {
        const char* const child = std::getenv("PROCESS_TEST_CHILD");
        if (child != nullptr && *child != '\0') std::_Exit(3);
    }
};
[[maybe_unused]] const testing::Environment* const kGuard =
    testing::AddGlobalTestEnvironment(new NoTestsInChildren);

// Runs a role of this program that writes what it tells to a file; what that is.
std::string told_by(const std::string& role, const std::string& first_word,
                    const std::string& further) {
    const Started started;
    const std::string file = started.folder() / "told by it";
    const std::string line = first_word + " --child-role " + role + " \"" + file + "\" \"" +
                             started.name() + "\" " + further;
    set_variable("PROCESS_TEST_CHILD", "1");
    const int32_t result = MOLTE_Exec(this_program().c_str(), line.c_str());
    set_variable("PROCESS_TEST_CHILD", "");
    if (result != 1) return taken_error();
    if (!started.wait()) return "not started";
    return read_bytes(file);
}

void tell(const std::vector<std::string>& args, const std::string& text) {
    std::ofstream(args[0], std::ios::binary) << text;
    OXHANDLE event = ORVEX_EVENT_Open(args[1].c_str());
    ORVEX_EVENT_Set(event);
    ORVEX_EVENT_Release(event);
}

CHILD_ROLE(tells_words) {
    std::string text;
    for (size_t i = 2; i < args.size(); ++i) text += "[" + args[i] + "]";
    tell(args, text);
    return 0;
}

TEST(Process, WordsArriveAsTheyWereMeant) {
    check_rows(
        TEST_ROWS,
        {{"words", [](const Texts& row) { return told_by("tells_words", row[0], row[1]); }}});
}

TEST(Process, WhatCannotBeStartedIsTold) {
    const TempFolder folder;
    const std::string text = folder.write("no program.exe", "some text");
    fs::permissions(text, fs::perms::owner_all);
    const auto error = [](const std::string& path, const std::string& line = "x") {
        return error_of(MOLTE_Exec(path.c_str(), line.c_str()));
    };
    EXPECT_EQ(error(folder / "nothing.exe"), "101 oxsysutl error=2");
    for (const std::string& path : {folder / "none/nothing.exe", ""s}) {
        EXPECT_EQ(error(path), "101 oxsysutl error=3");
    }
    EXPECT_EQ(error(text), "101 oxsysutl error=193");
#if !defined(_WIN32)  // the emulator has other numbers than Windows
    EXPECT_EQ(error(folder.str()), "101 oxsysutl error=5");
    EXPECT_EQ(error(this_program(), std::string(32767, 'x')), "101 oxsysutl error=206");
#endif
    EXPECT_EQ(error_of(MOLTE_Exec(nullptr, "x")), "50 oxsysutl");
    MOLTE_Exec("", "x");
    EXPECT_EQ(ORVEX_GetErrData()->nWinErrNo[3], 3);
    taken_error();
}

// A main path that was set stays.
CHILD_ROLE(restarts_without_installation) {
    const std::string result = std::to_string(MOLTE_UTIL_Restart(0));
    tell_parent(result + " " + taken_error());
    return 0;
}

TEST(Restart, TellsWhatItLacks) {
    EXPECT_EQ(ChildProcess("restarts_without_installation").read_line(), "0 1000 oxmnpath");
    const auto error = [](const char* name) {
        MOLTE_SetAppName(name);
        EXPECT_EQ(MOLTE_UTIL_Restart(0), 0);
        return taken_error();
    };
    const TempFolder folder;
    ORVEX_SetMainPath(folder.str().c_str());
    EXPECT_EQ(error(""), "50 oxsysutl");
    EXPECT_EQ(error("a\"b"), "50 oxsysutl a\"b");
    EXPECT_EQ(error("x").substr(0, 19), "101 oxsysutl error=");
}

TEST(Restart, StartsTheProgramAgain) {
    const Started started;
    const std::string installation = started.folder() / "the installation";
    fs::create_directories(installation + "/BIN");
    fs::copy_file(beside_this_program("oxrunat.exe"), installation + "/BIN/oxrunat.exe");
    set_variable("RESTART_FOLDER", installation.c_str());
    set_variable("RESTART_EVENT", started.name().c_str());
    const std::string program = beside_this_program("restarts_itself.exe");
    ASSERT_EQ(MOLTE_Exec(program.c_str(), ""), 1) << taken_error();
    ASSERT_TRUE(started.wait());
    std::ifstream starts(installation + "/starts");
    int words[2] = {};
    int64_t ticks[2] = {};
    for (int i = 0; i < 2; ++i) starts >> words[i] >> ticks[i];
    EXPECT_EQ(words[0] + words[1], 2) << "its name alone, each time";
    EXPECT_GE(MOLTE_HiResoTickToSec(ticks[1] - ticks[0]), 1.0);
}

#if !defined(_WIN32)

// The emulator takes the quote for one that is meant.
TEST(Process, TheFirstWordHasNoEscapes) {
    EXPECT_EQ(told_by("tells_words", "\"C:\\folder\\\"", "x"), "[x]");
}

// What a program finds that was started.
CHILD_ROLE(tells_state) {
    std::string text = getsid(0) == getpid() ? "own session, open" : "open";
    for (int fd = 0; fd < 200; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0)
            text += " " + fs::read_symlink("/proc/self/fd/" + std::to_string(fd)).string();
    }
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        const bool of_signals = line.starts_with("SigBlk:") || line.starts_with("SigIgn:");
        if (of_signals && line.find_first_not_of('0', 8) != std::string::npos) text += ", " + line;
    }
    tell(args, text);
    return 0;
}

// As on a kernel that doesn't know close_range, with a descriptor above the limit.
CHILD_ROLE(starts_on_older_kernel) {
    sock_filter code[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                          BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_close_range, 0, 1),
                          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
                          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog filter{4, code};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) return 1;
    dup2(0, 150);
    const rlimit limit{100, 100};
    setrlimit(RLIMIT_NOFILE, &limit);
    const std::string line = "x --child-role tells_state \"" + args[0] + "\" \"" + args[1] + "\"";
    return MOLTE_Exec(this_program().c_str(), line.c_str());
}

volatile std::sig_atomic_t children_ended = 0;

// With standard files open and closed: a pipe may not be taken for one of them.
TEST(Process, GetsNothingOfItsStarterAndLeavesItNothing) {
    children_ended = 0;
    const auto before = std::signal(SIGCHLD, [](int) { children_ended = children_ended + 1; });
    std::signal(SIGUSR1, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR2);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    for (int fd = 100; fd < 103; ++fd) ASSERT_EQ(dup2(fd - 100, fd), fd);
    Texts told = {told_by("tells_state", "x", "")};
    for (int fd = 0; fd < 3; ++fd) close(fd);
    told.push_back(told_by("tells_state", "x", ""));
    const std::string failure = error_of(MOLTE_Exec("/no such program", nullptr));
    for (int fd = 0; fd < 3; ++fd) dup2(100 + fd, fd);
    told.push_back(told_by("starts_on_older_kernel", "x", ""));
    EXPECT_EQ(told, Texts(3, "own session, open /dev/null /dev/null /dev/null"));
    EXPECT_EQ(failure, "101 oxsysutl error=2");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG | __WALL), -1) << "no child, dead or alive";
    EXPECT_EQ(children_ended, 0);
    std::signal(SIGCHLD, before);
    sigset_t now;
    sigprocmask(SIG_SETMASK, nullptr, &now);
    for (int signal = 1; signal < SIGRTMIN; ++signal) {
        EXPECT_EQ(sigismember(&now, signal), signal == SIGUSR2 ? 1 : 0) << signal;
    }
}

TEST(Process, IsStartedByManyThreadsAtOnce) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "it takes the descriptors of the new processes for this one's";
#endif
    std::atomic<int> started{0};
    in_threads(4, [&](int) {
        for (int i = 0; i < 5; ++i) {
            started += MOLTE_Exec("/bin/true", nullptr);
            started -= MOLTE_Exec("/bin/no such program", "x");
        }
    });
    EXPECT_EQ(started, 40);
}

#endif

}  // namespace
