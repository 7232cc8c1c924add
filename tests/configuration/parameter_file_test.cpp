#include "support/rows.h"
#include "support/test.h"
#include "support/unprivileged.h"

namespace {

// Reads one value between canaries.
std::string value_of(const std::string& path, const char* name) {
    std::string room(3 * MOLTE_PARAM_SLOT, 'c');
    if (PARAMETER_GetValue(path.c_str(), name, &room[MOLTE_PARAM_SLOT]) != 1) return "failed";
    const std::string value = room.substr(MOLTE_PARAM_SLOT, MOLTE_PARAM_SLOT);
    room.erase(MOLTE_PARAM_SLOT, MOLTE_PARAM_SLOT);
    EXPECT_EQ(room, std::string(2 * MOLTE_PARAM_SLOT, 'c'));
    return value.c_str();
}

class ParameterFile : public testing::Test {
 protected:
    // What a file becomes when a value is set.
    std::string set(const std::string& bytes, const char* name, const char* value) {
        const std::string path = folder_.write("p.ini", bytes);
        EXPECT_EQ(PARAMETER_SetValue(path.c_str(), name, value), 1);
        return read_bytes(folder_.path() / "p.ini");
    }
    TempFolder folder_;
    std::string path_ = folder_ / "p.ini";
};

std::string value_in(const Texts& row) {
    const TempFolder folder;
    return value_of(folder.write("p.ini", row[0]), row[1].c_str());
}

// A file without a line end gets the platform's.
std::string changed(const Texts& row) {
    const TempFolder folder;
    const std::string path = folder.write("p.ini", row[0]);
    EXPECT_EQ(PARAMETER_SetValue(path.c_str(), "Name", "2"), 1);
    return row[0].find('\n') != std::string::npos ? read_bytes(path) : read_text(path);
}

// What is asked for as, and the default file; what is told, and the value, which a failure leaves.
std::string number_in(const Texts& row) {
    const Configured system(row[1]);
    const char kind = row[0][0];
    int32_t number = 99;
    int64_t large = 99;
    ORVEXDATETIME moment{};
    char text[32];
    const std::string result =
        told(kind == 'i'   ? ORVEX_PARAMETER_GetValueInt("n", &number)
             : kind == 'b' ? ORVEX_PARAMETER_GetValueBool("n", &number)
             : kind == 'l' ? ORVEX_PARAMETER_GetValueLong("n", &large)
             : kind == 'm' ? ORVEX_PARAMETER_GetValueDateTime("n", &moment)
                           : ORVEX_PARAMETER_GetIntValueByFN("rvexinit.ini", "n", &number));
    ORVEX_DateTime_DBFmt2DispFmt(&moment, text);
    return result + ", " + (kind == 'm' ? text : std::to_string(kind == 'l' ? large : number));
}

TEST_F(ParameterFile, Lines) {
    check_rows(TEST_ROWS, {{"value", value_in}, {"change", changed}, {"number", number_in}});
    const std::string end = set("", "A", "1").substr(5);
    EXPECT_TRUE(end == "\n" || end == "\r\n");
    EXPECT_EQ(set("Name = 1\n", "Name", std::string(200, 'v').c_str()),
              "Name = " + std::string(127, 'v') + "\n");
}

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
}

TEST_F(ParameterFile, LetterCaseAsTheProgramSays) {
    folder_.write("p.ini", "name = 1\n");
    EXPECT_EQ(g_bParamIsCaseSensitive, 1);
    EXPECT_EQ(value_of(path_, "Name"), "");
    g_bParamIsCaseSensitive = 0;
    EXPECT_EQ(value_of(path_, "NAME"), "1");
    EXPECT_EQ(set("name = 1\n", "Name", "2"), "Name = 2\n");  // spelled as the caller does
    g_bParamIsCaseSensitive = 1;
}

TEST_F(ParameterFile, AFileIsTouchedOnlyToChange) {
    EXPECT_EQ(value_of(path_, "Name"), "");
    EXPECT_TRUE(fs::is_regular_file(path_));  // reading made it
    folder_.write("p.ini", "Name = 1\r\n#");
    const auto past = fs::last_write_time(path_) - std::chrono::hours(1);
    fs::last_write_time(path_, past);
    EXPECT_EQ(value_of(path_, "Name"), "1");
    for (const auto& [name, value] : {std::pair("Name", "1"), {"Absent", ""}, {"Name", "2"}}) {
        EXPECT_EQ(fs::last_write_time(path_), past);
        EXPECT_EQ(read_bytes(path_), "Name = 1\r\n#");
        EXPECT_EQ(PARAMETER_SetValue(path_.c_str(), name, value), 1);
    }
    EXPECT_NE(fs::last_write_time(path_), past);
    // The blanks that a change puts before a comment are read as part of the value: never equal.
    EXPECT_EQ(set("Name = 1 # n\n", "Name", "2"), "Name = 2   # n\n");
    EXPECT_EQ(value_of(path_, "Name"), "2   ");
}

TEST_F(ParameterFile, RefusedArgumentsAndFiles) {
    char value[MOLTE_PARAM_SLOT] = "v";
    const char* no_name[] = {nullptr};
    const char* path = path_.c_str();
    for (const int32_t result :
         {PARAMETER_GetValue(nullptr, "n", value), PARAMETER_SetValueArray(path, no_name, value, 1),
          PARAMETER_SetValue(path, "a\nb", "1"), PARAMETER_SetValue(path, "", "1"),
          PARAMETER_SetValue(path, "a", "1\nb = 2")}) {
        EXPECT_EQ(error_of(result), "50 oxparam");
    }
    EXPECT_EQ(read_bytes(path_), "");
    ORVEX_Err_ClearError();
    const std::string dir = folder_.str();
    EXPECT_EQ(told(PARAMETER_GetValue(dir.c_str(), "n", value)), "1 oxparam " + dir + " @119");
    EXPECT_EQ(told(PARAMETER_SetValue(dir.c_str(), "n", "1")),
              "1 oxparam " + dir + " @119 < 200 oxparam, 226 oxparam");
    EXPECT_STREQ(value, "v");
}

#if !defined(_WIN32)
TEST_F(ParameterFile, WithoutPermission) {
    folder_.write("p.ini", "Name = 1\n");
    fs::permissions(folder_.path(), fs::perms(0755));
    fs::permissions(path_, fs::perms(0444));
    const Unprivileged user;
    EXPECT_EQ(value_of(path_, "Name"), "1");  // to be read is enough
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

// ---- The default file and its neighbours ----

class DefaultFile : public testing::Test, protected Configured {};

TEST_F(DefaultFile, Texts) {
    char value[2][MOLTE_PARAM_SLOT];
    const char* names[] = {"Absent", "Name"};
    EXPECT_EQ(ORVEX_PARAMETER_SetValue("Name", "some text"), 1);
    EXPECT_EQ(text_of(), "Name = some text\n");
    EXPECT_EQ(ORVEX_PARAMETER_GetValueArray(names, value[0], 2), 1);
    EXPECT_STREQ(value[1], "some text");
    EXPECT_EQ(told(get_RVEX_src("Absent", value[0])), "52 oxparam Absent @364");
    EXPECT_EQ(ORVEX_PARAMETER_SetValueInt("Name", INT32_MIN), 1);
    EXPECT_EQ(text_of(), "Name = -2147483648\n");

    int32_t x = 0;
    int32_t y = 0;
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName("other.ini"), 1);
    EXPECT_EQ(ORVEX_PARAMETER_SetValue("Y", "8"), 1);
    EXPECT_EQ(ORVEX_PARAMETER_GetIntValueByFN(nullptr, "Y", &y), 1);  // the default file
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName("rvexinit.ini"), 1);
    EXPECT_EQ(ORVEX_PARAMETER_SetValueByFN("x.cfg", "X", "7"), 1);
    EXPECT_EQ(ORVEX_PARAMETER_GetIntValueByFN("x.cfg", "X", &x), 1);
    EXPECT_EQ(x * 10 + y, 78);
    EXPECT_EQ(error_of(ORVEX_PARAMETER_GetValueByFN("x.cfg", "Y", value[0])), "52 oxparam Y");
    const std::string endless(600, 'n');
    for (const Text name : {Text{}, endless.c_str()}) {
        EXPECT_EQ(error_number_of(ORVEX_PARAMETER_SetValueByFN(name, "X", "7")), 50U);
    }
}

TEST_F(DefaultFile, Servers) {
    write_ini("DBServerName = db\n");
    int32_t value = 0;
    char server[MOLTE_PARAM_SLOT] = "";
    EXPECT_EQ(ORVEX_PARAMETER_GetServerNameAndPort(server, &value), 1);
    EXPECT_EQ(server + std::to_string(value), "db6798");
    EXPECT_EQ(taken_error(), "52 oxparam DBServerPort");  // a missing port leaves it
    write_ini("DBServerName = db\nDBServerPort = 9");
    EXPECT_EQ(ORVEX_PARAMETER_GetServerNameAndPort(server, &value), 1);
    EXPECT_EQ(value, 9);
    write_ini("");
    EXPECT_EQ(told(ORVEX_PARAMETER_GetServerNameAndPort(server, &value)),
              "52 oxparam DBServerName @364 < 33 oxparam");
}

TEST_F(DefaultFile, TheListOfServers) {
    int32_t count = 5;
    const auto servers = [&count] {  // as they lie in memory; "none" for none
        char* list = nullptr;
        const int32_t size = ORVEX_PARAMETER_GetCFGEXFServer(&list, &count);
        const std::string text =
            list != nullptr ? std::string(list, static_cast<size_t>(size)) : "none";
        ORVEX_free(list);
        return text;
    };
    EXPECT_EQ(servers(), "none");
    EXPECT_EQ((Ints{static_cast<int32_t>(GetRvexErrNo()), count}), (Ints{23, 0}));
    char name[256];
    EXPECT_EQ(ORVEX_PARAMETER_CFGEXFFileName(name), 1);
    EXPECT_EQ(name, str() + "\\CONF\\exfsvr.cfg");
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("one\0two\0\0three", 4), 1);
    EXPECT_EQ(text_of("exfsvr.cfg"), "one\ntwo\n\nthree\n");
    EXPECT_EQ(servers(), "one\0two\0three\0"s);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("x", 1), 1);  // the longer text is gone
    EXPECT_EQ(text_of("exfsvr.cfg"), "x\n");
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 0), 1);
    EXPECT_EQ(servers(), "none");
    // 515 characters are a line; of a longer one each piece takes a terminator more than it has.
    write("CONF/exfsvr.cfg",
          "\xEF\xBB\xBF" + std::string(515, 'a') + "\r\n" + std::string(200000, 'b'));
    const std::string list = servers();
    EXPECT_EQ(list.size(), 516U + 200000 + 389);
    EXPECT_EQ(count, 390);
    EXPECT_EQ(list.c_str(), std::string(515, 'a'));
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 1), -1);
    fs::remove(path() / "CONF/exfsvr.cfg");
    fs::create_directory(path() / "CONF/exfsvr.cfg");
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("x", 1), -1);
    EXPECT_EQ(error_line_of_this_thread(), 446);
}

TEST_F(DefaultFile, TheIdentityOfTheMachine) {
    uint8_t ids[2][16] = {};
    const auto stored = [this] { return read_bytes(path() / "CONF/serverid.dat"); };
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(ids[0]), 2);
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(ids[1]), 1);
    EXPECT_EQ(bytes_of(ids), stored() + stored());
    write("CONF/serverid.dat", std::string(15, 'x'));  // too short: made anew
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(ids[1]), 2);
    EXPECT_EQ(error_line_of_this_thread(), 494);
    EXPECT_NE(bytes_of(ids[0]), stored());
    EXPECT_EQ(bytes_of(ids[1]), stored());
    EXPECT_EQ(ORVEX_PARAMETER_DelServerID(), 0);
    EXPECT_EQ(ORVEX_PARAMETER_DelServerID(), -1);
}

}  // namespace
