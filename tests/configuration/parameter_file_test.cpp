#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

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
    return value.substr(0, value.find('\0'));
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

TEST_F(ParameterFile, Lines) {
    check_rows(TEST_ROWS, {{"value", value_in}, {"change", changed}});
    const std::string end = set("", "A", "1").substr(5);
    EXPECT_TRUE(end == "\n" || end == "\r\n");
    // As the first line stays behind the last, the file is written at each attempt.
    EXPECT_EQ(set("Name = 2\nName = 1\n", "Name", "2"), "Name = 2\nName = 1\n");
    EXPECT_EQ(set("Name = 1\n", "Name", std::string(200, 'v').c_str()),
              "Name = " + std::string(127, 'v') + "\n");
}

// A line is read in pieces of 2,047 bytes, its end counted as one; each piece is a line.
TEST_F(ParameterFile, LongLinesAreSeveral) {
    for (const std::string end : {"\n", "\r\n"}) {
        for (const auto& [before, value] : {tuple("A = " + std::string(2042, 'x') + end, "1"),
                                            {std::string(2047, '#') + end, "1"},
                                            {std::string(2045, '#'), ""}}) {
            folder_.write("p.ini", before + "B = 1" + end);
            EXPECT_EQ(value_of(path_, "B"), value);
        }
        EXPECT_EQ(set(std::string(2047, '#') + "B = 1 # n" + end, "B", "2"),
                  std::string(2047, '#') + "B = 2   # n" + end);
        // The rest of a line that is cut in a comment stays behind it.
        const std::string comment = "#" + std::string(3000, 'n') + end;
        EXPECT_EQ(set("B = 1" + comment, "B", "2"), "B = 2   " + comment);
    }
}

// Files beyond what is read at once, with a name on either side of each border.
TEST_F(ParameterFile, LargeFiles) {
    for (const size_t size : {16383U, 16384U, 16385U, 200000U}) {
        std::string bytes = "First = 1\n";
        while (bytes.size() + 200 < size) bytes += "# " + std::string(97, 'c') + "\n";
        bytes += "#" + std::string(size - bytes.size() - 10, 'c') + "\nLast = 2";
        ASSERT_EQ(bytes.size(), size);
        folder_.write("p.ini", bytes);
        EXPECT_EQ(value_of(path_, "First") + value_of(path_, "Last"), "12");
        EXPECT_EQ(set(bytes, "First", "long"), "First = long" + bytes.substr(9) + "\n");
    }
}

TEST_F(ParameterFile, ArraysOfNames) {
    const char* names[] = {"A", "B", "C", "A"};
    char values[4][MOLTE_PARAM_SLOT] = {"1", "two words", "", "4"};
    folder_.write("p.ini", "B = x # b\nA = y\nB = z\nrest");
    char read[4][MOLTE_PARAM_SLOT];
    ASSERT_EQ(PARAMETER_GetValueArray(path_.c_str(), names, read[0], 4), 1);
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
    EXPECT_EQ(PARAMETER_SetValue(path_.c_str(), "Name", "1"), 1);
    EXPECT_EQ(PARAMETER_SetValue(path_.c_str(), "Absent", ""), 1);
    EXPECT_EQ(fs::last_write_time(path_), past);
    EXPECT_EQ(read_bytes(path_), "Name = 1\r\n#");
    EXPECT_EQ(PARAMETER_SetValue(path_.c_str(), "Name", "2"), 1);
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
TEST_F(ParameterFile, AFullDiskLeavesWhatWasThere) {
    const std::string bytes = "A = 1\n" + std::string(5000, '#') + "\nB = 2\n";
    folder_.write("p.ini", bytes);
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit size{bytes.size() + 3, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &size);
    const int32_t result = PARAMETER_SetValue(path_.c_str(), "A", "12345678");
    size.rlim_cur = RLIM_INFINITY;
    setrlimit(RLIMIT_FSIZE, &size);
    EXPECT_EQ(error_number_of(result), 4U);
    EXPECT_EQ(read_bytes(path_), bytes);
}

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
    EXPECT_EQ(error_number_of(ORVEX_PARAMETER_SetValueByFN(nullptr, "X", "7")), 50U);
    const std::string endless(600, 'n');
    EXPECT_EQ(error_number_of(ORVEX_PARAMETER_SetValueByFN(endless.c_str(), "X", "7")), 50U);
}

TEST_F(DefaultFile, NumbersMomentsServers) {
    write_ini(
        "a = 12 # x\nb = -5x\nc = x\nd = \v +7\ne = 4294967297\nf = 2\ng = -9000000000\nh = 1\n"
        "t = 20240229235958 and more\ns = 2024022923595\nDBServerName = db\n");
    int32_t value = 0;
    int64_t large = 99;
    ORVEXDATETIME moment{};
    const auto integer = [&](Text name) { return told(ORVEX_PARAMETER_GetValueInt(name, &value)); };
    const auto flag = [&](Text name) { return told(ORVEX_PARAMETER_GetValueBool(name, &value)); };
    const auto wide = [&](Text name) { return told(ORVEX_PARAMETER_GetValueLong(name, &large)); };
    const auto time = [&](Text name) {
        return told(ORVEX_PARAMETER_GetValueDateTime(name, &moment));
    };
    const auto of_file = [&](Text name) {
        return told(ORVEX_PARAMETER_GetIntValueByFN("rvexinit.ini", name, &value));
    };
    for (const auto& [name, number] : {std::pair("a", 12), {"b", -5}, {"d", 7}, {"e", 1}}) {
        EXPECT_EQ(integer(name), "1");
        EXPECT_EQ(value, number);
    }
    value = 99;  // which failures leave alone
    EXPECT_EQ(integer("c"), "257 oxparam name=c val=x @47");
    EXPECT_EQ(integer("z"), "52 oxparam z @364 < 44 oxparam");
    EXPECT_EQ(flag("f"), "413 oxparam name=f value=2 not 0 or 1 @75");
    EXPECT_EQ(flag("c"), "258 oxparam name=c val=x @70");
    EXPECT_EQ(flag("z"), "52 oxparam z @364 < 67 oxparam");
    EXPECT_EQ(of_file("c"), "257 oxparam name=c val=x @542");
    EXPECT_TRUE(of_file("z").ends_with(" < 539 oxparam"));
    EXPECT_EQ(wide("z"), "52 oxparam z @364 < 58 oxparam");
    EXPECT_EQ(time("s"), "50 oxdatcnv bad format @458");
    EXPECT_EQ(time("z"), "52 oxparam z @364 < 87 oxparam");
    EXPECT_EQ(value + large, 2 * 99);
    EXPECT_EQ(flag("h") + wide("g") + time("t"), "111");
    EXPECT_EQ(value, 1);
    EXPECT_EQ(large, INT64_C(-9000000000));
    char text[32];
    ORVEX_DateTime_DBFmt2DispFmt(&moment, text);
    EXPECT_STREQ(text, "20240229235958");

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
    char* list = nullptr;
    int32_t count = 5;
    EXPECT_EQ(error_number_of(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count)), 23U);
    EXPECT_EQ(count, 0);
    char name[256];
    EXPECT_EQ(ORVEX_PARAMETER_CFGEXFFileName(name), 1);
    EXPECT_EQ(name, str() + "\\CONF\\exfsvr.cfg");
    ASSERT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("one\0two\0\0three", 4), 1);
    EXPECT_EQ(text_of("exfsvr.cfg"), "one\ntwo\n\nthree\n");
    ASSERT_EQ(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count), 14);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(std::string(list, 14), "one\0two\0three\0"s);
    ORVEX_free(list);
    ASSERT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("x", 1), 1);  // the longer text is gone
    EXPECT_EQ(text_of("exfsvr.cfg"), "x\n");
    ASSERT_EQ(ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 0), 1);
    EXPECT_EQ(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count), 0);
    EXPECT_EQ(list, nullptr);
    // 515 characters are a line; of a longer one each piece takes a terminator more than it has.
    write("CONF/exfsvr.cfg",
          "\xEF\xBB\xBF" + std::string(515, 'a') + "\r\n" + std::string(200000, 'b'));
    EXPECT_EQ(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count), 516 + 200000 + 389);
    EXPECT_EQ(count, 390);
    EXPECT_EQ(std::string(list), std::string(515, 'a'));
    ORVEX_free(list);
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 1), -1);
    fs::remove(path() / "CONF/exfsvr.cfg");
    fs::create_directory(path() / "CONF/exfsvr.cfg");
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("x", 1), -1);
    EXPECT_EQ(error_line_of_this_thread(), 446);
}

TEST_F(DefaultFile, TheIdentityOfTheMachine) {
    uint8_t id[2][16] = {};
    ASSERT_EQ(ORVEX_PARAMETER_GetServerID(id[0]), 2);
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(id[1]), 1);
    EXPECT_EQ(std::memcmp(id[0], id[1], 16), 0);
    EXPECT_EQ(read_bytes(path() / "CONF/serverid.dat"),
              std::string(reinterpret_cast<char*>(id), 16));
    write("CONF/serverid.dat", std::string(15, 'x'));  // too short: made anew
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(id[1]), 2);
    EXPECT_EQ(error_line_of_this_thread(), 494);
    EXPECT_NE(std::memcmp(id[0], id[1], 16), 0);
    EXPECT_EQ(fs::file_size(path() / "CONF/serverid.dat"), 16U);
    EXPECT_EQ(ORVEX_PARAMETER_DelServerID(), 0);
    EXPECT_EQ(ORVEX_PARAMETER_DelServerID(), -1);
}

}  // namespace
