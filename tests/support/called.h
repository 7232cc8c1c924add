// One call made by the fields of a row, and what it told.
#pragma once

#include <concepts>
#include <limits>

#include "support/rows.h"
#include "support/test.h"

// Whether the lines of errors are numbers that the library promises, and so are told.
inline bool lines_are_told = false;

// What a call told: its result, or the error for a negative one; or both, for one that left an
// error and succeeded; and the modules of those who passed the error on.
template <std::integral Number>
std::string outcome(Number result) {
    const ORVEX_ERRDATA* record = ORVEX_GetErrData();
    std::string text = result < Number{} && GetRvexErrNo() != 0 ? "" : std::to_string(result);
    if (GetRvexErrNo() != 0) {
        text += (text.empty() ? "" : ", ") + error_of_this_thread();
        if (lines_are_told) text += " line " + std::to_string(error_line_of_this_thread());
    }
    if (lines_are_told && record->nHistCount > 0) return text + " < " + history_of_this_thread();
    for (int i = 0; i < record->nHistCount; ++i) text += " < "s + record->astHist[i].szFile;
    return text;
}
inline std::string outcome(const void* result) {
    return outcome(result == nullptr ? -1 : 1);
}
inline std::string outcome(const std::string& told) {
    return told;
}

// The records of the running scene by their names; each is zeros when it is named first.
inline std::map<std::string, std::shared_ptr<void>> named_records;

// A field as the argument that a call wants: the handle of a file by its name, a record by its own
// or, where it can be, made of the field.
// What a call writes is told behind " > ".
class Argument : public Pinned {
 public:
    Argument(const std::string& field) : field_(field) {}  // NOLINT: a field becomes one
    ~Argument() { ORVEX_HFILE_Close(&handle_); }
    template <typename Wanted>
    Wanted as() {
        using Pointed = std::remove_pointer_t<Wanted>;
        if constexpr (std::is_integral_v<Wanted>) {
            return static_cast<Wanted>(std::stoull(field_, nullptr, 0));
        } else if constexpr (std::is_same_v<Wanted, const wchar_t*>) {
            wide_ = std::filesystem::path(field_).wstring();
            return field_ == "(null)" ? nullptr : wide_.c_str();
        } else if constexpr (std::is_same_v<Wanted, ORVEX_HFILE*>) {
            return field_ == "(null)" ? nullptr : handle_ = ORVEX_HFILE_Open(field_.c_str(), 0);
        } else if constexpr (std::is_class_v<Pointed>) {
            return field_ == "(null)" ? nullptr : record<std::remove_const_t<Pointed>>();
        } else if constexpr (std::is_const_v<Pointed>) {
            return static_cast<Wanted>(static_cast<const void*>(text_or_null(field_)));
        } else if (field_ == "(null)") {
            return nullptr;
        } else if constexpr (std::numeric_limits<Pointed>::digits > 8) {
            auto* number = reinterpret_cast<Wanted>(written_.data());
            *number = static_cast<Pointed>(std::stoull(field_, nullptr, 0));
            tell_ = [number] { return std::to_string(*number); };
            return number;
        } else {
            field_.copy(written_.data(), written_.size() - 1);
            tell_ = [this] { return std::string(written_.data()); };
            return static_cast<Wanted>(static_cast<void*>(written_.data()));
        }
    }
    [[nodiscard]] std::string written() const { return tell_ ? " > " + tell_() : ""; }
    [[nodiscard]] Text text() const { return field_.c_str(); }

 private:
    template <typename Record>
    Record* record() {
        if constexpr (std::is_constructible_v<Record, const std::string&>) {
            made_ = std::make_shared<Record>(field_);
        } else {
            std::shared_ptr<void>& named = named_records[field_];
            made_ = named = named == nullptr ? std::make_shared<Record>() : named;
        }
        return static_cast<Record*>(made_.get());
    }
    std::string field_;
    std::wstring wide_;
    std::shared_ptr<void> made_;
    ORVEX_HFILE* handle_ = nullptr;
    alignas(int64_t) std::array<char, 512> written_{};
    std::function<std::string()> tell_;
};

// A text in the first argument is told as the bytes before it.
template <typename Result, typename... Wanted, size_t... at>
std::string outcome_of(Result (*call)(Wanted...), const Texts& row, size_t first,
                       std::index_sequence<at...>) {
    ORVEX_Err_ClearError();
    std::array<Argument, sizeof...(Wanted)> arguments{row.at(first + at)...};
    const Result result = call(arguments[at].template as<Wanted>()...);
    std::string text = outcome(result);
    if constexpr (std::is_convertible_v<Result, Text>) {
        if (result != nullptr) text = outcome(result - arguments[0].text());
    }
    for (const Argument& argument : arguments) text += argument.written();
    return text;
}
template <typename Result, typename... Wanted>
std::string outcome_of(Result (*call)(Wanted...), const Texts& row, size_t first) {
    return outcome_of(call, row, first, std::index_sequence_for<Wanted...>());
}

// That of a call, or of a lambda, by the first fields of a row. The others tell the same.
template <auto call, auto... others>
std::string called(const Texts& row) {
    std::string told = outcome_of(+call, row, 0);
    for (const std::string& other : Texts{called<others>(row)...}) EXPECT_EQ(other, told);
    return told;
}
// The same by those behind the name of a step.
template <auto call>
std::string step_of(const Texts& step) {
    return outcome_of(+call, step, 1);
}
