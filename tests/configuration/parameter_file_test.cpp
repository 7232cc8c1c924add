#include "support/test.h"
#include "support/unprivileged.h"

namespace {

// Reads one value between canaries.
std::string value_of(const std::string& path, const char* name) {
    char room[3][MOLTE_PARAM_SLOT];
    std::memset(room, 'c', sizeof room);
    if (PARAMETER_GetValue(path.c_str(), name, room[1]) != 1) return "failed";
    const std::string canary(MOLTE_PARAM_SLOT, 'c');
    EXPECT_EQ(std::string(room[0], MOLTE_PARAM_SLOT), canary);
    EXPECT_EQ(std::string(room[2], MOLTE_PARAM_SLOT), canary);
    return {room[1], strnlen(room[1], MOLTE_PARAM_SLOT)};
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

TEST_F(ParameterFile, LinesAreReadSo) {
    const std::string long_value(127, 'v');
    const std::string long_name(300, 'N');
    const std::vector<tuple<std::string, const char*, std::string>> cases = {
        {"  Name = a b  # note\n", "Name", "a b  "},
        {"Name=a\tb\n", "Name", "a"},
        {"\t Name\t =\t a", "Name", "a"},  // the value may end with the text
        {"Name\n", "Name", ""},
        {"Name a = 1\n", "Name", ""},
        {"# Name = 1\n \t# Name = 1\n", "Name", ""},
        {"Name # = 1\n", "Name", ""},
        {"Name#x=1\n", "Name", ""},
        {"= 1\n", "", ""},
        {"Name", "Name", ""},
        {"Name=", "Name", ""},
        {"Name = 1\nName = 2\n", "Name", "2"},
        {"Name = 1\nName\n", "Name", "1"},  // no "=": gives nothing, not even an empty value
        {"Name = 1\nName =\n", "Name", ""},
        {"name = 1\nNames = 2\nNam = 3\n", "Name", ""},
        {"[server]\r\nName = 1 \r\nOther = 2\r\n", "Name", "1 "},
        {"Name\r\n", "Name", ""},
        {"Name = a\rb\n", "Name", "a\rb"},  // a CR alone is no line end
        {"Name = a\0b\nOther = 2\n"s, "Name", "a"},
        {"Name = a\0b\nOther = 2\n"s, "Other", "2"},
        {"Na\0me = 1\n"s, "Na", ""},
        {"Name = " + long_value, "Name", long_value},
        {"Name = " + long_value + "w", "Name", long_value},
        {"Name = " + std::string(5000, 'v') + "\nName2 = 1\n", "Name", long_value},
        {long_name + " = 1\n", "Name", ""},
        {long_name + " = 1\n", long_name.c_str(), "1"},
    };
    for (const auto& [bytes, name, value] : cases) {
        folder_.write("p.ini", bytes);
        EXPECT_EQ(value_of(path_, name), value) << bytes;
    }
}

// A line is read in pieces of 2,047 bytes, its end counted as one; each piece is a line.
TEST_F(ParameterFile, LongLinesAreSeveral) {
    for (const std::string end : {"\n", "\r\n"}) {
        const std::string whole = "A = " + std::string(2042, 'x');
        folder_.write("p.ini", whole + end + "B = 1" + end);
        EXPECT_EQ(value_of(path_, "B"), "1");
        folder_.write("p.ini", std::string(2046, '#') + end + "B = 1" + end);
        EXPECT_EQ(value_of(path_, "B"), "1");
        folder_.write("p.ini", std::string(2047, '#') + "B = 1" + end);
        EXPECT_EQ(value_of(path_, "B"), "1");
        folder_.write("p.ini", std::string(2047, '#') + end + "B = 1" + end);
        EXPECT_EQ(value_of(path_, "B"), "1");
        folder_.write("p.ini", std::string(2045, '#') + "B = 1" + end);
        EXPECT_EQ(value_of(path_, "B"), "");
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

TEST_F(ParameterFile, LinesAreChangedSo) {
    const std::string end = set("", "A", "1").substr(5);  // the platform's
    EXPECT_TRUE(end == "\n" || end == "\r\n");
    const std::vector<tuple<std::string, std::string>> cases = {
        {"Name = 1   # note\n", "Name = 2   # note\n"},
        {"\t Name=1#note\n", "Name = 2   #note\n"},
        {"Name = 1\tlost # note\n", "Name = 2   # note\n"},
        {"Name\nx\n", "Name = 2\nx\n"},
        {"Name # note\n", "Name = 2   # note\n"},
        {"# a comment\n\n[server]\n  odd  line\nName=1\n= 3\nx",
         "# a comment\n\n[server]\n  odd  line\nName = 2\n= 3\nx\n"},
        {"Other = 1", "Other = 1" + end + "Name = 2" + end},
        {"Name", "Name" + end + "Name = 2" + end},
        {"Name = 1 # n", "Name = 2   # n" + end},
        {"#Name = 1\nname = 1\n", "#Name = 1\nname = 1\nName = 2\n"},
        {"Name = 1\nName = 1\n", "Name = 2\nName = 1\n"},
        {"# dos\r\nName = 1 # n\r\nx\r\n", "# dos\r\nName = 2   # n\r\nx\r\n"},
        {"# dos\r\nName = 1\r\nx", "# dos\r\nName = 2\r\nx\r\n"},
        {"# dos\r\nOther = 1", "# dos\r\nOther = 1\r\nName = 2\r\n"},
        {"\0\xFF\x80\n Name=\n\0"s, "\0\xFF\x80\nName = 2\n\0\n"s},
    };
    for (const auto& [before, after] : cases) EXPECT_EQ(set(before, "Name", "2"), after) << before;
    // As the first line stays behind the last, the file is written at each attempt.
    EXPECT_EQ(set("Name = 2\nName = 1\n", "Name", "2"), "Name = 2\nName = 1\n");
    EXPECT_EQ(set("Name = 1\n", "Name", std::string(200, 'v').c_str()),
              "Name = " + std::string(127, 'v') + "\n");
}

TEST_F(ParameterFile, ArraysOfNames) {
    const char* names[] = {"A", "B", "C", "A"};
    char values[4][MOLTE_PARAM_SLOT] = {"1", "two words", "", "4"};
    folder_.write("p.ini", "B = x # b\nA = y\nB = z\nrest");
    char read[4][MOLTE_PARAM_SLOT];
    ASSERT_EQ(PARAMETER_GetValueArray(path_.c_str(), names, read[0], 4), 1);
    EXPECT_STREQ(read[0], "y");
    EXPECT_STREQ(read[1], "z");
    EXPECT_STREQ(read[2], "");
    EXPECT_STREQ(read[3], "");  // a name that is asked for twice fills its first slot
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
    EXPECT_EQ(PARAMETER_GetValue(nullptr, "n", value), -1);
    EXPECT_EQ(PARAMETER_GetValue(path_.c_str(), nullptr, value), -1);
    EXPECT_EQ(PARAMETER_GetValue(path_.c_str(), "n", nullptr), -1);
    EXPECT_EQ(PARAMETER_SetValueArray(path_.c_str(), no_name, value, 1), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxparam");
    for (const auto& [name, text] : std::vector<tuple<const char*, const char*>>{
             {"a\nb", "1"}, {"", "1"}, {"a", "1\nb = 2"}}) {
        EXPECT_EQ(PARAMETER_SetValue(path_.c_str(), name, text), -1);
        EXPECT_EQ(GetRvexErrNo(), 50U);
    }
    EXPECT_EQ(read_bytes(path_), "");

    const std::string dir = folder_.str();
    EXPECT_EQ(PARAMETER_GetValue(dir.c_str(), "n", value), -1);
    EXPECT_EQ(error_of_this_thread(), "1 oxparam " + dir.substr(0, 144));
    EXPECT_EQ(error_line_of_this_thread(), 119);
    EXPECT_STREQ(value, "v");
    ORVEX_Err_ClearError();
    EXPECT_EQ(PARAMETER_SetValue(dir.c_str(), "n", "1"), -1);
    EXPECT_EQ(history_of_this_thread(), "200 oxparam, 226 oxparam");
    const std::string nowhere = folder_ / "none/p.ini";
    EXPECT_EQ(PARAMETER_GetValue(nowhere.c_str(), "n", value), -1);
    EXPECT_EQ(ORVEX_GetErrData()->nSysErrNo[3], ENOENT);
}

#if !defined(_WIN32)
TEST_F(ParameterFile, WithoutPermission) {
    folder_.write("p.ini", "Name = 1\n");
    fs::permissions(folder_.path(), fs::perms(0755));
    fs::permissions(path_, fs::perms(0444));
    const Unprivileged user;
    EXPECT_EQ(value_of(path_, "Name"), "1");  // to be read is enough
    EXPECT_EQ(PARAMETER_SetValue(path_.c_str(), "Name", "1"), 1);
    EXPECT_EQ(PARAMETER_SetValue(path_.c_str(), "Name", "2"), -1);
    EXPECT_EQ(error_of_this_thread(), "1 oxparam " + path_);
    EXPECT_EQ(error_line_of_this_thread(), 231);
    EXPECT_EQ(ORVEX_GetErrData()->nSysErrNo[3], EACCES);
}
#endif

CHILD_ROLE(sets_a_thousand_times) {
    for (int i = 1; i <= 1000; ++i) {
        const std::string value = args.at(1) + std::to_string(i);
        if (PARAMETER_SetValue(args.at(0).c_str(), args.at(1).c_str(), value.c_str()) != 1)
            return 1;
        if (value_of(args.at(0), args.at(1).c_str()) != value) return 2;
        if (value_of(args.at(0), "Kept") != "as it is") return 3;
    }
    return 0;
}

// Whoever waits for the lock waits a second, in which the other is long done.
TEST_F(ParameterFile, ProcessesLoseNothingOfEachOther) {
    folder_.write("p.ini", "# head\n\nOne = 0\nKept = as it is\nTwo = 0\n  odd # 1\n");
    {
        ChildProcess one("sets_a_thousand_times", {path_, "One"});
        ChildProcess two("sets_a_thousand_times", {path_, "Two"});
        EXPECT_EQ(one.wait(), 0);
        EXPECT_EQ(two.wait(), 0);
    }
    EXPECT_EQ(read_bytes(path_),
              "# head\n\nOne = One1000\nKept = as it is\nTwo = Two1000\n  odd # 1\n");
}

// ---- The default file and its neighbours ----

class DefaultFile : public testing::Test {
 protected:
    DefaultFile() { write_ini(""); }
    void write_ini(const std::string& bytes) { write("rvexinit.ini", bytes); }
    void write(const std::string& name, const std::string& bytes) {
        root_.write("CONF/" + name, bytes);
    }
    [[nodiscard]] std::string read(const std::string& name) const {
        std::string bytes = read_bytes(root_.path() / "CONF" / name);
        std::erase(bytes, '\r');
        return bytes;
    }
    void SetUp() override {
        ORVEX_SetMainPath(root_.str().c_str());
        ORVEX_Err_ClearError();
    }
    struct Root : TempFolder {
        Root() { fs::create_directory(path() / "CONF"); }
    } root_;
};

TEST_F(DefaultFile, Texts) {
    char value[MOLTE_PARAM_SLOT];
    EXPECT_EQ(ORVEX_PARAMETER_SetValue("Name", "some text"), 1);
    EXPECT_EQ(read("rvexinit.ini"), "Name = some text\n");
    EXPECT_EQ(ORVEX_PARAMETER_GetValue("Name", value), 1);
    EXPECT_STREQ(value, "some text");
    EXPECT_EQ(get_RVEX_src("Absent", value), -1);
    EXPECT_EQ(error_of_this_thread(), "52 oxparam Absent");
    EXPECT_EQ(error_line_of_this_thread(), 364);
    const char* names[] = {"Absent", "Name"};
    char values[2][MOLTE_PARAM_SLOT];
    EXPECT_EQ(ORVEX_PARAMETER_GetValueArray(names, values[0], 2), 1);
    EXPECT_STREQ(values[1], "some text");
    EXPECT_EQ(ORVEX_PARAMETER_SetValueInt("Name", INT32_MIN), 1);
    EXPECT_EQ(read("rvexinit.ini"), "Name = -2147483648\n");
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName("other.ini"), 1);
    EXPECT_EQ(ORVEX_PARAMETER_SetValueByFN("x.cfg", "X", "7"), 1);
    EXPECT_EQ(ORVEX_PARAMETER_SetValue("Y", "8"), 1);
    int32_t number = 0;
    EXPECT_EQ(ORVEX_PARAMETER_GetIntValueByFN("x.cfg", "X", &number), 1);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(ORVEX_PARAMETER_GetIntValueByFN(nullptr, "Y", &number), 1);  // the default file
    EXPECT_EQ(number, 8);
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName("rvexinit.ini"), 1);
    EXPECT_EQ(ORVEX_PARAMETER_GetValueByFN("x.cfg", "Y", value), -1);
    EXPECT_EQ(error_of_this_thread(), "52 oxparam Y");
    EXPECT_EQ(ORVEX_PARAMETER_SetValueByFN(nullptr, "X", "7"), -1);
    EXPECT_EQ(ORVEX_PARAMETER_GetValueByFN(std::string(600, 'n').c_str(), "X", value), -1);
    EXPECT_EQ(GetRvexErrNo(), 50U);
    EXPECT_EQ(ORVEX_PARAMETER_GetDefaultUserName(nullptr), -1);
}

TEST_F(DefaultFile, Numbers) {
    write_ini(
        "a = 12 # x\nb = -5x\nc = x\nd =  +7\ne = 4294967297\nf = 2\ng = -9000000000\nh = 1\n");
    using Read = int32_t (*)(const char*, int32_t*);
    const Read read_int = ORVEX_PARAMETER_GetValueInt;
    const Read read_bool = ORVEX_PARAMETER_GetValueBool;
    const Read read_by_name = [](const char* name, int32_t* out) {
        return ORVEX_PARAMETER_GetIntValueByFN("rvexinit.ini", name, out);
    };
    struct Case {
        Read read;
        const char* name;
        int32_t result, value;
        const char* error;
        int line;
        const char* history;
    };
    for (const auto& c : std::vector<Case>{
             {read_int, "a", 1, 12, "0 ", 0, ""},
             {read_int, "b", 1, -5, "0 ", 0, ""},
             {read_int, "d", 1, 7, "0 ", 0, ""},
             {read_int, "e", 1, 1, "0 ", 0, ""},
             {read_int, "c", -1, 99, "257 oxparam name=c val=x", 47, ""},
             {read_int, "z", -1, 99, "52 oxparam z", 364, "44 oxparam"},
             {read_bool, "h", 1, 1, "0 ", 0, ""},
             {read_bool, "f", -1, 99, "413 oxparam name=f value=2 not 0 or 1", 75, ""},
             {read_bool, "c", -1, 99, "258 oxparam name=c val=x", 70, ""},
             {read_bool, "z", -1, 99, "52 oxparam z", 364, "67 oxparam"},
             {read_by_name, "c", -1, 99, "257 oxparam name=c val=x", 542, ""},
         }) {
        ORVEX_Err_ClearError();
        int32_t value = 99;
        EXPECT_EQ(c.read(c.name, &value), c.result) << c.name;
        EXPECT_EQ(value, c.value) << c.name;
        EXPECT_EQ(error_of_this_thread(), c.error);
        EXPECT_EQ(error_line_of_this_thread(), c.line);
        EXPECT_EQ(history_of_this_thread(), c.history);
        EXPECT_EQ(c.read(c.name, nullptr), -1);
    }
    ORVEX_Err_ClearError();
    int32_t number = 0;
    EXPECT_EQ(read_by_name("z", &number), -1);
    EXPECT_EQ(history_of_this_thread(), "539 oxparam");
    int64_t large = 0;
    EXPECT_EQ(ORVEX_PARAMETER_GetValueLong("g", &large), 1);
    EXPECT_EQ(large, INT64_C(-9000000000));
    EXPECT_EQ(ORVEX_PARAMETER_GetValueLong("c", &large), 1);  // any text counts
    EXPECT_EQ(large, 0);
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_PARAMETER_GetValueLong("z", &large), -1);
    EXPECT_EQ(history_of_this_thread(), "58 oxparam");
}

TEST_F(DefaultFile, MomentsAndServers) {
    write_ini("t = 20240229235958 and more\ns = 2024022923595\n");
    ORVEXDATETIME moment{};
    EXPECT_EQ(ORVEX_PARAMETER_GetValueDateTime("t", &moment), 1);
    char text[32];
    ORVEX_DateTime_DBFmt2DispFmt(&moment, text);
    EXPECT_STREQ(text, "20240229235958");
    EXPECT_EQ(ORVEX_PARAMETER_GetValueDateTime("s", &moment), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxdatcnv bad format");
    EXPECT_EQ(error_line_of_this_thread(), 458);
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_PARAMETER_GetValueDateTime("z", &moment), -1);
    EXPECT_EQ(history_of_this_thread(), "87 oxparam");

    char server[MOLTE_PARAM_SLOT];
    int32_t port = 0;
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_PARAMETER_GetServerNameAndPort(server, &port), -1);
    EXPECT_EQ(history_of_this_thread(), "33 oxparam");
    EXPECT_EQ(port, 6798);
    write_ini("DBServerName = db\n");
    EXPECT_EQ(ORVEX_PARAMETER_GetServerNameAndPort(server, &port), 1);
    EXPECT_EQ(error_of_this_thread(), "52 oxparam DBServerPort");
    write_ini("DBServerName = db\nDBServerPort = 9\n");
    EXPECT_EQ(ORVEX_PARAMETER_GetServerNameAndPort(server, &port), 1);
    EXPECT_STREQ(server, "db");
    EXPECT_EQ(port, 9);
}

TEST_F(DefaultFile, TheListOfServers) {
    char* list = nullptr;
    int32_t count = 5;
    EXPECT_EQ(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count), -1);
    EXPECT_EQ(GetRvexErrNo(), 23U);
    EXPECT_EQ(count, 0);
    ASSERT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("one\0two\0\0three", 4), 1);
    EXPECT_EQ(read("exfsvr.cfg"), "one\ntwo\n\nthree\n");
    ASSERT_EQ(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count), 14);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(std::string(list, 14), "one\0two\0three\0"s);
    ORVEX_free(list);
    ASSERT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("x", 1), 1);  // the longer text is gone
    EXPECT_EQ(read("exfsvr.cfg"), "x\n");
    ASSERT_EQ(ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 0), 1);
    EXPECT_EQ(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count), 0);
    EXPECT_EQ(list, nullptr);
    // 515 characters are a line; of a longer one each piece takes a terminator more than it has.
    write("exfsvr.cfg", std::string(515, 'a') + "\r\n" + std::string(200000, 'b'));
    EXPECT_EQ(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count), 516 + 200000 + 389);
    EXPECT_EQ(count, 390);
    EXPECT_EQ(std::string(list), std::string(515, 'a'));
    ORVEX_free(list);
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 1), -1);
    fs::remove(root_.path() / "CONF" / "exfsvr.cfg");
    fs::create_directory(root_.path() / "CONF" / "exfsvr.cfg");
    EXPECT_EQ(ORVEX_PARAMETER_SetCFGEXFServer("x", 1), -1);
    EXPECT_EQ(error_line_of_this_thread(), 446);
}

TEST_F(DefaultFile, TheIdentityOfTheMachine) {
    uint8_t id[16] = {};
    uint8_t again[16] = {};
    ASSERT_EQ(ORVEX_PARAMETER_GetServerID(id), 2);
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(again), 1);
    EXPECT_EQ(std::memcmp(id, again, 16), 0);
    EXPECT_EQ(read_bytes(root_.path() / "CONF" / "serverid.dat"),
              std::string(reinterpret_cast<char*>(id), 16));
    write("serverid.dat", std::string(15, 'x'));  // too short: made anew
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(again), 2);
    EXPECT_EQ(error_line_of_this_thread(), 494);
    EXPECT_NE(std::memcmp(id, again, 16), 0);
    EXPECT_EQ(fs::file_size(root_.path() / "CONF" / "serverid.dat"), 16U);
    EXPECT_EQ(ORVEX_PARAMETER_DelServerID(), 0);
    EXPECT_EQ(ORVEX_PARAMETER_DelServerID(), -1);
    EXPECT_EQ(ORVEX_PARAMETER_GetServerID(nullptr), -1);
}

CHILD_ROLE(without_a_main_path) {
    char slot[256];
    int32_t number = 0;
    char* list = nullptr;
    uint8_t id[16];
    const char* name = "n";
    const std::string before = "28 oxfname, 36 oxfname, 54 oxfname, ";
    const auto leaves = [&before](int32_t result, const std::string& lines) {
        const bool as_told = result == -1 && history_of_this_thread() == before + lines;
        if (!as_told) tell_parent(history_of_this_thread());
        return as_told;
    };
    switch (std::stoi(args.at(0))) {
        case 0:
            return leaves(ORVEX_PARAMETER_GetValue(name, slot), "151 oxfname, 186 oxparam");
        case 1:
            return leaves(ORVEX_PARAMETER_SetValue(name, "1"), "151 oxfname, 356 oxparam");
        case 2:
            return leaves(ORVEX_PARAMETER_GetValueInt(name, &number),
                          "151 oxfname, 186 oxparam, 44 oxparam");
        case 3:
            return leaves(ORVEX_PARAMETER_CFGEXFFileName(slot), "378 oxparam");
        case 4:
            return leaves(ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 0), "378 oxparam, 443 oxparam");
        case 5:
            return leaves(ORVEX_PARAMETER_DelServerID(), "471 oxparam");
        default:
            return ORVEX_PARAMETER_GetServerID(id) == -1 &&
                   ORVEX_PARAMETER_GetCFGEXFServer(&list, &number) == -1;
    }
}

TEST(NoMainPath, EveryFunctionLeavesItsLines) {
#if defined(_WIN32)
    GTEST_SKIP() << "the registry of the machine is shared with other programs here";
#else
    const TempFolder registry;
    setenv("MOLTELIB_REGISTRY_FOLDER", registry.str().c_str(), 1);
    for (int i = 0; i < 7; ++i) {
        ChildProcess child("without_a_main_path", {std::to_string(i)});
        EXPECT_EQ(child.wait(), 1) << i << ' ' << child.read_line();
    }
#endif
}

}  // namespace
