// Each case that needs an unset main path runs as a process of its own: the path is set for good.
#include "support/test.h"

namespace {

// Who asks for the main path; what follows it in the path that he gets, if he gives one; and the
// lines that he leaves where there is none.
struct Asking {
    int32_t (*call)(char* name);
    Text name;
    Text history;
};
const Asking kAsking[] = {
    {ORVEX_SYS_PathName, "", "28 oxfname, 36 oxfname"},
    {ORVEX_LOG_PathName, "\\LOG", "28 oxfname, 123 oxfname"},
    {ORVEX_TEMP_PathName, "\\TEMP", "28 oxfname, 46 oxfname"},
    {ORVEX_CONF_PathName, "\\CONF", "28 oxfname, 36 oxfname, 54 oxfname"},
    {ORVEX_DLL_PathName, "\\DLL", "28 oxfname, 36 oxfname, 61 oxfname"},
    {ORVEX_DOC_PathName, "\\DOC", "28 oxfname, 36 oxfname, 68 oxfname"},
    {ORVEX_TOOLS_PathName, "\\TOOLS", "28 oxfname, 36 oxfname, 75 oxfname"},
    {ORVEX_RMTCONF_PathName, "\\RMTCONF", "28 oxfname, 36 oxfname, 82 oxfname"},
    {ORVEX_EXE_PathName, "\\EXE", "28 oxfname, 36 oxfname, 89 oxfname"},
    {ORVEX_BIN_PathName, "\\BIN", "28 oxfname, 36 oxfname, 96 oxfname"},
    {ORVEX_PARAMETER_PathFileName, "\\CONF\\rvexinit.ini",
     "28 oxfname, 36 oxfname, 54 oxfname, 151 oxfname"},
    {ORVEX_DBCFG_PathFileName, "\\CONF\\dbnumina.ini",
     "28 oxfname, 36 oxfname, 54 oxfname, 171 oxfname"},
    {[](char*) { return ORVEX_SYS_CreatePath(); }, nullptr, "28 oxfname, 106 oxfname"},
    {[](char*) {
         int32_t number = 0;
         return ORVEX_PARAMETER_GetValueInt("n", &number);
     },
     nullptr, "28 oxfname, 36 oxfname, 54 oxfname, 151 oxfname, 186 oxparam, 44 oxparam"},
    {[](char*) { return ORVEX_PARAMETER_SetValue("n", "1"); }, nullptr,
     "28 oxfname, 36 oxfname, 54 oxfname, 151 oxfname, 356 oxparam"},
    {[](char*) { return ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 0); }, nullptr,
     "28 oxfname, 36 oxfname, 54 oxfname, 378 oxparam, 443 oxparam"},
    {[](char*) { return MOLTE_BERRLOG_AddLog("x", 1); }, nullptr,
     "28 oxfname, 123 oxfname, 333 oxerrlog, 369 oxerrlog"},
    {[](char*) {
         BERRLOG_ENTRY* entries = nullptr;
         char* text = nullptr;
         BERRLOG_FILTER filter{};
         return MOLTE_BERRLOG_Retr(&entries, &text, &filter);
     },
     nullptr, "28 oxfname, 123 oxfname, 333 oxerrlog, 385 oxerrlog"},
    {[](char*) { return ORVEX_PARAMETER_DelServerID(); }, nullptr,
     "28 oxfname, 36 oxfname, 54 oxfname, 471 oxparam"},
};

CHILD_ROLE(asks) {
    char name[256];
    tell_parent(told(kAsking[std::stoul(args.at(0))].call(name)));
    return 0;
}

CHILD_ROLE(asks_twice) {
    tell_parent(told(GetMainPath() == nullptr ? -1 : 1));
    tell_parent(told(InitMainPath()));
    tell_parent(told(InitMainPath()) + GetMainPath());
    return 0;
}

CHILD_ROLE(creates) {
    tell_parent(told(CreateMainPath(args.at(0).c_str())));
    tell_parent(told(GetMainPath() == nullptr ? -1 : 1));  // the state isn't touched
    const char* path = UTIL_GetMainPath();
    tell_parent(path != nullptr ? path : told(-1));
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

constexpr Text kNoKey = "253 oxmnpath Software\\Lumbra Software Inc\\ORVEX60\\Options @83";

TEST_F(MainPath, UnsetIsAnErrorAndThenEmpty) {
    ChildProcess child("asks_twice");
    EXPECT_EQ(child.read_line(), "1000 oxmnpath @27");
    EXPECT_EQ(child.read_line(), kNoKey);
    EXPECT_EQ(child.read_line(), "1");  // known from now on, and empty
    for (size_t i = 0; i < std::size(kAsking); ++i) {
        ChildProcess asks("asks", {std::to_string(i)});
        EXPECT_EQ(asks.read_line(), kNoKey + " < "s + kAsking[i].history);
        EXPECT_EQ(asks.wait(), 0);
    }
}

TEST_F(MainPath, IsReadAsAFormat) {
    const std::string root = root_.str() + "\\";
    const std::pair<std::string, std::string> rows[] = {
        {"a%%b\\main", root + "a%b\\main"},
        {"x%n%s%-08.3lly%", root + "x"},
        {std::string(128, 'x'), "254 oxmnpath MainPath @97 < 28 oxfname"}};
    for (const auto& [created, read] : rows) {
        ChildProcess child("creates", {root + created});
        EXPECT_EQ(child.read_line(), "1");
        EXPECT_EQ(child.read_line(), "1000 oxmnpath @27");
        EXPECT_EQ(child.read_line(), read);
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_TRUE(fs::is_directory(root_.path() / "a%%b" / "main"));  // the folder is as written
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
    char name[262];
    for (const Asking& asking : kAsking) {
        if (asking.name != nullptr) {
            EXPECT_EQ(asking.call(name), 1);
            EXPECT_EQ(name, "c:\\root"s + asking.name);
        }
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
    EXPECT_EQ(ORVEX_PARAMETER_SetIniFileName(nullptr) + ORVEX_PARAMETER_SetIniFileName(""), 0);
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
    EXPECT_EQ(names_in(root.path() / "deep" / "main"),
              (Texts{"BIN", "CONF", "EXE", "RMTCONF", "TEMP"}));
    fs::remove(root.path() / "deep" / "main" / "BIN");
    root.write("deep/main/BIN", "in the way");
    EXPECT_EQ(ORVEX_SYS_CreatePath(), 1);  // a name that exists is taken for a folder
    root.write("file", "");
    ORVEX_SetMainPath((root.str() + "\\file\\main").c_str());
    EXPECT_EQ(error_number_of(ORVEX_SYS_CreatePath()), 1U);
    EXPECT_EQ(history_of_this_thread(), "107 oxfname");
}

}  // namespace
