// What nearly every test needs.
#pragma once

#include "moltelib.h"
#include "support/common.h"
#include "support/error_of.h"
#include "support/installation.h"

// The error of the last call as error_of_this_thread gives it, empty without one; cleared for the
// next.
inline std::string taken_error() {
    const std::string error = GetRvexErrNo() != 0 ? error_of_this_thread() : "";
    ORVEX_Err_ClearError();
    return error;
}

// The six fields of a moment and so on, as a list that compares and prints.
using Ints = std::vector<int32_t>;

// A record as it lies in memory.
template <typename Record>
std::string bytes_of(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

// The error that a call left whose result says that it failed, as error_of_this_thread gives it.
template <typename Result>
std::string error_of(Result result) {
    const bool failed = result == Result{} - 1;
    return failed ? error_of_this_thread() : "no failure: " + std::to_string(result);
}
template <typename Pointed>
std::string error_of(Pointed* result) {
    return result == nullptr ? error_of_this_thread() : "no failure";
}
// Its number alone.
template <typename Result>
uint32_t error_number_of(Result result) {
    EXPECT_FALSE(error_of(result).starts_with("no failure")) << error_of(result);
    return GetRvexErrNo();
}

// What a call told: its result, or for a negative one "error module data @line", and " < " with the
// lines of those who passed it on; cleared for the next.
inline std::string told(int64_t result) {
    std::string text = std::to_string(result);
    if (result < 0) {
        text = error_of_this_thread() + " @" + std::to_string(error_line_of_this_thread());
        const std::string history = history_of_this_thread();
        if (!history.empty()) text += " < " + history;
    }
    ORVEX_Err_ClearError();
    return text;
}
inline std::string told(const void* result) {
    return told(result == nullptr ? -1 : 1);
}
