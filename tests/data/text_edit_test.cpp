#include "moltelib.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/error_of.h"

namespace {

// What an edit leaves of a text.
template <typename Edit>
std::string edited(const char* text, Edit edit) {
    char copy[32] = {};
    strcpy(copy, text);
    EXPECT_EQ(edit(copy), 1);
    return copy;
}

TEST(Trim, Bytes) {
    const struct {
        const char* text;
        const char* left;
        const char* right;
    } rows[] = {{"xxaxbxx", "axbxx", "xxaxb"}, {"xxx", "", ""}, {"", "", ""}, {"ab", "ab", "ab"}};
    for (const auto& row : rows) {
        EXPECT_EQ(edited(row.text, [](char* s) { return MOLTE_STR_LeftTrim(s, 'x'); }), row.left);
        EXPECT_EQ(edited(row.text, [](char* s) { return MOLTE_STR_RightTrim(s, 'x'); }), row.right);
    }
    EXPECT_EQ(edited("ab", [](char* s) { return MOLTE_STR_LeftTrim(s, 0); }), "ab");
    EXPECT_EQ(MOLTE_STR_LeftTrim(nullptr, 'x'), 0);
    EXPECT_EQ(MOLTE_STR_RightTrim(nullptr, 'x'), 0);
}

TEST(Trim, Blanks) {
    const char* text = " \t\r\n\v\fab ";
    EXPECT_EQ(MOLTE_STR_LeftTrimSpace(text), text + 6);
    EXPECT_STREQ(MOLTE_STR_LeftTrimSpace("  "), "");
    EXPECT_EQ(MOLTE_STR_LeftTrimSpace(nullptr), nullptr);
    EXPECT_EQ(edited(" a b \t\r\n\v\f", MOLTE_STR_RightTrimSpace), " a b");
    EXPECT_EQ(edited(" \xA0 ", MOLTE_STR_RightTrimSpace), " \xA0");
    EXPECT_EQ(edited("   ", MOLTE_STR_RightTrimSpace), "");
    EXPECT_EQ(MOLTE_STR_RightTrimSpace(nullptr), 0);
}

TEST(Trim, Sets) {
    const struct {
        const char* text;
        const char* set;
        const char* left;
        const char* right;
    } rows[] = {{"xyaxbyx", "xy", "axbyx", "xyaxb"},
                {"xyx", "yx", "", ""},
                {"xax", "", "xax", "xax"},
                {"", "x", "", ""},
                {"abc", "x", "abc", "abc"},
                // From the right, bytes from 128 up are signed and never found.
                {"\xE9z\xE9", "\xE9", "z\xE9", "\xE9z\xE9"}};
    for (const auto& row : rows) {
        const auto left = [&](char* s) { return MOLTE_STR_LeftStrTrim(s, row.set); };
        const auto right = [&](char* s) { return MOLTE_STR_RightStrTrim(s, row.set); };
        EXPECT_EQ(edited(row.text, left), row.left) << row.text;
        EXPECT_EQ(edited(row.text, right), row.right) << row.text;
    }
    for (const size_t size : {128U, 129U, 1000U}) {
        const std::string set = std::string(size - 1, 'y') + "x";
        const auto right = [&](char* s) { return MOLTE_STR_RightStrTrim(s, set.c_str()); };
        EXPECT_EQ(edited("axyx", right), "a") << size;
    }
    char text[] = "a";
    EXPECT_EQ(MOLTE_STR_LeftStrTrim(nullptr, "x"), 0);
    EXPECT_EQ(MOLTE_STR_RightStrTrim(text, nullptr), 0);
}

TEST(Cut, LeftTrunc) {
    const struct {
        int32_t n;
        int32_t len;
        const char* left;
    } rows[] = {{0, 5, "abcde"}, {0, -1, "abcde"}, {2, -1, "cde"}, {2, 5, "cde"}, {5, -1, ""},
                {5, 5, ""},      {6, -1, ""},      {3, 2, ""},     {1, 3, "bc"}};
    for (const auto& row : rows) {
        const auto cut = [&](char* s) { return MOLTE_STR_LeftTrunc(s, row.n, row.len); };
        EXPECT_EQ(edited("abcde", cut), row.left) << row.n << " " << row.len;
    }
    char text[] = "abc";
    EXPECT_EQ(MOLTE_STR_LeftTrunc(text, -1, 3), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxstring");
    EXPECT_EQ(MOLTE_STR_LeftTrunc(nullptr, 1, 3), -1);
}

TEST(Pad, CutsOrFills) {
    const struct {
        const char* text;
        int32_t width;
        const char* bytes;
    } rows[] = {{"ab", 4, "ab--\0###"},
                {"abcd", 4, "abcd\0###"},
                {"abcdef", 4, "abcd\0f\0#"},
                {"", 2, "--\0#####"},
                {"ab", 0, "\0b\0#####"}};
    for (const auto& row : rows) {
        char text[8];
        memset(text, '#', sizeof text);
        strcpy(text, row.text);
        EXPECT_EQ(MOLTE_STR_Padding(text, row.width, '-'), 1);
        EXPECT_EQ(memcmp(text, row.bytes, sizeof text), 0) << row.text << row.width;
    }
    char text[] = "abc";
    EXPECT_EQ(MOLTE_STR_Padding(text, -1, ' '), -1);
    EXPECT_EQ(MOLTE_STR_Padding(nullptr, 1, ' '), -1);
}

TEST(Replace, Bytes) {
    char text[] = "a.b.c";
    EXPECT_EQ(ox_str_replace(text, '.', '/'), 2);
    EXPECT_STREQ(text, "a/b/c");
    EXPECT_EQ(ox_str_replace(text, 'x', '/'), 0);
    EXPECT_EQ(ox_str_replace(text, '/', 0), 2);
    EXPECT_EQ(memcmp(text, "a\0b\0c", 6), 0);
    EXPECT_EQ(ox_str_replace(nullptr, 'a', 'b'), 0);
}

TEST(Replace, Texts) {
    const struct {
        const char* src;
        const char* from;
        const char* to;
        int32_t size;
        int32_t result;
        const char* dst;  // null: whatever
        const char* error;
    } rows[] = {
        {"one TWO two", "two", "2", 32, 2, "one 2 2", ""},
        {"abc", "x", "y", 32, 0, "abc", ""},
        {"abc", "", "y", 32, 0, "abc", ""},
        {"aaa", "aa", "b", 32, 1, "ba", ""},
        {"aXa", "x", "", 32, 1, "aa", ""},
        {"abc", "x", "y", 4, 0, "abc", ""},
        {"abc", "x", "y", 3, -1, nullptr, ""},                                // the rest: no report
        {"ab", "ab", "c", 2, -1, nullptr, "124 oxstring buffer not enough"},  // room for "c" indeed
        {"ab", "ab", "c", 3, 1, "c", ""},
        {"a", "a", "12345678", 8, -1, nullptr, ""},  // fills all, no room for the terminator
        {"a", "a", "12345678", 9, 1, "12345678", ""},
        {"a", "a", "12345678", 7, -1, nullptr, "124 oxstring buffer not enough"},
        {"12345678a", "a", "", 6, -1, nullptr, "124 oxstring buffer not enough"},
        {"a", "a", "b", 0, -1, nullptr, "124 oxstring buffer not enough"},
    };
    for (const auto& row : rows) {
        char dst[32];
        memset(dst, '#', sizeof dst);
        ORVEX_Err_ClearError();
        EXPECT_EQ(MOLTE_STR_ReplaceSubStr(row.src, row.from, row.to, dst, row.size), row.result)
            << row.src << row.size;
        if (row.dst != nullptr) {
            EXPECT_STREQ(dst, row.dst);
        }
        EXPECT_EQ(GetRvexErrNo() != 0 ? error_of_this_thread() : "", row.error) << row.src;
        EXPECT_EQ(std::string(dst + row.size, dst + sizeof dst),
                  std::string(sizeof dst - static_cast<size_t>(row.size), '#'));
    }
    char dst[4];
    EXPECT_EQ(MOLTE_STR_ReplaceSubStr(nullptr, "a", "b", dst, 4), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxstring");
}

}  // namespace
