#include "system/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <utility>

#include "platform/console.h"
#include "platform/critical_section.h"

namespace platform {

namespace {

constinit Lock prompt;  // what follows is that of the thread that holds it
int depth = 0;
int terminal = -1;     // where keys come from; -1: from standard input as a stream
bool useless = false;  // there is a terminal, and it shows what is typed
termios before;        // as it was

std::atomic<int> changed{-1};  // the terminal that is to be set back
pid_t changed_by = 0;

// ---- Signals that would end the process while keys are hidden ----

constexpr int kDeadly[] = {SIGHUP,  SIGINT,  SIGQUIT,   SIGTERM, SIGALRM, SIGPIPE, SIGABRT, SIGUSR1,
                           SIGUSR2, SIGPROF, SIGVTALRM, SIGXCPU, SIGXFSZ, SIGPOLL, SIGPWR};
bool caught[std::size(kDeadly)];

// The signal comes again as it would have without us, when this returns.
void die_with_keys_shown(int signal) {
    show_keys_again();
    raise(signal);
}

// What the program handles or ignores itself doesn't end it.
void catch_deadly_signals() {
    for (size_t i = 0; i < std::size(kDeadly); ++i) {
        struct sigaction action {};
        sigaction(kDeadly[i], nullptr, &action);
        caught[i] = (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_DFL;
        if (!caught[i]) continue;
        action = {};
        action.sa_handler = die_with_keys_shown;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaddset(&action.sa_mask, SIGTTOU);  // so that one in the background may set it back
        sigaction(kDeadly[i], &action, nullptr);
    }
}

void leave_deadly_signals() {
    for (size_t i = 0; i < std::size(kDeadly); ++i) {
        struct sigaction action {};
        sigaction(kDeadly[i], nullptr, &action);
        if (caught[i] && action.sa_handler == die_with_keys_shown) signal(kDeadly[i], SIG_DFL);
    }
}

// ---- The terminal ----

bool set(int fd, const termios& mode) {
    while (tcsetattr(fd, TCSANOW, &mode) != 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

void open_terminal() {
    terminal = isatty(STDIN_FILENO) != 0 ? STDIN_FILENO
                                         : open("/dev/tty", O_RDONLY | O_CLOEXEC | O_NOCTTY);
}

void close_terminal() {
    if (terminal > STDIN_FILENO) close(terminal);
    terminal = -1;
}

void hide_keys() {
    useless = false;
    open_terminal();
    if (terminal < 0) return;
    static const struct AtExit {
        ~AtExit() { show_keys_again(); }
    } at_exit;
    useless = tcgetattr(terminal, &before) != 0;
    if (useless) return;
    catch_deadly_signals();
    termios mode = before;
    mode.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
    mode.c_cc[VMIN] = 1;
    mode.c_cc[VTIME] = 0;
    changed_by = getpid();
    changed = terminal;
    useless = !set(terminal, mode);
}

// ---- Keys ----

constexpr int kEscape = 27;
constexpr int kOfSequence = 224;  // what announces the code of a key that has no character
constexpr int kNone = EOF;
int next_code = kNone;  // what the next call gives
int next_byte = kNone;  // read already

int read_byte() {
    if (next_byte != kNone) return std::exchange(next_byte, kNone);
    unsigned char byte = 0;
    for (;;) {
        const ssize_t count = read(terminal, &byte, 1);
        if (count == 1) return byte;
        if (count == 0) return EOF;
        pollfd keys{terminal, POLLIN, 0};
        if (errno == EAGAIN) poll(&keys, 1, -1);
        if (errno != EAGAIN && errno != EINTR) return EOF;
    }
}

// What a key sends comes together; who types an escape takes longer to the next key.
bool more_is_there() {
    constexpr int kMilliseconds = 50;
    pollfd keys{terminal, POLLIN, 0};
    return poll(&keys, 1, kMilliseconds) > 0;
}

// Behind an escape: "[" or "O", digits and the like, and a letter or other last byte. Another byte
// cuts it short and is the next key.
int read_sequence() {
    if (!more_is_there()) return kEscape;
    const int kind = read_byte();
    if (kind != '[' && kind != 'O') {
        next_byte = kind;
        return kEscape;
    }
    int byte = read_byte();
    if (kind == '[' && byte == '[') byte = read_byte();  // the console's own
    while (byte >= ' ' && byte < '@') byte = read_byte();
    if (byte < ' ' || byte > '~') next_byte = byte;
    next_code = byte;
    return byte != EOF ? kOfSequence : EOF;
}

int read_terminal() {
    if (useless) return EOF;
    if (next_code != kNone) return std::exchange(next_code, kNone);
    const int byte = read_byte();
    const auto is = [byte](int which) {
        return before.c_cc[which] == byte && byte != _POSIX_VDISABLE;
    };
    if (byte == '\n') return '\r';  // what most terminals make of Enter
    if (is(VEOF)) return EOF;
    if (is(VINTR)) return 3;
    if (is(VERASE)) return '\b';
    return byte == kEscape ? read_sequence() : byte;
}

int next_of_stream() {
    for (;;) {
        const int byte = getc(stdin);
        if (byte != EOF || ferror(stdin) == 0 || errno != EINTR) return byte;
        clearerr(stdin);
    }
}

int read_stream() {
    const int byte = next_of_stream();
    if (byte != '\r') return byte == '\n' ? '\r' : byte;
    const int behind = next_of_stream();
    if (behind != '\n') ungetc(behind, stdin);
    return '\r';
}

}  // namespace

void show_keys_again() {
    const int error = errno;
    if (changed_by == getpid()) {
        const int fd = changed.exchange(-1);
        if (fd >= 0) set(fd, before);
    }
    errno = error;
}

HiddenKeys::HiddenKeys() {
    prompt.lock();
    if (depth++ == 0) hide_keys();
}

HiddenKeys::~HiddenKeys() {
    if (--depth == 0) {
        show_keys_again();
        leave_deadly_signals();
        close_terminal();
    }
    prompt.unlock();
}

}  // namespace platform

int _getch() {
    const platform::HiddenKeys hidden;
    return platform::terminal >= 0 ? platform::read_terminal() : platform::read_stream();
}
