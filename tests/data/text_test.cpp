#include "support/called.h"

namespace {

constexpr int sign(int32_t value) {
    return (value > 0) - (value < 0);
}

std::string told_of(int32_t result, const char* text) {
    return std::to_string(result) + " " + text;
}

const Calls kCalls = {
    {"strncpy",
     [](const Texts& row) {
         char text[] = "#####";
         const int32_t result = ORVEX_strncpy(text, "abc", std::stoi(row[0]));
         return std::to_string(result) + " " + std::string(text, 5);
     }},
    {"copyto",
     [](const Texts& row) {
         char text[8] = "#######";
         const int32_t result = ox_copyto(text, std::stoi(row[0]), row[1].c_str(), ';');
         return told_of(result, text);
     }},
    {"copytoesc",
     [](const Texts& row) {
         char text[8] = "#######";
         const int32_t result = ox_copytoesc(text, std::stoi(row[0]), row[1].c_str(), ';', '^');
         return told_of(result, text);
     }},
    {"stricmp",
     [](const Texts& row) {
         const Text a = text_or_null(row[0]);
         const Text b = text_or_null(row[1]);
         EXPECT_EQ(MOLTE_STR_IsSamePath(a, b), MOLTE_STR_stricmp(a, b));
         return std::to_string(sign(MOLTE_STR_stricmp(a, b)));
     }},
    {"strncmp",
     [](const Texts& row) {
         return std::to_string(sign(MOLTE_STR_strncmp(row[0].c_str(), std::stoi(row[1]),
                                                      row[2].c_str(), std::stoi(row[3]))));
     }},
    {"head", called<MOLTE_STR_HeadIs, ox_strstartwith>},
    {"behind the head", called<ox_striphead>},
    {"tail", called<ox_strendwith>},
    {"blank", called<MOLTE_STR_SBIsBlank, MOLTE_STR_MBIsBlank>},
    {"length within", called<ox_limstrlen>},
    {"all digits", called<ox_isalldigit>},
    {"part", called<ox_substr>},
    {"part as number", called<ox_part_atoi>},
};

TEST(Texts, Rows) {
    check_rows(TEST_ROWS, kCalls);
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

TEST(Copy, AppendsAndDuplicates) {
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
    for (const auto& [limit, length] : {std::pair(4, 3), {3, -1}, {-1, -1}}) {
        EXPECT_EQ(ox_limstrlenW(L"abc", limit), length);
    }
    const char unterminated[3] = {'a', 'b', 'c'};
    EXPECT_EQ(ox_limstrlen(unterminated, 3), -1) << "reads no further than the limit";
}

}  // namespace
