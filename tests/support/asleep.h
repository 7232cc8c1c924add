// For tests about being woken: threads that are known to sleep.
#pragma once

#if !defined(_WIN32)

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

// Returns once a thread of this process, by its number, waits in the kernel for whatever it may be.
inline void until_asleep(int thread) {
    for (std::string rest; rest.substr(0, 3) != ") S";) {
        std::ifstream state("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::getline(state, rest);
        rest = rest.substr(std::min(rest.size(), rest.rfind(')')));
        std::this_thread::yield();
    }
}

// A thread that is asleep in what it runs when it has been made.
class SleepingThread {
 public:
    explicit SleepingThread(const std::function<void()>& run)
        : thread_([this, run] {
              number_ = gettid();
              number_.notify_all();
              run();
          }) {
        number_.wait(0);
        until_asleep(number_);
    }
    void join() { thread_.join(); }

 private:
    std::atomic<int> number_{0};
    std::thread thread_;
};

#endif
