// What nearly every test needs, of the library or of the platform layer alone.
#pragma once

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "support/child_process.h"
#include "support/temp_folder.h"
#include "support/threads.h"

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

// Tests in a folder of their own, which may be the current one.
class InFolder : public testing::Test {
 protected:
    ~InFolder() override { fs::current_path(before_); }
    const fs::path before_ = fs::current_path();
    const TempFolder folder_;
};
