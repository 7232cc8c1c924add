#include "support/test.h"

namespace {

constexpr MOLTE_NAMEMAP kRows[] = {{"one", 1}, {nullptr, 3}, {"uno", 1}, {"One", -1}, {"one", 2}};

TEST(NameMap, TheFirstRowCounts) {
    EXPECT_EQ(MOLTE_NAMEMAP_Name2Val(kRows, 5, "one"), 1);
    EXPECT_EQ(MOLTE_NAMEMAP_Name2Val(kRows, 5, "One"), -1);
    EXPECT_EQ(taken_error(), "");
    EXPECT_STREQ(MOLTE_NAMEMAP_Val2Name(kRows, 5, 1), "one");
    EXPECT_STREQ(MOLTE_NAMEMAP_Val2Name(kRows, 5, -1), "One");
    EXPECT_EQ(error_of(MOLTE_NAMEMAP_Name2Val(kRows, 2, "uno")), "120 oxsysutl uno");
    EXPECT_EQ(error_of(MOLTE_NAMEMAP_Val2Name(kRows, 5, 3)), "120 oxsysutl value not exist 3");
    EXPECT_EQ(error_of(MOLTE_NAMEMAP_Name2Val(kRows, 5, nullptr)), "50 oxsysutl");
    EXPECT_EQ(error_of(MOLTE_NAMEMAP_Name2Val(nullptr, 1, "x")), "50 oxsysutl");
    EXPECT_EQ(error_of(MOLTE_NAMEMAP_Val2Name(nullptr, 1, 1)), "50 oxsysutl");
    EXPECT_STREQ(MOLTE_OX_LANGID_Name(0), "CHS");
    EXPECT_STREQ(MOLTE_OX_LANGID_Name(1), "En");
    for (const int32_t id : {-1, 2}) EXPECT_EQ(MOLTE_OX_LANGID_Name(id), nullptr);
}

TEST(NameMap, PrintsItself) {
    const MOLTE_NAMEMAPHEAD head = {"Numbers", kRows, 3};
    testing::internal::CaptureStdout();
    EXPECT_EQ(MOLTE_NAMEMAPHEAD_Print(&head), 1);
    const std::string text = testing::internal::GetCapturedStdout();
    const std::string blanks(29, ' ');
    EXPECT_EQ(text, "Numbers\nname=" + blanks + "one  val=1\nname=" + blanks +
                        "     val=3\nname=" + blanks + "uno  val=1\n");
    EXPECT_EQ(error_of(MOLTE_NAMEMAPHEAD_Print(nullptr)), "50 oxsysutl");
}

}  // namespace
