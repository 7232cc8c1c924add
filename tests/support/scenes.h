// Scenes: tables of TEST_ROWS whose rows are steps, each the name of a call, its arguments and what
// it tells. A scene is the test of its name, in a folder of the fixture's own, written "@"; one "~"
// of what a step should tell stands for anything.
#pragma once

#include "support/called.h"

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
    ~Scene() override { named_records.clear(); }

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
                  {"poke",
                   [](const Texts& step) {
                       std::fstream bytes(step[1], std::ios::binary | std::ios::in | std::ios::out);
                       bytes.seekp(std::stol(step[2])) << step[3];
                       return step.back();
                   }},
                  {"bytes", [](const Texts& step) { return read_bytes(step[1]); }},
                  {"part",
                   [](const Texts& step) {
                       return read_bytes(step[1]).substr(std::stoul(step[2]), std::stoul(step[3]));
                   }},
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
