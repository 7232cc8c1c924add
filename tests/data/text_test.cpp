#include "support/called.h"

namespace {

constexpr int sign(int32_t value) {
    return (value > 0) - (value < 0);
}

// A result and what is then in a field.
std::string with(int32_t result, std::string_view field) {
    return outcome(result) + " " + std::string(field);
}

const Calls kCalls = {
    {"strncpy", called<[](int32_t n) {
         char text[] = "#####";
         return with(ORVEX_strncpy(text, "abc", n), {text, 5});
     }>},
    {"copyto", called<[](int32_t size, Text source) {
         char text[8] = "#######";
         return with(ox_copyto(text, size, source, ';'), {text, 7});
     }>},
    {"copytoesc", called<[](int32_t size, Text source) {
         char text[8] = "#######";
         return with(ox_copytoesc(text, size, source, ';', '^'), {text, 7});
     }>},
    {"print", called<[](int32_t size, Text a, Text b) {
         char text[] = "######";
         return with(ox_snprintf(text, size, "%s%s", a, b), {text, 6});
     }>},
    {"print nowhere",
     called<[](int32_t size, int32_t number) { return ox_snprintf(nullptr, size, "%d", number); }>},
    {"stricmp", called<[](Text a, Text b) {
         EXPECT_EQ(MOLTE_STR_IsSamePath(a, b), MOLTE_STR_stricmp(a, b));
         return sign(MOLTE_STR_stricmp(a, b));
     }>},
    {"strncmp", called<[](Text a, int32_t a_length, Text b, int32_t b_length) {
         return sign(MOLTE_STR_strncmp(a, a_length, b, b_length));
     }>},
    {"length", called<ox_strlen>},
    {"wide length", called<ox_strlenW>},
    {"wide length within", called<ox_limstrlenW>},
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
    const char unterminated[3] = {'a', 'b', 'c'};
    EXPECT_EQ(ox_limstrlen(unterminated, 3), -1) << "reads no further than the limit";
}

TEST(Format, Wide) {
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

}  // namespace
