// Threads of a test.
#pragma once

#include <functional>
#include <thread>
#include <utility>
#include <vector>

// What each of them does at its end: gives the library's block back, where there is the library.
inline void (*at_end_of_thread)() = [] {};

inline std::thread in_thread(std::function<void()> run) {
    return std::thread([run = std::move(run)] {
        run();
        at_end_of_thread();
    });
}

// Runs something in so many threads at once, each with its number, to the end of all.
inline void in_threads(int count, const std::function<void(int)>& run) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.push_back(in_thread([&run, i] { run(i); }));
    for (auto& thread : threads) thread.join();
}
