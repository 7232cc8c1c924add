// Each case that needs an unset main path runs as a process of its own: the path is set for good.
#include "support/test.h"

namespace {

// Roles end with the number of the check that failed, 0 when all held.
#define HOLD(condition) \
    if (!(condition)) return __LINE__ % 200 + 1

CHILD_ROLE(no_key) {
    HOLD(GetMainPath() == nullptr);
    HOLD(error_of_this_thread() == "1000 oxmnpath" && error_line_of_this_thread() == 27);
    HOLD(InitMainPath() == -1);
    HOLD(error_of_this_thread() == "253 oxmnpath Software\\Lumbra Software Inc\\ORVEX60\\Options");
    HOLD(error_line_of_this_thread() == 83);
    HOLD(InitMainPath() == 1);  // known from now on, and empty
    HOLD(std::string(GetMainPath()).empty());
    char name[256];
    HOLD(ORVEX_TEMP_PathName(name) == 1 && std::string(name) == "\\TEMP");
    return 0;
}

CHILD_ROLE(histories_without_a_path) {
    struct Case {
        int32_t (*name)(char*);
        const char* history;
    };
    const std::vector<Case> cases = {
        {ORVEX_LOG_PathName, "28 oxfname, 123 oxfname"},
        {ORVEX_TEMP_PathName, "28 oxfname, 46 oxfname"},
        {ORVEX_CONF_PathName, "28 oxfname, 36 oxfname, 54 oxfname"},
        {ORVEX_DLL_PathName, "28 oxfname, 36 oxfname, 61 oxfname"},
        {ORVEX_DOC_PathName, "28 oxfname, 36 oxfname, 68 oxfname"},
        {ORVEX_TOOLS_PathName, "28 oxfname, 36 oxfname, 75 oxfname"},
        {ORVEX_RMTCONF_PathName, "28 oxfname, 36 oxfname, 82 oxfname"},
        {ORVEX_EXE_PathName, "28 oxfname, 36 oxfname, 89 oxfname"},
        {ORVEX_BIN_PathName, "28 oxfname, 36 oxfname, 96 oxfname"},
        {ORVEX_PARAMETER_PathFileName, "28 oxfname, 36 oxfname, 54 oxfname, 151 oxfname"},
        {ORVEX_DBCFG_PathFileName, "28 oxfname, 36 oxfname, 54 oxfname, 171 oxfname"},
        {[](char*) { return ORVEX_SYS_CreatePath(); }, "28 oxfname, 106 oxfname"},
    };
    const Case& c = cases.at(static_cast<size_t>(std::stoi(args.at(0))));
    char name[256];
    HOLD(c.name(name) == -1);
    if (history_of_this_thread() != c.history) {
        tell_parent(history_of_this_thread());
        return 1;
    }
    return 0;
}

CHILD_ROLE(from_the_registry) {
    const std::string& root = args.at(0);
    HOLD(CreateMainPath((root + "\\a%%b\\main").c_str()) == 1);
    HOLD(fs::is_directory(fs::path(root) / "a%%b" / "main"));  // the folder takes it literally
    HOLD(GetMainPath() == nullptr);                            // the state isn't touched
    HOLD(std::string(UTIL_GetMainPath()) == root + "\\a%b\\main");
    return 0;
}

CHILD_ROLE(hostile_format) {
    HOLD(CreateMainPath((args.at(0) + "\\x%n%s%-08.3lly%").c_str()) == 1);
    HOLD(std::string(UTIL_GetMainPath()) == args.at(0) + "\\x");
    return 0;
}

CHILD_ROLE(too_long_in_the_registry) {
    const std::string path = args.at(0) + "\\" + std::string(128, 'x');
    HOLD(CreateMainPath(path.c_str()) == 1);
    HOLD(InitMainPath() == -1);
    HOLD(error_of_this_thread() == "254 oxmnpath MainPath" && error_line_of_this_thread() == 97);
    return 0;
}

class MainPath : public testing::Test {
 protected:
    void SetUp() override {
#if defined(_WIN32)
        GTEST_SKIP() << "the registry of the machine is shared with other programs here";
#else
        setenv("MOLTELIB_REGISTRY_FOLDER", registry_.str().c_str(), 1);
#endif
    }
    TempFolder registry_;
    TempFolder root_;
};

TEST_F(MainPath, UnsetIsAnErrorAndThenEmpty) {
    EXPECT_EQ(ChildProcess("no_key").wait(), 0);
}

TEST_F(MainPath, EveryNameLeavesItsLines) {
    for (int i = 0; i < 12; ++i) {
        ChildProcess child("histories_without_a_path", {std::to_string(i)});
        EXPECT_EQ(child.wait(), 0) << i << ' ' << child.read_line();
    }
}

TEST_F(MainPath, CreatedThenRead) {
    EXPECT_EQ(ChildProcess("from_the_registry", {root_.str()}).wait(), 0);
    EXPECT_EQ(ChildProcess("hostile_format", {root_.str()}).wait(), 0);
    EXPECT_EQ(ChildProcess("too_long_in_the_registry", {root_.str()}).wait(), 0);
}

TEST(MainPathGiven, LimitsOfItsLength) {
    EXPECT_EQ(ORVEX_SetMainPath(nullptr), -1);
    EXPECT_EQ(error_of(ORVEX_SetMainPath(std::string(128, 'm').c_str())),
              "124 oxmnpath main path name too long");
    EXPECT_EQ(error_line_of_this_thread(), 35);
    EXPECT_EQ(ORVEX_SetMainPath(std::string(127, 'm').c_str()), 1);
    EXPECT_EQ(ORVEX_SetMainPath(""), 1);
    EXPECT_STREQ(GetMainPath(), "");
    EXPECT_EQ(error_of(CreateMainPath("")), "412 oxmnpath");
    EXPECT_EQ(CreateMainPath(nullptr), -1);
    EXPECT_EQ(error_line_of_this_thread(), 141);
    char key[64];
    EXPECT_STREQ(GetRegKeyName(key), "Software\\Lumbra Software Inc\\ORVEX60");
    EXPECT_STREQ(key, GetRegKeyName(nullptr));
}

TEST(MainPathGiven, NamesOfFoldersAndFiles) {
    ORVEX_SetMainPath("c:\\root");
    const std::pair<int32_t (*)(char*), Text> rows[] = {
        {ORVEX_SYS_PathName, ""},
        {ORVEX_TEMP_PathName, "\\TEMP"},
        {ORVEX_CONF_PathName, "\\CONF"},
        {ORVEX_DLL_PathName, "\\DLL"},
        {ORVEX_DOC_PathName, "\\DOC"},
        {ORVEX_TOOLS_PathName, "\\TOOLS"},
        {ORVEX_RMTCONF_PathName, "\\RMTCONF"},
        {ORVEX_EXE_PathName, "\\EXE"},
        {ORVEX_BIN_PathName, "\\BIN"},
        {ORVEX_LOG_PathName, "\\LOG"},
        {ORVEX_DBCFG_PathFileName, "\\CONF\\dbnumina.ini"}};
    char name[262];
    for (const auto& [name_into, result] : rows) {
        EXPECT_EQ(name_into(name), 1);
        EXPECT_EQ(name, "c:\\root"s + result);
    }
    EXPECT_EQ(ORVEX_PARAMETER_PathFileNameByFN(name, "other.ini"), 1);
    EXPECT_STREQ(name, "c:\\root\\CONF\\other.ini");
    std::memset(g_stBv.szDbIniName, 'd', sizeof g_stBv.szDbIniName);  // no terminator: not a name
    ORVEX_DBCFG_PathFileName(name);
    EXPECT_STREQ(name, "c:\\root\\CONF\\dbnumina.ini");
    g_stBv.szDbIniName[31] = '\0';
    ORVEX_DBCFG_PathFileName(name);
    EXPECT_EQ(std::string(name), "c:\\root\\CONF\\" + std::string(31, 'd'));
}

TEST(MainPathGiven, TheIniFileName) {
    EXPECT_STREQ(ORVEX_PARAMETER_GetIniFileName(), "rvexinit.ini");
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName(nullptr), 0);
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName(""), 0);
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName(std::string(128, 'i').c_str()), -1);
    EXPECT_EQ(GetRvexErrNo(), 0U);
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName("x.ini"), 1);
    char name[256];
    ORVEX_SetMainPath("m");
    EXPECT_EQ(ORVEX_PARAMETER_PathFileName(name), 1);
    EXPECT_STREQ(name, "m\\CONF\\x.ini");
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName("rvexinit.ini"), 1);
}

TEST(MainPathGiven, CreatesItsFolders) {
    const TempFolder root;
    ORVEX_SetMainPath((root.str() + "\\deep\\main").c_str());
    ASSERT_EQ(ORVEX_SYS_CreatePath(), 1);
    EXPECT_EQ(ORVEX_SYS_CreatePath(), 1);
    for (const char* name : {"CONF", "RMTCONF", "BIN", "TEMP", "EXE"}) {
        EXPECT_TRUE(fs::is_directory(root.path() / "deep" / "main" / name)) << name;
    }
    for (const char* name : {"LOG", "DLL", "DOC", "TOOLS"}) {
        EXPECT_FALSE(fs::exists(root.path() / "deep" / "main" / name)) << name;
    }
    fs::remove(root.path() / "deep" / "main" / "BIN");
    root.write("deep/main/BIN", "in the way");
    EXPECT_EQ(ORVEX_SYS_CreatePath(), 1);  // a name that exists is taken for a folder
    root.write("file", "");
    ORVEX_SetMainPath((root.str() + "\\file\\main").c_str());
    EXPECT_EQ(error_number_of(ORVEX_SYS_CreatePath()), 1U);
    EXPECT_EQ(history_of_this_thread(), "107 oxfname");
}

}  // namespace
