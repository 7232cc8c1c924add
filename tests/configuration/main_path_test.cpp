// Each case that needs an unset main path runs as a process of its own: the path is set for good.
#include "support/rows.h"
#include "support/test.h"

namespace {

// Who asks for the main path. The rows tell what follows it in the name that he gets, or "(none)"
// for one who gets no name, and the lines that he leaves where there is none.
const std::map<std::string, int32_t (*)(char* name)> kAsking = {
    {"ORVEX_SYS_PathName", ORVEX_SYS_PathName},
    {"ORVEX_LOG_PathName", ORVEX_LOG_PathName},
    {"ORVEX_TEMP_PathName", ORVEX_TEMP_PathName},
    {"ORVEX_CONF_PathName", ORVEX_CONF_PathName},
    {"ORVEX_DLL_PathName", ORVEX_DLL_PathName},
    {"ORVEX_DOC_PathName", ORVEX_DOC_PathName},
    {"ORVEX_TOOLS_PathName", ORVEX_TOOLS_PathName},
    {"ORVEX_RMTCONF_PathName", ORVEX_RMTCONF_PathName},
    {"ORVEX_EXE_PathName", ORVEX_EXE_PathName},
    {"ORVEX_BIN_PathName", ORVEX_BIN_PathName},
    {"ORVEX_PARAMETER_PathFileName", ORVEX_PARAMETER_PathFileName},
    {"ORVEX_DBCFG_PathFileName", ORVEX_DBCFG_PathFileName},
    {"ORVEX_SYS_CreatePath", [](char*) { return ORVEX_SYS_CreatePath(); }},
    {"ORVEX_PARAMETER_GetValueInt",
     [](char* name) { return ORVEX_PARAMETER_GetValueInt("n", reinterpret_cast<int32_t*>(name)); }},
    {"ORVEX_PARAMETER_SetValue", [](char*) { return ORVEX_PARAMETER_SetValue("n", "1"); }},
    {"ORVEX_PARAMETER_SetCFGEXFServer",
     [](char*) { return ORVEX_PARAMETER_SetCFGEXFServer(nullptr, 0); }},
    {"MOLTE_BERRLOG_AddLog", [](char*) { return MOLTE_BERRLOG_AddLog("x", 1); }},
    {"MOLTE_BERRLOG_Retr",
     [](char* text) {
         BERRLOG_ENTRY* entries = nullptr;
         const BERRLOG_FILTER filter{};
         return MOLTE_BERRLOG_Retr(&entries, &text, &filter);
     }},
    {"ORVEX_PARAMETER_DelServerID", [](char*) { return ORVEX_PARAMETER_DelServerID(); }},
};

std::vector<Texts> asking_rows() {
    return tables_of(TEST_ROWS)["asking"];
}

CHILD_ROLE(asks) {
    alignas(int32_t) char name[256];
    tell_parent(told(kAsking.at(args.at(0))(name)));
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
    for (const Text line : {"1000 oxmnpath @27", kNoKey, "1"}) {  // known from then on, and empty
        EXPECT_EQ(child.read_line(), line);
    }
    for (const Texts& row : asking_rows()) {
        ChildProcess asks("asks", {row[0]});
        EXPECT_EQ(asks.read_line(), kNoKey + " < "s + row[2]);
        EXPECT_EQ(asks.wait(), 0);
    }
}

TEST_F(MainPath, IsReadAsAFormat) {
    const std::string root = root_.str() + "\\";
    for (const auto& [created, read] :
         {std::pair("a%%b\\main"s, root + "a%b\\main"),
          {"x%n%s%-08.3lly%"s, root + "x"},
          {std::string(128, 'x'), "254 oxmnpath MainPath @97 < 28 oxfname"s}}) {
        ChildProcess child("creates", {root + created});
        for (const std::string& line : {"1"s, "1000 oxmnpath @27"s, read}) {
            EXPECT_EQ(child.read_line(), line);
        }
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_TRUE(fs::is_directory(root_.path() / "a%%b" / "main"));  // the folder is as written
}

TEST(MainPathGiven, LimitsOfItsLength) {
    EXPECT_EQ(ORVEX_SetMainPath(nullptr), -1);
    ORVEX_Err_ClearError();
    EXPECT_EQ(told(ORVEX_SetMainPath(std::string(128, 'm').c_str())),
              "124 oxmnpath main path name too long @35");
    EXPECT_EQ(ORVEX_SetMainPath(std::string(127, 'm').c_str()), 1);
    EXPECT_EQ(ORVEX_SetMainPath(""), 1);
    EXPECT_STREQ(GetMainPath(), "");
    for (const Text path : {"", Text{}}) EXPECT_EQ(told(CreateMainPath(path)), "412 oxmnpath @141");
    char key[64];
    EXPECT_STREQ(GetRegKeyName(key), "Software\\Lumbra Software Inc\\ORVEX60");
    EXPECT_STREQ(key, GetRegKeyName(nullptr));
}

TEST(MainPathGiven, NamesOfFoldersAndFiles) {
    ORVEX_SetMainPath("c:\\root");
    char name[262];
    for (const Texts& row : asking_rows()) {
        if (row[1] == "(none)") continue;
        EXPECT_EQ(kAsking.at(row[0])(name), 1);
        EXPECT_EQ(name, "c:\\root" + row[1]);
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
    EXPECT_EQ(names_in(root / "deep/main"), (Texts{"BIN", "CONF", "EXE", "RMTCONF", "TEMP"}));
    fs::remove(root / "deep/main/BIN");
    root.write("deep/main/BIN", "in the way");
    EXPECT_EQ(ORVEX_SYS_CreatePath(), 1);  // a name that exists is taken for a folder
    root.write("file", "");
    ORVEX_SetMainPath((root.str() + "\\file\\main").c_str());
    EXPECT_EQ(error_number_of(ORVEX_SYS_CreatePath()), 1U);
    EXPECT_EQ(history_of_this_thread(), "107 oxfname");
}

}  // namespace
