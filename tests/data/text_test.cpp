#include "support/test.h"

namespace {

constexpr int sign(int32_t value) {
    return (value > 0) - (value < 0);
}

TEST(Format, ResultsOfABoundedText) {
    ORVEX_Err_ClearError();
    const tuple<int32_t, int32_t, Text, Text> rows[] = {
        {6, 4, "", "abcd\0#"}, {5, 4, "", "abcd\0#"}, {4, -1, "501 oxstring", "abcd##"},
        {3, -1, "", "abc###"}, {0, -1, "", "######"}, {-1, -1, "50 oxstring", "######"}};
    for (const auto& [size, result, error, bytes] : rows) {
        char text[6];
        memset(text, '#', sizeof text);
        EXPECT_EQ(ox_snprintf(text, size, "%s%s", "abc", "d"), result) << size;
        EXPECT_EQ(memcmp(text, bytes, sizeof text), 0) << size;
        EXPECT_EQ(taken_error(), error) << size;
    }
    EXPECT_EQ(ox_snprintf(nullptr, 0, "%d", 123), 3);
    EXPECT_EQ(error_of(ox_snprintf(nullptr, 5, "%d", 123)), "50 oxstring");
    wchar_t wide[8] = L"#######";
    EXPECT_EQ(ox_snprintfW(wide, 7, L" %s%hs%d", L"ab", "c", 12), 6);
    EXPECT_STREQ(wide, L" abc12");
    EXPECT_EQ(error_of(ox_snprintfW(wide, 6, L" %s%hs%d", L"ab", "c", 12)), "501 oxstring");
}

TEST(Copy, IsTerminatedWhereItFits) {
    const tuple<int32_t, int32_t, Text> rows[] = {{-1, 0, "#####"}, {0, 0, "#####"},
                                                  {1, 1, "\0####"}, {3, 1, "ab\0##"},
                                                  {4, 1, "abc\0#"}, {5, 1, "abc\0#"}};
    for (const auto& [n, result, bytes] : rows) {
        char text[] = "#####";
        EXPECT_EQ(ORVEX_strncpy(text, "abc", n), result) << n;
        EXPECT_EQ(memcmp(text, bytes, 5), 0) << n;
    }
    char text[8] = "#######";
    EXPECT_STREQ(ox_strncat(ox_strncpy(text, "wxyz", 2), "1234", 0), "wx#####");
    wchar_t wide[8] = L"";
    EXPECT_STREQ(ox_strncatW(ox_strncpyW(wide, L"ab", 4), L"123", 2), L"ab12");
    EXPECT_EQ(ORVEX_StrDup(nullptr), nullptr);
    char* copies[] = {ORVEX_StrDup("abc"), ox_strdup("abc"), ox_strdup(nullptr)};
    EXPECT_STREQ(copies[0], copies[1]);
    EXPECT_STREQ(copies[2], "");
    for (char* copy : copies) ORVEX_free(copy);
}

TEST(Length, BoundedAndNot) {
    EXPECT_EQ(ox_strlen(nullptr) + ox_strlenW(nullptr), 0);
    EXPECT_EQ(ox_strlen("abc"), 3);
    EXPECT_EQ(ox_strlenW(L"abcd"), 4);
    const tuple<Text, const wchar_t*, int32_t, int32_t> rows[] = {
        {"", L"", 0, -1},       {"", L"", 1, 0},        {"abc", L"abc", 4, 3},
        {"abc", L"abc", 3, -1}, {"abc", L"abc", 2, -1}, {"abc", L"abc", -1, -1}};
    for (const auto& [text, wide, limit, result] : rows) {
        EXPECT_EQ(ox_limstrlen(text, limit), result) << text << limit;
        EXPECT_EQ(ox_limstrlenW(wide, limit), result) << text << limit;
    }
    const char unterminated[3] = {'a', 'b', 'c'};
    EXPECT_EQ(ox_limstrlen(unterminated, 3), -1) << "reads no further than the limit";
}

TEST(CopyTo, StopsAndBounds) {
    constexpr Text kUntouched = "#######";
    const tuple<int32_t, Text, int32_t, Text> rows[] = {
        {8, "ab;cd", 2, "ab"},  {8, "abcd", 4, "abcd"},   {5, "abcd;", 4, "abcd"},
        {5, "abcd", 4, "abcd"}, {4, "abcd", -1, "abc"},   {8, ";ab", 0, kUntouched},
        {8, "", 0, kUntouched}, {1, "a", -1, kUntouched}, {1, ";a", 0, kUntouched},
        {1, "", 0, kUntouched}, {0, "a", 0, kUntouched},  {-1, "a", 0, kUntouched}};
    for (const auto& [size, src, result, expected] : rows) {
        char dst[2][8] = {"#######", "#######"};
        EXPECT_EQ(ox_copyto(dst[0], size, src, ';'), result) << src << size;
        EXPECT_STREQ(dst[0], expected) << src << size;
        EXPECT_EQ(ox_copytoesc(dst[1], size, src, ';', '^'), result) << src << size;
        EXPECT_STREQ(dst[1], expected) << src << size;
    }
    const tuple<int32_t, Text, int32_t, Text> escaped[] = {
        {8, "a^;b;c", 3, "a;b"},  {8, "a^^b", 3, "a^b"},   {8, "a^xb", 3, "axb"},
        {8, "ab^", 2, "ab"},      {8, "^", 0, kUntouched}, {4, "a^;b;", 3, "a;b"},
        {3, "a^;b;", -1, "a;"},   {3, "a^;", 2, "a;"},     {3, "ab^", -1, "ab"},
        {1, "^;", -1, kUntouched}};
    for (const auto& [size, src, result, expected] : escaped) {
        char dst[8] = "#######";
        EXPECT_EQ(ox_copytoesc(dst, size, src, ';', '^'), result) << src;
        EXPECT_STREQ(dst, expected) << src;
    }
}

TEST(Compare, WithoutCaseAndWithNull) {
    const tuple<Text, Text, int> rows[] = {
        {"AbC", "aBc", 0}, {"a", "B", -1},        {"b", "A", 1},     {"ab", "a", 1},
        {"", "", 0},       {nullptr, nullptr, 1}, {nullptr, "a", 0}, {"a", nullptr, 0}};
    for (const auto& [a, b, order] : rows) {
        EXPECT_EQ(sign(MOLTE_STR_stricmp(a, b)), order);
        EXPECT_EQ(MOLTE_STR_IsSamePath(a, b), MOLTE_STR_stricmp(a, b));
    }
}

TEST(Compare, FieldsOfGivenLength) {
    const tuple<Text, int32_t, Text, int32_t, int> rows[] = {
        {"abc", 3, "abc", 3, 0},  {"abc", 3, "abd", 3, -1},  {"abd", 2, "abc", 2, 0},
        {"ab", 2, "abc", 3, -1},  {"abc", 3, "ab", 2, 1},    {"ab", 2, "ab\0c", 4, 0},
        {"ab\0c", 4, "ab", 2, 0}, {"abX", 2, "abc", 3, -1},  {"b", 1, "abc", 3, 1},
        {"", 0, "a", 1, -1},      {"a", 1, "", 0, 1},        {"a", -5, "b", -1, 0},
        {"a\0x", 3, "a\0", 2, 1}, {"a\0", 2, "a\0y", 9, -1}, {"a\0\0x", 4, "a\0", 2, 0}};
    for (const auto& [a, size_a, b, size_b, order] : rows) {
        EXPECT_EQ(sign(MOLTE_STR_strncmp(a, size_a, b, size_b)), order) << a << " " << b << size_b;
    }
}

TEST(Questions, HeadAndTail) {
    const tuple<Text, Text, int32_t, int32_t> rows[] = {
        {"abcab", "ab", 1, 1}, {"abc", "abc", 1, 1}, {"ab", "abc", 0, 0},
        {"abc", "bc", 0, 1},   {"abc", "", 1, 1},    {"", "", 1, 1},
        {"abc", "AB", 0, 0},   {nullptr, "a", 0, 0}, {"a", nullptr, 0, 0}};
    for (const auto& [text, part, head, tail] : rows) {
        EXPECT_EQ(MOLTE_STR_HeadIs(text, part), head);
        EXPECT_EQ(ox_strstartwith(text, part), head);
        EXPECT_EQ(ox_strendwith(text, part), tail);
        EXPECT_EQ(ox_striphead(text, part), head != 0 ? text + strlen(part) : nullptr);
    }
}

TEST(Questions, DigitsAndBlanks) {
    for (const Text text : {"", "0123456789"}) EXPECT_EQ(ox_isalldigit(text), 1);
    for (const Text text : {"12a", "-1", Text{}}) EXPECT_EQ(ox_isalldigit(text), 0);
    const tuple<Text, int32_t, int32_t> rows[] = {{" \t\r\n\x01\x7F", 6, 1},
                                                  {"\0\0", 2, 1},
                                                  {" x ", 3, 0},
                                                  {" x", 1, 1},
                                                  {"x", 0, 1},
                                                  {"x", -3, 1},
                                                  {"\x80\xE9\xFF", 3, 1},
                                                  {nullptr, 1, -1}};
    for (const auto& [bytes, n, blank] : rows) {
        EXPECT_EQ(MOLTE_STR_SBIsBlank(bytes, n), blank) << n;
        EXPECT_EQ(MOLTE_STR_MBIsBlank(bytes, n), blank) << n;
    }
}

TEST(KeptNames, GiveTheirFixedResults) {
    const tuple<Text, int32_t, int32_t, int32_t> rows[] = {
        {"abc", 3, 1, 0},   {"abc", 1, 3, 0},  {"abc", 0, -1, 0}, {"abc", 1, INT32_MAX, 0},
        {nullptr, 0, 1, 0}, {"abc", -1, 1, 0}, {"123", 0, 3, -1}};
    for (const auto& [text, pos, len, result] : rows) {
        EXPECT_EQ(ox_substr(text, pos, len), result) << pos << len;
        EXPECT_EQ(ox_part_atoi(text, pos, len), -1) << pos << len;
    }
}

}  // namespace
