#include "moltelib.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/error_of.h"

namespace {

std::string last_error() {
    const std::string error = GetRvexErrNo() != 0 ? error_of_this_thread() : "";
    ORVEX_Err_ClearError();
    return error;
}

TEST(Format, ResultsOfABoundedText) {
    const struct {
        int32_t size;
        int32_t result;
        const char* error;
        const char* bytes;
    } rows[] = {{6, 4, "", "abcd\0#"}, {5, 4, "", "abcd\0#"}, {4, -1, "501 oxstring", "abcd##"},
                {3, -1, "", "abc###"}, {0, -1, "", "######"}, {-1, -1, "50 oxstring", "######"}};
    last_error();
    for (const auto& row : rows) {
        char text[6];
        memset(text, '#', sizeof text);
        EXPECT_EQ(ox_snprintf(text, row.size, "%s%s", "abc", "d"), row.result) << row.size;
        EXPECT_EQ(memcmp(text, row.bytes, sizeof text), 0) << row.size;
        EXPECT_EQ(last_error(), row.error) << row.size;
    }
    EXPECT_EQ(ox_snprintf(nullptr, 0, "%d", 123), 3);
    EXPECT_EQ(ox_snprintf(nullptr, 5, "%d", 123), -1);
    EXPECT_EQ(last_error(), "50 oxstring");

    wchar_t wide[8] = L"#######";
    EXPECT_EQ(ox_snprintfW(wide, 7, L" %s%hs%d", L"ab", "c", 12), 6);
    EXPECT_STREQ(wide, L" abc12");
    EXPECT_EQ(ox_snprintfW(wide, 6, L" %s%hs%d", L"ab", "c", 12), -1);
    EXPECT_EQ(last_error(), "501 oxstring");
    EXPECT_LT(ox_snprintfW(wide, 3, L"%s", L"abcd"), 0);
    EXPECT_EQ(last_error(), "");
}

TEST(Copy, StandardCopies) {
    char text[8];
    memset(text, '#', sizeof text);
    EXPECT_EQ(ox_strncpy(text, "ab", 4), text);
    EXPECT_EQ(memcmp(text, "ab\0\0####", 8), 0);
    EXPECT_EQ(ox_strncpy(text, "wxyz", 2), text);
    EXPECT_EQ(memcmp(text, "wx\0\0", 4), 0);
    EXPECT_EQ(ox_strncat(text, "1234", 3), text);
    EXPECT_STREQ(text, "wx123");
    wchar_t wide[8] = L"#######";
    EXPECT_EQ(ox_strncpyW(wide, L"ab", 4), wide);
    EXPECT_EQ(wmemcmp(wide, L"ab\0\0###", 8), 0);
    EXPECT_STREQ(ox_strncatW(wide, L"123", 2), L"ab12");
}

TEST(Copy, AlwaysTerminated) {
    const struct {
        int32_t n;
        int32_t result;
        const char* bytes;
    } rows[] = {{-1, 0, "#####"}, {0, 0, "#####"},  {1, 1, "\0####"},
                {3, 1, "ab\0##"}, {4, 1, "abc\0#"}, {5, 1, "abc\0#"}};
    for (const auto& row : rows) {
        char text[] = "#####";
        EXPECT_EQ(ORVEX_strncpy(text, "abc", row.n), row.result) << row.n;
        EXPECT_EQ(memcmp(text, row.bytes, 5), 0) << row.n;
    }
    EXPECT_EQ(ORVEX_strncpy(nullptr, "a", 2), -1);
    EXPECT_EQ(last_error(), "50 oxstring");
}

TEST(Copy, Duplicates) {
    char* copy = ORVEX_StrDup("abc");
    EXPECT_STREQ(copy, "abc");
    ORVEX_free(copy);
    EXPECT_EQ(ORVEX_StrDup(nullptr), nullptr);
    copy = ox_strdup(nullptr);
    EXPECT_STREQ(copy, "");
    ORVEX_free(copy);
    copy = ox_strdup("x");
    EXPECT_STREQ(copy, "x");
    ORVEX_free(copy);
}

TEST(Length, BoundedAndNot) {
    EXPECT_EQ(ox_strlen(nullptr), 0);
    EXPECT_EQ(ox_strlenW(nullptr), 0);
    EXPECT_EQ(ox_strlen("abc"), 3);
    EXPECT_EQ(ox_strlenW(L"abcd"), 4);
    const struct {
        const char* text;
        const wchar_t* wide;
        int32_t limit;
        int32_t result;
    } rows[] = {{"", L"", 0, -1},       {"", L"", 1, 0},        {"abc", L"abc", 4, 3},
                {"abc", L"abc", 3, -1}, {"abc", L"abc", 2, -1}, {"abc", L"abc", -1, -1}};
    for (const auto& row : rows) {
        EXPECT_EQ(ox_limstrlen(row.text, row.limit), row.result) << row.text << row.limit;
        EXPECT_EQ(ox_limstrlenW(row.wide, row.limit), row.result) << row.text << row.limit;
    }
    const char unterminated[3] = {'a', 'b', 'c'};
    EXPECT_EQ(ox_limstrlen(unterminated, 3), -1) << "reads no further than the limit";
}

TEST(CopyTo, StopsAndBounds) {
    const struct {
        int32_t size;
        const char* src;
        int32_t result;
        const char* dst;  // null: untouched
    } rows[] = {{8, "ab;cd", 2, "ab"},  {8, "abcd", 4, "abcd"}, {5, "abcd;", 4, "abcd"},
                {5, "abcd", 4, "abcd"}, {4, "abcd", -1, "abc"}, {8, ";ab", 0, nullptr},
                {8, "", 0, nullptr},    {1, "a", -1, nullptr},  {1, ";a", 0, nullptr},
                {1, "", 0, nullptr},    {0, "a", 0, nullptr},   {-1, "a", 0, nullptr}};
    for (const auto& row : rows) {
        char dst[8] = "#######";
        EXPECT_EQ(ox_copyto(dst, row.size, row.src, ';'), row.result) << row.src << row.size;
        EXPECT_STREQ(dst, row.dst != nullptr ? row.dst : "#######") << row.src << row.size;
        memset(dst, '#', 7);
        EXPECT_EQ(ox_copytoesc(dst, row.size, row.src, ';', '^'), row.result) << row.src;
        EXPECT_STREQ(dst, row.dst != nullptr ? row.dst : "#######") << row.src << row.size;
    }
}

TEST(CopyTo, Escapes) {
    const struct {
        int32_t size;
        const char* src;
        int32_t result;
        const char* dst;
    } rows[] = {{8, "a^;b;c", 3, "a;b"}, {8, "a^^b", 3, "a^b"}, {8, "a^xb", 3, "axb"},
                {8, "ab^", 2, "ab"},     {8, "^", 0, nullptr},  {4, "a^;b;", 3, "a;b"},
                {3, "a^;b;", -1, "a;"},  {3, "a^;", 2, "a;"},   {3, "ab^", -1, "ab"},
                {1, "^;", -1, nullptr}};
    for (const auto& row : rows) {
        char dst[8] = "#######";
        EXPECT_EQ(ox_copytoesc(dst, row.size, row.src, ';', '^'), row.result) << row.src;
        EXPECT_STREQ(dst, row.dst != nullptr ? row.dst : "#######") << row.src;
    }
}

TEST(Compare, WithoutCaseAndWithNull) {
    const struct {
        const char* a;
        const char* b;
        int sign;
    } rows[] = {{"AbC", "aBc", 0}, {"a", "B", -1},        {"b", "A", 1},     {"ab", "a", 1},
                {"", "", 0},       {nullptr, nullptr, 1}, {nullptr, "a", 0}, {"a", nullptr, 0}};
    for (const auto& row : rows) {
        for (const auto compare : {MOLTE_STR_stricmp, MOLTE_STR_IsSamePath}) {
            const int32_t result = compare(row.a, row.b);
            EXPECT_EQ((result > 0) - (result < 0), row.sign);
        }
    }
    EXPECT_EQ(MOLTE_STR_stricmp(nullptr, nullptr), 1);
}

TEST(Compare, FieldsOfGivenLength) {
    const struct {
        const char* a;
        int32_t size_a;
        const char* b;
        int32_t size_b;
        int sign;
    } rows[] = {
        {"abc", 3, "abc", 3, 0},  {"abc", 3, "abd", 3, -1},  {"abd", 2, "abc", 2, 0},
        {"ab", 2, "abc", 3, -1},  {"abc", 3, "ab", 2, 1},    {"ab", 2, "ab\0c", 4, 0},
        {"ab\0c", 4, "ab", 2, 0}, {"abX", 2, "abc", 3, -1},  {"b", 1, "abc", 3, 1},
        {"ab", 3, "ab", 100, 0},  {"", 0, "a", 1, -1},       {"a", 1, "", 0, 1},
        {"a", -5, "b", -1, 0},    {"a\0x", 3, "a\0y", 2, 0},
    };
    for (const auto& row : rows) {
        const int32_t result = MOLTE_STR_strncmp(row.a, row.size_a, row.b, row.size_b);
        EXPECT_EQ((result > 0) - (result < 0), row.sign) << row.a << " " << row.b << row.size_b;
    }
    EXPECT_EQ(MOLTE_STR_strncmp("ab", 2, "abz", 3), -1);
    EXPECT_EQ(MOLTE_STR_strncmp("abz", 3, "ab", 2), 1);
}

TEST(Questions, HeadAndTail) {
    const struct {
        const char* text;
        const char* part;
        int32_t head;
        int32_t tail;
    } rows[] = {{"abcab", "ab", 1, 1},   {"abc", "abc", 1, 1}, {"ab", "abc", 0, 0},
                {"abc", "bc", 0, 1},     {"abc", "", 1, 1},    {"", "", 1, 1},
                {"abc", "AB", 0, 0},     {nullptr, "a", 0, 0}, {"a", nullptr, 0, 0},
                {nullptr, nullptr, 0, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(MOLTE_STR_HeadIs(row.text, row.part), row.head);
        EXPECT_EQ(ox_strstartwith(row.text, row.part), row.head);
        EXPECT_EQ(ox_strendwith(row.text, row.part), row.tail);
        const char* behind = row.head != 0 ? row.text + strlen(row.part) : nullptr;
        EXPECT_EQ(ox_striphead(row.text, row.part), behind);
    }
}

TEST(Questions, DigitsAndBlanks) {
    EXPECT_EQ(ox_isalldigit(""), 1);
    EXPECT_EQ(ox_isalldigit("0123456789"), 1);
    EXPECT_EQ(ox_isalldigit("12a"), 0);
    EXPECT_EQ(ox_isalldigit("-1"), 0);
    EXPECT_EQ(ox_isalldigit(nullptr), 0);
    const struct {
        const char* bytes;
        int32_t n;
        int32_t blank;
    } rows[] = {{" \t\r\n\x01\x7F", 6, 1},
                {"\0\0", 2, 1},
                {" x ", 3, 0},
                {" x", 1, 1},
                {"x", 0, 1},
                {"x", -3, 1},
                {"\x80\xE9\xFF", 3, 1}};
    for (const auto& row : rows) {
        EXPECT_EQ(MOLTE_STR_SBIsBlank(row.bytes, row.n), row.blank) << row.bytes;
        EXPECT_EQ(MOLTE_STR_MBIsBlank(row.bytes, row.n), row.blank) << row.bytes;
    }
    EXPECT_EQ(MOLTE_STR_SBIsBlank(nullptr, 0), 1);
    EXPECT_EQ(MOLTE_STR_MBIsBlank(nullptr, 1), -1);
    EXPECT_EQ(last_error(), "50 oxstring");
}

TEST(KeptNames, GiveTheirFixedResults) {
    const struct {
        const char* text;
        int32_t pos;
        int32_t len;
        int32_t substr;
        int32_t atoi;
    } rows[] = {{"abc", 3, 1, 0, -1},  {"abc", 4, 0, 0, -1},   {"abc", 1, 3, 0, -1},
                {"abc", 0, -1, 0, -1}, {"abc", 0, 128, 0, -1}, {"abc", 1, INT32_MAX, 0, -1},
                {"abc", -1, 1, 0, -1}, {nullptr, 0, 1, 0, -1}, {"123", 0, 3, -1, -1}};
    for (const auto& row : rows) {
        EXPECT_EQ(ox_substr(row.text, row.pos, row.len), row.substr) << row.pos << row.len;
        EXPECT_EQ(ox_part_atoi(row.text, row.pos, row.len), row.atoi) << row.pos << row.len;
    }
}

}  // namespace
