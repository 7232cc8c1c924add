#include "interrupt.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "tool.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#include <unistd.h>
#endif

namespace tool {

namespace {

std::atomic<bool> asked{false};
std::mutex lock;
std::vector<std::filesystem::path> unfinished;

void end_politely() {
    asked = true;
    g_stBv.bStopAll = 1;
    std::this_thread::sleep_for(std::chrono::seconds(2));
    const std::lock_guard<std::mutex> guard(lock);
    for (const auto& path : unfinished) {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    print_error("molte: interrupted\n");
    std::_Exit(kFailed);
}

#if defined(_WIN32)
// On a thread of the system's.
BOOL WINAPI on_event(DWORD /*event*/) {
    end_politely();
    return TRUE;
}
#endif

}  // namespace

void watch_for_interrupts() {
#if defined(_WIN32)
    SetConsoleCtrlHandler(on_event, TRUE);
#else
    std::signal(SIGPIPE, SIG_IGN);  // whoever reads no more is told by the write
    static sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&signals, number);  // as nohup wants it
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([] {
        int number = 0;
        while (sigwait(&signals, &number) != 0) {
        }
        end_politely();
    }).detach();
#endif
}

bool interrupted() {
    return asked;
}

void end_if_interrupted() {
    if (asked) throw Failure("Interrupted");
}

void remove_at_end(const std::filesystem::path& path) {
    const std::lock_guard<std::mutex> guard(lock);
    unfinished.push_back(path);
}

void leave_at_end(const std::filesystem::path& path) {
    const std::lock_guard<std::mutex> guard(lock);
    unfinished.erase(std::remove(unfinished.begin(), unfinished.end(), path), unfinished.end());
}

}  // namespace tool
