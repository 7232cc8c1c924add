#include "support/called.h"

namespace {

TEST(Application, PathAndCommandLineOfThisProgram) {
    char line[4096];
    char path[1024];
    ASSERT_EQ(MOLTE_GetCommandLine(line, sizeof line), 1);
    EXPECT_NE(std::strstr(line, "application_test"), nullptr);
    ASSERT_EQ(MOLTE_Win_GetExeName(path, sizeof path), 1);
    EXPECT_EQ(fs::path(path).stem(), "application_test");
    char name[256];
    ASSERT_EQ(MOLTE_GetAppName(name, sizeof name), 1);
    EXPECT_EQ(fs::path(name).stem(), "application_test");
    for (auto* get : {MOLTE_GetAppName, MOLTE_Win_GetExeName}) {
        char small[5];
        EXPECT_EQ(get(small, sizeof small), 1);
        EXPECT_EQ(std::string(small), std::string(get == MOLTE_GetAppName ? name : path, 4));
    }
    EXPECT_EQ(MOLTE_Win_GetExeName(path, 0) + MOLTE_GetAppName(nullptr, 5), -2);
}

TEST(Application, TextsGivenByTheProgramAreCut) {
    EXPECT_EQ(MOLTE_SetAppName(std::string(300, 'n').c_str()), 1);
    EXPECT_EQ(std::string(g_stBv.szAppName), std::string(255, 'n'));
    EXPECT_EQ(MOLTE_SetAppVersion(std::string(40, 'v').c_str()), 1);
    EXPECT_EQ(std::string(g_stBv.szAppVersion), std::string(31, 'v'));
    EXPECT_EQ(MOLTE_SetAppName(nullptr), -1);
}

TEST(Application, WithoutAVersionIsBroughtUpWithNoErrorOfIt) {
    MOLTE_SetAppName("");
    MOLTE_SetAppVersion("");
    ORVEX_Err_ClearError();
    const Installation installation;
    EXPECT_STREQ(g_stBv.szAppVersion, "");
    EXPECT_NE(GetRvexErrNo(), 273u);
}

CHILD_ROLE(prints_no_version) {
    char* words[] = {const_cast<char*>("x"), const_cast<char*>("-printver")};
    return UTIL_IsPrintVer(2, words);
}

TEST(Application, WithoutAVersionTellsTheError) {
    ChildProcess child("prints_no_version");
    std::string all;
    for (int line = 0; line < 20; ++line) all += child.read_line();
    EXPECT_NE(all.find("273"), std::string::npos) << all;
    EXPECT_EQ(child.wait(), 1);
}

TEST(Application, NamesOfImages) {
    check_rows(TEST_ROWS, {{"class of the image, number of the item, its name",
                            called<[](int32_t image_class, int32_t item) {
                                const Text name = MOLTE_ImagePrtItemName(image_class, item);
                                return std::string(name != nullptr ? name : "(null)");
                            }>}});
}

}  // namespace
