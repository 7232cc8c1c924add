// Scenes: tables of TEST_ROWS whose rows are steps, each the name of a call, its arguments and what
// it tells. A scene is the test of its name, in a folder of the fixture's own, written "@"; one "~"
// of what a step should tell stands for anything.
#pragma once

#include "support/rows.h"
#include "support/test.h"

// Whether the lines of errors are numbers that the library promises, and so are told.
inline bool lines_are_told = false;

// What a call told: its result, or the error for a negative one; or both, for one that left an
// error and succeeded; and the modules of those who passed the error on.
inline std::string outcome(int64_t result) {
    const ORVEX_ERRDATA* record = ORVEX_GetErrData();
    std::string text = result < 0 && GetRvexErrNo() != 0 ? "" : std::to_string(result);
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

// A field of a step as the argument that a call wants: the handle of a file by its name. What a
// call writes is told behind " > ".
class Argument {
 public:
    Argument(const std::string& field) : field_(field) {}  // NOLINT: a field becomes one
    Argument(const Argument&) = delete;
    Argument& operator=(const Argument&) = delete;
    ~Argument() { ORVEX_HFILE_Close(&handle_); }
    template <typename Wanted>
    Wanted as() {
        using Pointed = std::remove_pointer_t<Wanted>;
        if constexpr (std::is_integral_v<Wanted>) {
            return static_cast<Wanted>(std::stoll(field_, nullptr, 0));
        } else if constexpr (std::is_same_v<Wanted, const wchar_t*>) {
            return (wide_ = std::filesystem::path(field_).wstring()).c_str();
        } else if constexpr (std::is_same_v<Wanted, ORVEX_HFILE*>) {
            return field_ == "(null)" ? nullptr : handle_ = ORVEX_HFILE_Open(field_.c_str(), 0);
        } else if constexpr (std::is_const_v<Pointed>) {
            return text_or_null(field_);
        } else if (field_ == "(null)") {
            return nullptr;
        } else if constexpr (std::is_same_v<Pointed, int32_t> || std::is_same_v<Pointed, int64_t>) {
            auto* number = reinterpret_cast<Wanted>(written_.data());
            *number = static_cast<Pointed>(std::stoll(field_, nullptr, 0));
            tell_ = [number] { return std::to_string(*number); };
            return number;
        } else {
            field_.copy(written_.data(), written_.size() - 1);
            tell_ = [this] { return std::string(written_.data()); };
            return written_.data();
        }
    }
    [[nodiscard]] std::string written() const { return tell_ ? " > " + tell_() : ""; }

 private:
    std::string field_;
    std::wstring wide_;
    ORVEX_HFILE* handle_ = nullptr;
    alignas(int64_t) std::array<char, 512> written_{};
    std::function<std::string()> tell_;
};

template <typename Result, typename... Wanted, size_t... at>
std::string outcome_of(Result (*call)(Wanted...), const Texts& step, std::index_sequence<at...>) {
    std::array<Argument, sizeof...(Wanted)> arguments{step.at(at + 1)...};
    std::string text = outcome(call(arguments[at].template as<Wanted>()...));
    for (const Argument& argument : arguments) text += argument.written();
    return text;
}
template <typename Result, typename... Wanted>
std::string outcome_of(Result (*call)(Wanted...), const Texts& step) {
    return outcome_of(call, step, std::index_sequence_for<Wanted...>());
}
// The step of a call, or of a lambda, whose row names all its arguments.
template <auto call>
std::string step_of(const Texts& step) {
    return outcome_of(+call, step);
}

// Gives a file another name.
inline std::string make_link(const Texts& step) {
    std::filesystem::create_hard_link(step[1], step[2]);
    return step.back();
}

// Any fixture with a TempFolder folder_.
template <typename Fixture>
class Scene : public Fixture {
 public:
    Scene(std::vector<Texts> steps, const Calls& calls) : steps_(std::move(steps)), calls_(calls) {}

 private:
    void TestBody() override {
        for (const Texts& written : steps_) {
            Texts step;
            for (const std::string& field : written) step.push_back(in_folder(field));
            const auto call = calls_.find(step[0]);
            ASSERT_NE(call, calls_.end()) << step[0];
            ORVEX_Err_ClearError();
            const std::string told = call->second(step);
            const std::string& expected = step.back();
            const size_t any = expected.find('~');
            const bool agrees = any == std::string::npos
                                    ? told == expected
                                    : told.size() + 1 >= expected.size() &&
                                          told.starts_with(expected.substr(0, any)) &&
                                          told.ends_with(expected.substr(any + 1));
            EXPECT_TRUE(agrees) << testing::PrintToString(written)
                                << " told: " << testing::PrintToString(told);
        }
    }
    std::string in_folder(std::string field) const {
        const std::string folder = this->folder_.str();
        for (size_t at = 0; (at = field.find('@', at)) != std::string::npos; at += folder.size()) {
            field.replace(at, 1, folder);
        }
        return field;
    }
    std::vector<Texts> steps_;
    Calls calls_;
};

// Makes the scenes of a file tests of a fixture. What files hold is there for all.
template <typename Fixture>
bool play_scenes(const char* suite, const char* file, Calls calls, bool with_lines = false) {
    lines_are_told = with_lines;
    calls.insert({{"file",
                   [](const Texts& step) {
                       std::ofstream(step[1], std::ios::binary) << step[2];
                       return step[2];
                   }},
                  {"bytes", [](const Texts& step) { return read_bytes(step[1]); }},
                  {"names", [](const Texts& step) {
                       std::string names;
                       for (const std::string& name : names_in(step[1])) names += name + " ";
                       return names;
                   }}});
    for (const auto& [name, steps] : tables_of(file)) {
        testing::RegisterTest(
            suite, name.c_str(), nullptr, nullptr, file, 1,
            [steps = steps, calls]() -> Fixture* { return new Scene<Fixture>(steps, calls); });
    }
    return true;
}
