#include "support/rows.h"
#include "support/test.h"

#if !defined(_WIN32)
#include <termios.h>
#endif

namespace {

TEST(Console, APasswordComplementedTwiceIsItself) {
    uint8_t bytes[17] = "0123456789abcdef";
    EXPECT_EQ(ORVEX_PassEnc(bytes, bytes), 0);
    EXPECT_EQ(bytes[15], 0x99);
    EXPECT_EQ(ORVEX_PassEnc(bytes, bytes), 0);
    EXPECT_STREQ(reinterpret_cast<char*>(bytes), "0123456789abcdef");
}

TEST(Console, BadArguments) {
    char text[16];
    EXPECT_EQ(error_of(ORVEX_PassEnc(nullptr, reinterpret_cast<uint8_t*>(text))), "50 oxsysutl");
    EXPECT_EQ(ORVEX_PassEnc(reinterpret_cast<uint8_t*>(text), nullptr), -1);
    EXPECT_EQ(error_of(ORVEX_GetPassWord("never shown", nullptr, 4)), "50 oxsysutl");
    EXPECT_EQ(ORVEX_GetPassWord("never shown", text, -1), -1);
}

int last_signal = 0;

TEST(Console, SignalsAndTheirHandlersBefore) {
    const OXSIGNALHANDLER handler = [](int32_t signal) { last_signal = signal; };
    OXSIGNALHANDLER old = handler;
    EXPECT_EQ(ORVEX_Signal(SIGTERM, SIG_IGN, nullptr), 1);
    EXPECT_EQ(ORVEX_Signal(SIGTERM, handler, &old), 1);
    EXPECT_EQ(old, SIG_IGN);
    std::raise(SIGTERM);
    EXPECT_EQ(last_signal, SIGTERM);
    EXPECT_EQ(error_of(ORVEX_Signal(12345, handler, &old)), "50 oxsysutl");
    EXPECT_EQ(old, SIG_IGN);
}

TEST(Console, HandlersComeAndGo) {
    const OXCONSOLEHANDLER handler = [](uint32_t) { return 0; };
    for (const int32_t add : {1, 1, 0, 0}) {
        EXPECT_EQ(ORVEX_WIN_SetConsoleCtrlEvent(handler, add), 1);
        EXPECT_EQ(ORVEX_WIN_SetConsoleCtrlEvent(nullptr, add), 1);
    }
    EXPECT_EQ(error_of(ORVEX_WIN_SetConsoleCtrlEvent(handler, 0)), "50 oxsysutl");
}

#if !defined(_WIN32)

std::atomic<int> asked{0};

template <int number, int32_t result>
int32_t tells(uint32_t event) {
    tell_parent(std::to_string(number) + " " + std::to_string(event));
    ++asked;
    return result;
}

CHILD_ROLE(answers_signals) {
    ORVEX_WIN_SetConsoleCtrlEvent(tells<1, 1>, 1);
    ORVEX_WIN_SetConsoleCtrlEvent(tells<2, 0>, 1);
    for (const int signal : {SIGINT, SIGHUP, SIGTERM}) {
        const int before = asked;
        kill(getpid(), signal);
        while (asked < before + 2) std::this_thread::sleep_for(milliseconds(1));
    }
    int status = SIGTERM;
#if !defined(__SANITIZE_THREAD__)  // which keeps a signal of a forked child for later
    const pid_t child = fork();
    if (child == 0) {  // has no thread for it
        kill(getpid(), SIGTERM);
        for (;;) pause();
    }
    waitpid(child, &status, 0);
#endif
    tell_parent("child " + std::to_string(WTERMSIG(status)));
    ORVEX_WIN_SetConsoleCtrlEvent(nullptr, 1);
    kill(getpid(), SIGINT);
    ORVEX_WIN_SetConsoleCtrlEvent(tells<1, 1>, 0);
    kill(getpid(), SIGTERM);
    for (;;) pause();
}

TEST(Console, SignalsAreEventsOnAThreadOfTheirOwn) {
    ChildProcess child("answers_signals");
    for (const Text line : {"2 0", "1 0", "2 2", "1 2", "2 6", "1 6", "child 15", "2 6", ""}) {
        EXPECT_EQ(child.read_line(), line);
    }
    EXPECT_EQ(child.wait(), -1);  // by the signal that nobody saw to
}

// ---- Passwords, typed at a terminal ----

// Asks at a terminal, or without one at standard input, and tells what it got.
CHILD_ROLE(asks) {
    setsid();
    if (!args[0].empty()) dup2(open(args[0].c_str(), O_RDWR), 0);
    char dst[32];
    std::memset(dst, '?', sizeof dst);
    const std::string prompt = std::to_string(getpid()) + " 100%%\n";
    const int32_t count = ORVEX_GetPassWord(prompt.c_str(), dst, std::stoi(args[1]));
    tell_parent(std::to_string(count) + " " + std::string(dst, strnlen(dst, 8)));
    return 0;
}

class Terminal : public Pinned {
 public:
    explicit Terminal(const std::string& room = "16", const std::string& typed_ahead = "") {
        grantpt(user_);
        unlockpt(user_);
        program_ = open(ptsname(user_), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        type(typed_ahead);
        child = std::make_unique<ChildProcess>("asks", Texts{ptsname(user_), room});
        const std::string prompt = child->read_line();
        process = std::stoi(prompt);
        EXPECT_TRUE(prompt.ends_with(" 100%"));
    }
    ~Terminal() {
        close(user_);
        close(program_);
    }

    void type(const std::string& keys) const {
        EXPECT_EQ(write(user_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    [[nodiscard]] bool shows_keys() const {
        termios mode{};
        tcgetattr(program_, &mode);
        constexpr tcflag_t kUsual = ECHO | ICANON | ISIG | IEXTEN;
        return (mode.c_lflag & kUsual) == kUsual;
    }
    // What the program has left unread; what the user sees.
    [[nodiscard]] std::string unread() const { return there(program_); }
    [[nodiscard]] std::string shown() const {
        fcntl(user_, F_SETFL, O_NONBLOCK);
        return there(user_);
    }

    std::unique_ptr<ChildProcess> child;
    pid_t process;

 private:
    static std::string there(int fd) {
        char bytes[256];
        const ssize_t count = read(fd, bytes, sizeof bytes);
        return {bytes, count > 0 ? static_cast<size_t>(count) : 0};
    }
    const int user_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    int program_;
};

TEST(Console, APasswordIsTypedUnseen) {
    for (const Texts& row : rows_of(TEST_ROWS, "keys, room, result, what stays unread")) {
        const Terminal terminal(row[1]);
        EXPECT_FALSE(terminal.shows_keys());
        terminal.type(row[0]);
        std::string told = terminal.child->read_line();
        EXPECT_EQ(told.empty(), row[2][0] != '-');  // a line end behind what has ended
        if (told.empty()) told = terminal.child->read_line();
        EXPECT_EQ(told, row[2]);
        EXPECT_EQ(terminal.child->wait(), 0);
        EXPECT_TRUE(terminal.shows_keys()) << row[2];
        EXPECT_EQ(terminal.shown(), "") << row[2];
        EXPECT_EQ(terminal.unread(), row[3]);
    }
}

TEST(Console, KeysTypedAheadCount) {
    const Terminal terminal("16", "early\r");
    EXPECT_EQ(terminal.child->read_line() + terminal.child->read_line(), "5 early");
}

TEST(Console, ATerminalShowsKeysAgainWhenAPromptIsKilled) {
    for (const int signal : {SIGTERM, SIGUSR1, SIGINT}) {
        const Terminal terminal;
        EXPECT_FALSE(terminal.shows_keys());
        kill(terminal.process, signal);
        EXPECT_EQ(terminal.child->wait(), -1);
        EXPECT_TRUE(terminal.shows_keys()) << signal;
    }
}

TEST(Console, WithoutATerminalStandardInputCounts) {
    ChildProcess child("asks", {"", "16"});
    child.send_line("script\r");
    child.read_line();
    EXPECT_EQ(child.read_line() + child.read_line(), "6 script");
}

#endif

}  // namespace
