#include "support/test.h"

namespace {

TEST(Find, Positions) {
    const tuple<Text, Text, int32_t, int32_t> rows[] = {
        {"abc", "", -1, -1},   {"", "a", -1, -1},         {"aab", "ab", 1, 1},
        {"xaAb", "AB", 2, -1}, {"abc", "abc", 0, 0},      {"ab", "abc", -1, -1},
        {"ABab", "ab", 0, 2},  {"a\xE9", "\xC9", -1, -1}, {nullptr, "a", -1, -1}};
    for (const auto& [text, sub, folded, exact] : rows) {
        EXPECT_EQ(MOLTE_STR_FindSubStr(text, sub), folded) << sub;
        EXPECT_EQ(MOLTE_STR_FindSubStrWithCase(text, sub), exact) << sub;
    }
    const char* text = "abcabd";
    EXPECT_EQ(ox_strstr(text, "abd"), text + 3);
    EXPECT_EQ(ox_mbstrstr(text, "abd"), text + 3);
    EXPECT_EQ(ox_mbstrstr(text, "x"), nullptr);
    EXPECT_EQ(MOLTE_STR_Chr(text, 'd'), text + 5);
    EXPECT_EQ(MOLTE_STR_Chr(text, 'x'), nullptr);
    EXPECT_EQ(MOLTE_STR_Chr(text, 0), nullptr);
    EXPECT_EQ(MOLTE_STR_Chr(nullptr, 'a'), nullptr);
}

OXSTR_REGOBJ pattern_of(const char* pattern, bool all, int32_t start = 0) {
    OXSTR_REGOBJ reg{};
    reg.pszPattern = pattern;
    reg.bAllMatches = all ? 1 : 0;
    reg.nStartOffset = start;
    return reg;
}

TEST(RegFind, Matches) {
    const tuple<Text, Text, bool, int32_t, int32_t, std::vector<int32_t>> rows[] = {
        {"xabyab", "ab", false, 0, 1, {1, 3}}, {"xabyab", "ab", true, 0, 2, {1, 3, 4, 6}},
        {"xabyab", "ab", true, 2, 1, {4, 6}},  {"aaaaa", "aa", true, 0, 2, {0, 2, 2, 4}},
        {"abc", "AB", true, 0, 0, {}},         {"ab", "abc", true, 0, 0, {}},
        {"ab", "b", true, 2, 0, {}},           {"ab", "b", true, 3, 0, {}},
        {"ab", "", false, 1, 1, {1, 1}}};
    for (const auto& [text, pattern, all, start, result, expected] : rows) {
        const OXSTR_REGOBJ reg = pattern_of(pattern, all, start);
        OXSTR_MATCHLIST list{};
        list.bCanGrow = 1;
        EXPECT_EQ(MOLTE_STR_REG_Find(text, &reg, &list), result) << text;
        std::vector<int32_t> places;
        for (int32_t i = 0; i < list.nCount; ++i) {
            places.insert(places.end(), {list.pMatch[i].nStart, list.pMatch[i].nEnd});
        }
        EXPECT_EQ(places, expected) << text << " " << pattern;
        EXPECT_EQ(MOLTE_STR_REG_Find(text, &reg, nullptr), result > 0 ? 1 : 0);
        ORVEX_free(list.pMatch);
    }
    const OXSTR_REGOBJ none = pattern_of(nullptr, false);
    const OXSTR_REGOBJ before = pattern_of("a", false, -1);
    for (const OXSTR_REGOBJ* bad : {&none, &before, static_cast<const OXSTR_REGOBJ*>(nullptr)}) {
        EXPECT_EQ(error_of(MOLTE_STR_REG_Find("a", bad, nullptr)), "50 oxstring");
    }
}

TEST(RegFind, ListsGrowByEightOrFillUp) {
    const OXSTR_REGOBJ reg = pattern_of("a", true);
    OXSTR_MATCHLIST list{};
    list.bCanGrow = 1;
    EXPECT_EQ(MOLTE_STR_REG_Find("aaaaaaaaa", &reg, &list), 9);
    EXPECT_EQ(list.nCapacity, 16);
    EXPECT_EQ(list.pMatch[8].nStart, 8);
    ORVEX_free(list.pMatch);

    const OXSTR_REGOBJ empty = pattern_of("", true);
    OXSTR_MATCH room[2] = {};
    OXSTR_MATCHLIST fixed{room, 0, 2, 0, {}};
    ORVEX_Err_ClearError();
    EXPECT_EQ(MOLTE_STR_REG_Find("aaaa", &empty, &fixed), -1);
    EXPECT_EQ(fixed.nCount, 2);
    EXPECT_EQ(GetRvexErrNo(), 0U) << "a full list is no error";

    OXSTR_MATCHLIST largest{room, INT32_MAX / 8, INT32_MAX / 8, 1, {}};
    EXPECT_EQ(error_of(MOLTE_STR_REG_Find("aaaa", &empty, &largest)),
              "20 oxsysutl Size O=2147483640 S=64");
    EXPECT_EQ(largest.pMatch, room);
}

TEST(RegReplace, InPlace) {
    const std::string xs(4093, 'x');
    const tuple<std::string, Text, Text, bool, int32_t, std::string> rows[] = {
        {"one two two", "two", "2", false, 0, "one 2 two"},
        {"one two two", "two", "three", true, 0, "one three three"},
        {"one two two", "two", "TWO", true, 5, "one two TWO"},
        {"abc", "x", "y", true, 0, "abc"},
        {"abc", "abc", "", true, 0, ""},
        {"aabb", "ab", "", true, 0, ""},        // what a replacement brings together is found too
        {"aab", "ab", "b", true, 0, "b"},       // and so is what it brings in
        {"abcabc", "abc", "x", true, 0, "xx"},  // and nothing of the old bytes behind the end
        {"xab", "ab", "", true, 0, "x"},
        {"ab", "ab", "ab", true, 0, "ab"},  // a text replaced by itself ends
        {"a" + xs, "a", "bbb", true, 0, "bbb" + xs}};
    for (const auto& [text, pattern, replacement, all, start, expected] : rows) {
        OXSTR_STROBJ object;
        ASSERT_EQ(OXSTR_STROBJ_Init(&object, 0), 1);
        OXSTR_STROBJ_Append(&object, text.data(), static_cast<int32_t>(text.size()));
        OXSTR_REGOBJ reg = pattern_of(pattern, all, start);
        EXPECT_EQ(MOLTE_STR_REG_Replace(&object, &reg, replacement), 1) << text;
        EXPECT_EQ(std::string(object.pBuf, static_cast<size_t>(object.nLen)), expected);
        EXPECT_EQ(reg.bAllMatches, all ? 1 : 0);
        EXPECT_EQ(object.nCapacity, 4096 + (text.size() > 4000 ? ((2 + 15) / 16 + 8) * 16 : 0));
        OXSTR_STROBJ_Free(&object);
    }
    char buffer[] = "abcdef";
    OXSTR_STROBJ object{buffer, 6, 7, 0, 0, {}};
    OXSTR_REGOBJ reg = pattern_of("bcd", false);
    EXPECT_EQ(MOLTE_STR_REG_Replace(&object, &reg, "X"), 1);
    EXPECT_STREQ(buffer, "aXefef") << "no terminator is written";
}

TEST(RegReplace, EndsWhereItCannotGrow) {
    char buffer[8] = "ab";
    OXSTR_STROBJ fixed{buffer, 2, 8, 0, 0, {}};
    OXSTR_REGOBJ reg = pattern_of("a", true);
    ORVEX_Err_ClearError();
    EXPECT_EQ(MOLTE_STR_REG_Replace(&fixed, &reg, "aa"), -1);
    EXPECT_EQ(GetRvexErrNo(), 0U);
    EXPECT_EQ(fixed.nLen, 7);
    EXPECT_STREQ(buffer, "aaaaaab");
    EXPECT_EQ(reg.bAllMatches, 0) << "left cleared, as its users know it";

    // A text as long as an object can be; only its head is there to be read.
    OXSTR_STROBJ huge{buffer, INT32_MAX - 1, INT32_MAX, 1, 0, {}};
    reg = pattern_of("a", true);
    EXPECT_EQ(error_of(MOLTE_STR_REG_Replace(&huge, &reg, "aa")),
              "20 oxsysutl Size O=2147483647 S=144");
    EXPECT_EQ(huge.pBuf, buffer);
    EXPECT_EQ(huge.nLen, INT32_MAX - 1);
    EXPECT_EQ(reg.bAllMatches, 1);
    EXPECT_EQ(error_of(MOLTE_STR_REG_Replace(nullptr, &reg, "a")), "50 oxstring");
}

}  // namespace
