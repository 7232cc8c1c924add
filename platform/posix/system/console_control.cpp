#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>

#include "platform/console.h"
#include "platform/critical_section.h"
#include "system/terminal.h"

namespace {

struct Event {
    int signal;
    DWORD number;
};
constexpr Event kEvents[] = {
    {SIGINT, CTRL_C_EVENT}, {SIGHUP, CTRL_CLOSE_EVENT}, {SIGTERM, CTRL_SHUTDOWN_EVENT}};
constexpr int kEventCount = 3;

// ---- Who is asked ----

struct Handlers {
    static constexpr int kMost = 32;
    PHANDLER_ROUTINE all[kMost] = {};
    int count = 0;
    bool ignores_ctrl_c = false;

    DWORD add(PHANDLER_ROUTINE handler) {
        if (count == kMost) return ERROR_NOT_ENOUGH_MEMORY;
        all[count++] = handler;
        return ERROR_SUCCESS;
    }
    DWORD remove(PHANDLER_ROUTINE handler) {
        int at = count - 1;
        while (at >= 0 && all[at] != handler) --at;
        if (at < 0) return ERROR_INVALID_PARAMETER;
        for (--count; at < count; ++at) all[at] = all[at + 1];
        return ERROR_SUCCESS;
    }
    DWORD change(PHANDLER_ROUTINE handler, bool adds) {
        if (handler != nullptr) return adds ? add(handler) : remove(handler);
        ignores_ctrl_c = adds;
        return ERROR_SUCCESS;
    }
    // Whether one of them, the last first, has seen to it.
    [[nodiscard]] bool see_to(DWORD event) const {
        if (event == CTRL_C_EVENT && ignores_ctrl_c) return true;
        for (int i = count - 1; i >= 0; --i) {
            if (all[i](event) != FALSE) return true;
        }
        return false;
    }
};

constinit platform::Lock lock;
Handlers handlers;

// They may add and take away others.
bool is_seen_to(DWORD event) {
    Handlers now;
    {
        const std::lock_guard guard(lock);
        now = handlers;
    }
    return now.see_to(event);
}

// ---- Signals, and the thread that answers them ----

std::atomic<pid_t> answering_process{0};
std::atomic<int> pending[kEventCount];
sem_t bell;

void end_by(int signal) {
    platform::show_keys_again();
    std::signal(signal, SIG_DFL);
    kill(getpid(), signal);
}

void on_signal(int signal) {
    const int error = errno;
    if (answering_process == getpid()) {
        for (int i = 0; i < kEventCount; ++i) pending[i] += kEvents[i].signal == signal ? 1 : 0;
        sem_post(&bell);
    } else {
        end_by(signal);  // in a forked child
    }
    errno = error;
}

void* answer(void*) {
    for (;;) {
        while (sem_wait(&bell) != 0) {
        }
        for (int i = 0; i < kEventCount; ++i) {
            for (; pending[i] > 0; --pending[i]) {
                if (!is_seen_to(kEvents[i].number)) end_by(kEvents[i].signal);
            }
        }
    }
}

void take_over(int signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if ((action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN) return;
    action = {};
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

// The thread gets no signals of the program's.
bool start_thread() {
    sigset_t all;
    sigset_t own;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &own);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread{};
    const bool started = pthread_create(&thread, &attributes, answer, nullptr) == 0;
    pthread_attr_destroy(&attributes);
    pthread_sigmask(SIG_SETMASK, &own, nullptr);
    return started;
}

// Once in each process. Under the lock.
bool answers() {
    if (answering_process == getpid()) return true;
    sem_init(&bell, 0, 0);
    for (auto& count : pending) count = 0;
    if (!start_thread()) return false;
    answering_process = getpid();
    for (const Event& event : kEvents) take_over(event.signal);
    return true;
}

}  // namespace

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
    const std::lock_guard guard(lock);
    const bool ready = add == FALSE || answers();
    const DWORD error =
        ready ? handlers.change(handler, add != FALSE) : DWORD{ERROR_NOT_ENOUGH_MEMORY};
    if (error != ERROR_SUCCESS) SetLastError(error);
    return error == ERROR_SUCCESS ? TRUE : FALSE;
}
