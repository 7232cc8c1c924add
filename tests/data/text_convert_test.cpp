#include "support/test.h"

namespace {

// Before a locale is chosen, bytes and characters of the same number are one.
TEST(Convert, InThePlainLocale) {
    const wchar_t expected[] = {L'a', 0xE9, 0};
    wchar_t* wide = ox_mbstowcs("a\xE9");
    char* text = ox_wcstombs(expected);
    EXPECT_STREQ(wide, expected);
    EXPECT_STREQ(text, "a\xE9");
    ORVEX_free(wide);
    ORVEX_free(text);
    char byte[1];
    EXPECT_EQ(MOLTE_STR_wcstombs(L"", byte, 1), 1);
    EXPECT_EQ(byte[0], 0);
    EXPECT_EQ(error_of(MOLTE_STR_wcstombs(L"", byte, 0)),
              "2624 oxstring dest buf size=0 <= src size=1");
}

TEST(Convert, Failures) {
    const wchar_t outside[] = {0x4E00, 0};  // measured, but not converted
    char text[8];
    EXPECT_EQ(error_of(ox_wcstombs(outside)), "103 oxstring wcstombs failed. maybe need setlocal.");
    EXPECT_EQ(error_of(MOLTE_STR_wcstombs(outside, text, 8)),
              "103 oxstring mbstowcs faile. maybe need setlocal.");
    ORVEX_Err_ClearError();
    EXPECT_EQ(ox_mbstowcs(nullptr), nullptr);
    EXPECT_EQ(ox_wcstombs(nullptr), nullptr);
    EXPECT_EQ(GetRvexErrNo(), 0U);
    EXPECT_EQ(error_of(MOLTE_STR_wcstombs(L"a", nullptr, 2)), "50 oxstring");
}

}  // namespace
