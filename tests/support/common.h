// What nearly every test needs, of the library or of the platform layer alone.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "support/child_process.h"
#include "support/temp_folder.h"

namespace fs = std::filesystem;
using std::tuple;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using std::string_literals::operator""s;
using Text = const char*;
using Texts = std::vector<std::string>;

// The names in a folder, in order.
inline Texts names_in(const fs::path& folder) {
    Texts names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Runs something in so many threads at once, each with its number, to the end of all.
inline void in_threads(int count, const std::function<void(int)>& run) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(run, i);
    for (auto& thread : threads) thread.join();
}
