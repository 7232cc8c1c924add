// What depends on the process's code page: blanks and the case of letters, walking by whole
// characters, and conversion.
#include "support/called.h"

namespace {

#define A1 "\xB0\xA1"  // U+554A
#define YI "\xD2\xBB"  // U+4E00

TEST(CodePages, HaveTheirLettersAndBlanks) {
    // Bytes; whether they are the same but for their case in Latin, and in Chinese.
    const tuple<Text, Text, bool, bool> pairs[] = {
        {"\xC9", "\xE9", true, false},  {"a\x8Ez", "A\x9EZ", true, false},
        {"\x9F", "\xFF", true, false},  {"\xD7", "\xF7", false, false},
        {"\xDF", "\xFF", false, false}, {"\x81\x41", "\x81\x61", true, true}};
    const std::pair<Text, int32_t> blanks[] = {
        {"\xC9", 0}, {"\xA0", 1}, {" \xA0\x81", 1}, {"\xBF", 0}, {" \x8A", 0}};  // in Latin
    for (const int32_t language : {OXLANG_ENGLISH, OXLANG_SPANISH, OXLANG_CHINESE}) {
        ASSERT_EQ(OXLANG_SetLocale(language), 1);
        const bool latin = language != OXLANG_CHINESE;
        for (const auto& [a, b, in_latin, in_chinese] : pairs) {
            const bool same = latin ? in_latin : in_chinese;
            EXPECT_EQ(MOLTE_STR_stricmp(a, b) == 0, same) << a << " " << language;
            EXPECT_EQ(MOLTE_STR_FindSubStr(("x"s + a).c_str(), b), same ? 1 : -1) << a;
        }
        EXPECT_GT(MOLTE_STR_stricmp("\xC9", "z"), 0);  // as unsigned bytes
        for (const auto& [text, blank] : blanks) {
            const auto length = static_cast<int32_t>(strlen(text));
            EXPECT_EQ(MOLTE_STR_SBIsBlank(text, length), latin ? blank : 1) << text;
            EXPECT_EQ(MOLTE_STR_MBIsBlank(text, length), latin ? blank : 0) << text;
        }
        char text[] = " \xA0x\xA0 ";
        EXPECT_EQ(MOLTE_STR_LeftTrimSpace(text), text + (latin ? 2 : 1));
        MOLTE_STR_RightTrimSpace(text);
        EXPECT_STREQ(text, latin ? " \xA0x" : " \xA0x\xA0");
    }
}

std::string trimmed(const Texts& row) {
    std::string left = row[0];
    std::string right = row[0];
    EXPECT_EQ(MOLTE_STR_LeftStrTrim(left.data(), row[1].c_str()), 1);
    EXPECT_EQ(MOLTE_STR_RightStrTrim(right.data(), row[1].c_str()), 1);
    return left.c_str() + "|"s + right.c_str();
}

TEST(Chinese, Rows) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    check_rows(TEST_ROWS, {{"trim set", trimmed},
                           {"character", called<MOLTE_STR_Chr>},
                           {"first place", called<ox_strstr>},
                           {"first place of characters", called<ox_mbstrstr>},
                           {"blank", called<MOLTE_STR_MBIsBlank>},
                           {"blank bytes", called<MOLTE_STR_SBIsBlank>}});
}

TEST(Chinese, ConvertsWholeTexts) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    const char* text = "a" A1 YI "\x80";
    const wchar_t wide[] = {L'a', 0x554A, 0x4E00, 0x20AC, 0};
    const std::unique_ptr<wchar_t, void (*)(void*)> made(ox_mbstowcs(text), ORVEX_free);
    const std::unique_ptr<char, void (*)(void*)> back(ox_wcstombs(wide), ORVEX_free);
    EXPECT_STREQ(made.get(), wide);
    EXPECT_STREQ(back.get(), text);
    wchar_t into[5];
    char bytes[7];
    EXPECT_EQ(MOLTE_STR_mbstowcs(text, into, 5), 1);
    EXPECT_STREQ(into, wide);
    EXPECT_EQ(MOLTE_STR_wcstombs(wide, bytes, 7), 1);
    EXPECT_STREQ(bytes, text);
    EXPECT_EQ(error_of(MOLTE_STR_mbstowcs(text, into, 4)),
              "2624 oxstring dest buf size=4 <= src size=5");
    EXPECT_EQ(error_of(MOLTE_STR_wcstombs(wide, bytes, 6)),
              "2624 oxstring dest buf size=6 <= src size=7");
}

TEST(Chinese, ReportsWhatCannotBeConverted) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    wchar_t into[8];
    for (const char* cut : {"a\x81", "\xB0\x30"}) {
        EXPECT_EQ(error_of(ox_mbstowcs(cut)), "103 oxstring mbstowcs");
        ORVEX_Err_ClearError();
        EXPECT_EQ(error_of(MOLTE_STR_mbstowcs(cut, into, 8)), "103 oxstring mbstowcs");
        EXPECT_EQ(ORVEX_GetErrData()->nSysErrNo[3], EILSEQ) << "the errno goes with it";
    }
    const wchar_t outside[] = {L'a', 0xD800, 0};
    char bytes[8];
    EXPECT_EQ(error_of(ox_wcstombs(outside)), "103 oxstring wcstombs");
    EXPECT_EQ(error_of(MOLTE_STR_wcstombs(outside, bytes, 8)), "103 oxstring mbstowcs")
        << "the words of the other direction";
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_ENGLISH), 1);
    EXPECT_EQ(ox_wcstombs(L"\x100"), nullptr) << "no similar letter instead";
}

}  // namespace
