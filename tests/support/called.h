// A function of texts and numbers, called by the rows of a table.
#pragma once

#include "support/rows.h"
#include "support/test.h"

template <typename Argument>
Argument argument_in(const std::string& field) {
    if constexpr (std::is_integral_v<Argument>) {
        return static_cast<Argument>(std::stoull(field, nullptr, 0));
    } else {
        return text_or_null(field);
    }
}

// A number as it is, a place in the first field as the bytes before it.
template <typename Result, typename... Arguments, size_t... index>
std::string told_by(Result (*function)(Arguments...), const Texts& row,
                    std::index_sequence<index...>) {
    const Result result = function(argument_in<Arguments>(row[index])...);
    if constexpr (std::is_integral_v<Result>) {
        return std::to_string(result);
    } else {
        return result == nullptr ? "none" : std::to_string(result - row[0].c_str());
    }
}
template <typename Result, typename... Arguments>
std::string told_by(Result (*function)(Arguments...), const Texts& row) {
    return told_by(function, row, std::index_sequence_for<Arguments...>{});
}

// What it tells of the fields of a row: its result, and its error. The others tell the same.
template <auto function, auto... others>
std::string called(const Texts& row) {
    ORVEX_Err_ClearError();
    std::string told = told_by(function, row);
    const std::string error = taken_error();
    if (!error.empty()) told += " " + error;
    for (const std::string& other : Texts{called<others>(row)...}) EXPECT_EQ(other, told);
    return told;
}
