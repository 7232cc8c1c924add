// For tests about being woken: who is known to sleep.
#pragma once

#include <atomic>
#include <string>

#include "support/pinned.h"
#include "support/threads.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>

#include <fstream>
#endif

// Returns once a thread ("self/task/NUMBER") or process ("NUMBER") waits in the kernel for whatever
// it may be, or is gone. Where that can't be told it gets a moment: no result may depend on it.
inline void until_asleep([[maybe_unused]] const std::string& who) {
#if defined(_WIN32)
    Sleep(20);
#else
    for (std::string rest; rest.substr(0, 3) != ") S"; std::this_thread::yield()) {
        std::ifstream state("/proc/" + who + "/stat");
        if (!std::getline(state, rest)) return;
        rest = rest.substr(std::min(rest.size(), rest.rfind(')')));
    }
#endif
}

// A thread that is asleep in what it runs when it has been made.
class SleepingThread : public Pinned {
 public:
    explicit SleepingThread(const std::function<void()>& run)
        : thread_(in_thread([this, run] {
#if defined(_WIN32)
              number_ = static_cast<int>(GetCurrentThreadId());
#else
              number_ = gettid();
#endif
              run();
          })) {
        while (number_ == 0) std::this_thread::yield();
        until_asleep();
    }
    ~SleepingThread() {
        join();
    }
    void until_asleep() const {
        ::until_asleep("self/task/" + std::to_string(number_));
    }
    void join() {
        if (thread_.joinable()) thread_.join();
    }

 private:
    std::atomic<int> number_{0};
    std::thread thread_;
};
