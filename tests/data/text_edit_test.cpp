#include "support/test.h"

namespace {

// What an edit leaves of a text.
template <typename Edit, typename... Arguments>
std::string edited(const char* text, Edit edit, Arguments... arguments) {
    char copy[32] = {};
    strcpy(copy, text);
    EXPECT_EQ(edit(copy, arguments...), 1);
    return copy;
}

TEST(Trim, BytesAndBlanks) {
    const tuple<Text, Text, Text> rows[] = {
        {"xxaxbxx", "axbxx", "xxaxb"}, {"xxx", "", ""}, {"", "", ""}, {"ab", "ab", "ab"}};
    for (const auto& [text, left, right] : rows) {
        EXPECT_EQ(edited(text, MOLTE_STR_LeftTrim, 'x'), left);
        EXPECT_EQ(edited(text, MOLTE_STR_RightTrim, 'x'), right);
    }
    EXPECT_EQ(edited("ab", MOLTE_STR_LeftTrim, '\0'), "ab");
    const char* text = " \t\r\n\v\fab ";
    EXPECT_EQ(MOLTE_STR_LeftTrimSpace(text), text + 6);
    EXPECT_EQ(MOLTE_STR_LeftTrimSpace(nullptr), nullptr);
    EXPECT_EQ(edited(" a b\xA0 \t\r\n\v\f", MOLTE_STR_RightTrimSpace), " a b\xA0");
    EXPECT_EQ(edited("   ", MOLTE_STR_RightTrimSpace), "");
    EXPECT_EQ(MOLTE_STR_LeftTrim(nullptr, 'x') + MOLTE_STR_RightTrim(nullptr, 'x'), 0);
    EXPECT_EQ(MOLTE_STR_RightTrimSpace(nullptr), 0);
}

TEST(Trim, Sets) {
    const tuple<Text, Text, Text, Text> rows[] = {
        {"xyaxbyx", "xy", "axbyx", "xyaxb"},
        {"xyx", "yx", "", ""},
        {"xax", "", "xax", "xax"},
        {"", "x", "", ""},
        {"abc", "x", "abc", "abc"},
        // From the right, bytes from 128 up are signed and never found.
        {"\xE9z\xE9", "\xE9", "z\xE9", "\xE9z\xE9"}};
    for (const auto& [text, set, left, right] : rows) {
        EXPECT_EQ(edited(text, MOLTE_STR_LeftStrTrim, set), left) << text;
        EXPECT_EQ(edited(text, MOLTE_STR_RightStrTrim, set), right) << text;
    }
    for (const size_t size : {128U, 129U, 1000U}) {
        const std::string set = std::string(size - 1, 'y') + "x";
        EXPECT_EQ(edited("axyx", MOLTE_STR_RightStrTrim, set.c_str()), "a") << size;
    }
    EXPECT_EQ(MOLTE_STR_LeftStrTrim(nullptr, "x") + MOLTE_STR_RightStrTrim(nullptr, "x"), 0);
}

TEST(Cut, LeftTrunc) {
    const tuple<int32_t, int32_t, Text> rows[] = {{0, 5, "abcde"}, {0, -1, "abcde"}, {2, -1, "cde"},
                                                  {2, 5, "cde"},   {5, -1, ""},      {5, 5, ""},
                                                  {6, -1, ""},     {3, 2, ""},       {1, 3, "bc"}};
    for (const auto& [n, len, left] : rows) {
        EXPECT_EQ(edited("abcde", MOLTE_STR_LeftTrunc, n, len), left) << n << " " << len;
    }
    char text[] = "abc";
    EXPECT_EQ(error_of(MOLTE_STR_LeftTrunc(text, -1, 3)), "50 oxstring");
}

TEST(Pad, CutsOrFills) {
    const tuple<Text, int32_t, Text> rows[] = {{"ab", 4, "ab--\0###"},
                                               {"abcd", 4, "abcd\0###"},
                                               {"abcdef", 4, "abcd\0f\0#"},
                                               {"", 2, "--\0#####"},
                                               {"ab", 0, "\0b\0#####"}};
    for (const auto& [given, width, bytes] : rows) {
        char text[8];
        memset(text, '#', sizeof text);
        strcpy(text, given);
        EXPECT_EQ(MOLTE_STR_Padding(text, width, '-'), 1);
        EXPECT_EQ(memcmp(text, bytes, sizeof text), 0) << given << width;
    }
    EXPECT_EQ(MOLTE_STR_Padding(nullptr, 1, ' '), -1);
}

TEST(Replace, Bytes) {
    char text[] = "a.b.c";
    EXPECT_EQ(ox_str_replace(text, '.', '/'), 2);
    EXPECT_STREQ(text, "a/b/c");
    EXPECT_EQ(ox_str_replace(text, '/', 0), 2);
    EXPECT_EQ(memcmp(text, "a\0b\0c", 6), 0);
    EXPECT_EQ(ox_str_replace(nullptr, 'a', 'b'), 0);
}

TEST(Replace, Texts) {
    constexpr Text kNoRoom = "124 oxstring buffer not enough";
    const tuple<Text, Text, Text, int32_t, int32_t, Text> rows[] = {
        {"one TWO two", "two", "2", 32, 2, "one 2 2"},
        {"abc", "x", "y", 4, 0, "abc"},
        {"abc", "", "y", 32, 0, "abc"},
        {"aaa", "aa", "b", 32, 1, "ba"},
        {"aXa", "x", "", 32, 1, "aa"},
        {"ab", "ab", "c", 3, 1, "c"},
        {"a", "a", "12345678", 9, 1, "12345678"},
        {"abc", "x", "y", 3, -1, ""},            // no room for the rest: no report
        {"a", "a", "12345678", 8, -1, ""},       // nor for its terminator
        {"ab", "ab", "c", 2, -1, kNoRoom},       // though "c" has room
        {"a", "a", "12345678", 7, -1, kNoRoom},  // what the copy needs
        {"12345678a", "a", "", 6, -1, kNoRoom},
        {"a", "a", "b", 0, -1, kNoRoom}};
    for (const auto& [src, from, to, size, result, expected] : rows) {
        char dst[32];
        memset(dst, '#', sizeof dst);
        EXPECT_EQ(MOLTE_STR_ReplaceSubStr(src, from, to, dst, size), result) << src << size;
        const std::string error = taken_error();
        EXPECT_EQ(result < 0 ? error : dst, expected) << src << size;
        EXPECT_EQ(std::string(dst + size, dst + sizeof dst),
                  std::string(sizeof dst - static_cast<size_t>(size), '#'));
    }
    EXPECT_EQ(error_of(MOLTE_STR_ReplaceSubStr("a", "a", "b", nullptr, 4)), "50 oxstring");
}

}  // namespace
