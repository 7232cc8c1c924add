#include "moltelib.h"

#include <gtest/gtest.h>

#include "support/error_of.h"

namespace {

// Before a locale is chosen, bytes and characters of the same number are one.
TEST(Convert, InThePlainLocale) {
    wchar_t* wide = ox_mbstowcs("a\xE9");
    const wchar_t expected[] = {L'a', 0xE9, 0};
    EXPECT_STREQ(wide, expected);
    ORVEX_free(wide);
    char* text = ox_wcstombs(expected);
    EXPECT_STREQ(text, "a\xE9");
    ORVEX_free(text);
    wide = ox_mbstowcs("");
    EXPECT_STREQ(wide, L"");
    ORVEX_free(wide);
    char byte[1];
    EXPECT_EQ(MOLTE_STR_wcstombs(L"", byte, 1), 1);
    EXPECT_EQ(byte[0], 0);
    EXPECT_EQ(MOLTE_STR_wcstombs(L"", byte, 0), -1);
    EXPECT_EQ(error_of_this_thread(), "2624 oxstring dest buf size=0 <= src size=1");
}

TEST(Convert, FailsWhereItMeasured) {
    const wchar_t outside[] = {0x4E00, 0};
    char text[8];
    EXPECT_EQ(ox_wcstombs(outside), nullptr);
    EXPECT_EQ(error_of_this_thread(), "103 oxstring wcstombs failed. maybe need setlocal.");
    EXPECT_EQ(MOLTE_STR_wcstombs(outside, text, 8), -1);
    EXPECT_EQ(error_of_this_thread(), "103 oxstring mbstowcs faile. maybe need setlocal.");
}

TEST(Convert, Null) {
    wchar_t wide[2];
    ORVEX_Err_ClearError();
    EXPECT_EQ(ox_mbstowcs(nullptr), nullptr);
    EXPECT_EQ(ox_wcstombs(nullptr), nullptr);
    EXPECT_EQ(GetRvexErrNo(), 0U);
    EXPECT_EQ(MOLTE_STR_mbstowcs(nullptr, wide, 2), -1);
    EXPECT_EQ(MOLTE_STR_wcstombs(L"a", nullptr, 2), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxstring");
}

}  // namespace
