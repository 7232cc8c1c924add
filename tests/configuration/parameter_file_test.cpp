#include "support/scenes.h"
#include "support/unprivileged.h"

namespace {

class ParameterFile : public testing::Test {
 protected:
    Configured folder_;
    std::string path_ = folder_ / "p.ini";
};

// Reads one value between canaries, the failure if there is none.
std::string value_of(Text path, Text name) {
    std::string room(3 * MOLTE_PARAM_SLOT, 'c');
    const int32_t result = PARAMETER_GetValue(path, name, &room[MOLTE_PARAM_SLOT]);
    const std::string value = room.substr(MOLTE_PARAM_SLOT, MOLTE_PARAM_SLOT);
    if (result == 1) room.replace(MOLTE_PARAM_SLOT, MOLTE_PARAM_SLOT, MOLTE_PARAM_SLOT, 'c');
    EXPECT_EQ(room, std::string(3 * MOLTE_PARAM_SLOT, 'c'));
    return result == 1 ? value.c_str() : outcome(result);
}

std::string value_in(const Texts& step) {
    const TempFolder folder;
    return value_of(folder.write("p.ini", step[1]).c_str(), step[2].c_str());
}

// A file without a line end gets the platform's.
std::string change_in(const Texts& step) {
    const TempFolder folder;
    const std::string path = folder.write("p.ini", step[1]);
    EXPECT_EQ(PARAMETER_SetValue(path.c_str(), step[2].c_str(), step[3].c_str()), 1);
    return step[1].find('\n') != std::string::npos ? read_bytes(path) : read_text(path);
}

std::string moment_of(Text name) {
    ORVEXDATETIME moment{};
    char text[32];
    const std::string told = outcome(ORVEX_PARAMETER_GetValueDateTime(name, &moment));
    ORVEX_DateTime_DBFmt2DispFmt(&moment, text);
    return told + " > " + text;
}

// As they lie in memory, with their count.
std::string servers(const Texts&) {
    char* list = nullptr;
    int32_t count = 5;
    const int32_t size = ORVEX_PARAMETER_GetCFGEXFServer(&list, &count);
    const std::string told = list != nullptr ? std::string(list, static_cast<size_t>(size)) : "";
    ORVEX_free(list);
    return std::to_string(count) + " in " + outcome(size) + ": " + told;
}

[[maybe_unused]] const bool plays = play_scenes<ParameterFile>(
    "ParameterFile", TEST_ROWS,
    {{"value_in", value_in},
     {"change_in", change_in},
     {"value", step_of<value_of>},
     {"set", step_of<PARAMETER_SetValue>},
     {"case_counts", step_of<[](int32_t flag) { return int64_t{g_bParamIsCaseSensitive = flag}; }>},
     {"text", step_of<[](Text name) { return read_text(name); }>},
     {"make_old", step_of<[](Text name) {
          fs::last_write_time(name, fs::last_write_time(name) - std::chrono::hours(1));
          return ""s;
      }>},
     {"is_old", step_of<[](Text name) {
          const auto age = fs::file_time_type::clock::now() - fs::last_write_time(name);
          return int64_t{std::chrono::minutes(30) < age};
      }>},
     {"make", step_of<[](Text folder) { return int64_t{fs::create_directory(folder)}; }>},
     {"default_file", step_of<ORVEX_PARAMETER_SetIniFileName>},
     {"default", step_of<get_RVEX_src>},
     {"int", step_of<ORVEX_PARAMETER_GetValueInt>},
     {"bool", step_of<ORVEX_PARAMETER_GetValueBool>},
     {"long", step_of<ORVEX_PARAMETER_GetValueLong>},
     {"moment", step_of<moment_of>},
     {"set_default", step_of<ORVEX_PARAMETER_SetValue>},
     {"set_default_int", step_of<ORVEX_PARAMETER_SetValueInt>},
     {"of_file", step_of<ORVEX_PARAMETER_GetValueByFN>},
     {"int_of_file", step_of<ORVEX_PARAMETER_GetIntValueByFN>},
     {"set_of_file", step_of<ORVEX_PARAMETER_SetValueByFN>},
     {"server", step_of<ORVEX_PARAMETER_GetServerNameAndPort>},
     {"servers", servers},
     {"servers_file", step_of<ORVEX_PARAMETER_CFGEXFFileName>},
     {"set_servers", step_of<ORVEX_PARAMETER_SetCFGEXFServer>}},
    true);

TEST_F(ParameterFile, ArraysOfNames) {
    const char* names[] = {"A", "B", "C", "A"};
    char values[4][MOLTE_PARAM_SLOT] = {"1", "two words", "", "4"};
    folder_.write("p.ini", "B = x # b\nA = y\nB = z\nrest");
    char read[4][MOLTE_PARAM_SLOT];
    EXPECT_EQ(PARAMETER_GetValueArray(path_.c_str(), names, read[0], 4), 1);
    // A name that is asked for twice fills its first slot.
    EXPECT_EQ(Texts(read, read + 4), (Texts{"y", "z", "", ""}));
    EXPECT_EQ(UTIL_PARAMETER_IsParamNeedSet(path_.c_str(), names, values[0], 3), 1);
    ASSERT_EQ(PARAMETER_SetValueArray(path_.c_str(), names, values[0], 3), 1);
    EXPECT_EQ(read_bytes(path_), "B = two words   # b\nA = 1\nB = z\nrest\nC = \n");
    EXPECT_EQ(UTIL_PARAMETER_IsParamNeedSet(path_.c_str(), names, values[0], 1), 0);
    EXPECT_EQ(UTIL_PARAMETER_IsParamNeedSet(nullptr, nullptr, nullptr, 0), 0);
    EXPECT_EQ(PARAMETER_SetValueArray(nullptr, nullptr, nullptr, -1), 1);
    folder_.write_ini("B = x\n");
    EXPECT_EQ(ORVEX_PARAMETER_GetValueArray(names, read[0], 2), 1);
    EXPECT_EQ(Texts(read, read + 2), (Texts{"", "x"}));
}

#if !defined(_WIN32)
TEST_F(ParameterFile, WithoutPermission) {
    folder_.write("p.ini", "Name = 1\n");
    fs::permissions(folder_.path(), fs::perms(0755));
    fs::permissions(path_, fs::perms(0444));
    const Unprivileged user;
    EXPECT_EQ(value_of(path_.c_str(), "Name"), "1");  // to be read is enough
    EXPECT_EQ(PARAMETER_SetValue(path_.c_str(), "Name", "1"), 1);
    const int32_t result = PARAMETER_SetValue(path_.c_str(), "Name", "2");
    EXPECT_EQ(ORVEX_GetErrData()->nSysErrNo[3], EACCES);
    EXPECT_EQ(told(result), "1 oxparam " + path_ + " @231");
}
#endif

// Wine waits for a lock but some milliseconds; who doesn't get it comes again.
template <typename Call>
bool done(Call call) {
    while (call() != 1) {
        if (GetRvexErrNo() != 2) return false;
    }
    return true;
}

CHILD_ROLE(sets_a_thousand_times) {
    const char* const path = args.at(0).c_str();
    const char* names[] = {args.at(1).c_str(), "Kept"};
    for (int i = 1; i <= 1000; ++i) {
        const std::string value = names[0] + std::to_string(i);
        char read[2][MOLTE_PARAM_SLOT];
        if (!done([&] { return PARAMETER_SetValue(path, names[0], value.c_str()); })) return 1;
        if (!done([&] { return PARAMETER_GetValueArray(path, names, read[0], 2); })) return 2;
        if (read[0] != value || read[1] != "as it is"s) return 3;
    }
    return 0;
}

// Whoever waits for the lock waits a second, in which the other is long done.
TEST_F(ParameterFile, ProcessesLoseNothingOfEachOther) {
    folder_.write("p.ini", "# head\n\nOne = 0\nKept = as it is\nTwo = 0\n  odd # 1\n");
    ChildProcess one("sets_a_thousand_times", {path_, "One"});
    ChildProcess two("sets_a_thousand_times", {path_, "Two"});
    EXPECT_EQ(one.wait() + two.wait(), 0);
    EXPECT_EQ(read_bytes(path_),
              "# head\n\nOne = One1000\nKept = as it is\nTwo = Two1000\n  odd # 1\n");
}

TEST_F(ParameterFile, TheIdentityOfTheMachine) {
    uint8_t ids[2][16] = {};
    const auto stored = [this] { return read_bytes(folder_.path() / "CONF/serverid.dat"); };
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(ids[0]), 2);
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(ids[1]), 1);
    EXPECT_EQ(bytes_of(ids), stored() + stored());
    folder_.write("CONF/serverid.dat", std::string(15, 'x'));  // too short: made anew
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(ids[1]), 2);
    EXPECT_EQ(error_line_of_this_thread(), 494);
    EXPECT_NE(bytes_of(ids[0]), stored());
    EXPECT_EQ(bytes_of(ids[1]), stored());
    EXPECT_EQ(ORVEX_PARAMETER_DelServerID(), 0);
    EXPECT_EQ(ORVEX_PARAMETER_DelServerID(), -1);
}

}  // namespace
