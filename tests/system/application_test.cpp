#include "support/test.h"

namespace {

TEST(Application, PathAndCommandLineOfThisProgram) {
    char line[4096];
    char path[1024];
    ASSERT_EQ(MOLTE_GetCommandLine(line, sizeof line), 1);
    EXPECT_NE(std::strstr(line, "application_test"), nullptr);
    ASSERT_EQ(MOLTE_Win_GetExeName(path, sizeof path), 1);
    EXPECT_EQ(std::filesystem::path(path).stem(), "application_test");
    char name[256];
    ASSERT_EQ(MOLTE_GetAppName(name, sizeof name), 1);
    EXPECT_EQ(std::filesystem::path(name).stem(), "application_test");

    char small[5];
    EXPECT_EQ(MOLTE_GetAppName(small, sizeof small), 1);
    EXPECT_EQ(std::string(small), std::string(name).substr(0, 4));
    EXPECT_EQ(MOLTE_Win_GetExeName(small, sizeof small), 1);
    EXPECT_EQ(std::string(small), std::string(path).substr(0, 4));
    EXPECT_EQ(MOLTE_Win_GetExeName(small, 0), -1);
    EXPECT_EQ(MOLTE_GetAppName(nullptr, 5), -1);
}

TEST(Application, TextsGivenByTheProgramAreCut) {
    EXPECT_EQ(MOLTE_SetAppName(std::string(300, 'n').c_str()), 1);
    EXPECT_EQ(std::string(g_stBv.szAppName), std::string(255, 'n'));
    EXPECT_EQ(MOLTE_SetAppVersion(std::string(40, 'v').c_str()), 1);
    EXPECT_EQ(std::string(g_stBv.szAppVersion), std::string(31, 'v'));
    EXPECT_EQ(MOLTE_SetAppName(nullptr), -1);
}

}  // namespace
