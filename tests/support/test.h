// What nearly every test needs.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "moltelib.h"
#include "support/child_process.h"
#include "support/error_of.h"
#include "support/installation.h"
#include "support/temp_folder.h"

namespace fs = std::filesystem;
using std::tuple;
using std::string_literals::operator""s;
using Text = const char*;
using Texts = std::vector<std::string>;

// The error of the last call as error_of_this_thread gives it, empty without one; cleared for the
// next.
inline std::string taken_error() {
    const std::string error = GetRvexErrNo() != 0 ? error_of_this_thread() : "";
    ORVEX_Err_ClearError();
    return error;
}

// Results and fields as a list that compares and prints.
using Ints = std::vector<int32_t>;

// The names in a folder, in order.
inline Texts names_in(const fs::path& folder) {
    Texts names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Whether a call's result says that it failed.
inline bool is_failure(int64_t result) {
    return result == -1;
}
inline bool is_failure(const void* result) {
    return result == nullptr;
}

// The error that a failed call left, as error_of_this_thread gives it; and its number alone.
template <typename Result>
std::string error_of(Result result) {
    return is_failure(result) ? error_of_this_thread() : "no failure";
}
template <typename Result>
uint32_t error_number_of(Result result) {
    return is_failure(result) ? GetRvexErrNo() : 0;
}
