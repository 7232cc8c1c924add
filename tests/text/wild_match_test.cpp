#include "wild_match_reference.h"

#include "pinyin_table.h"
#include "wild_samples.h"

namespace {

// a1 and a2 share CHANG, a3 is by itself.
constexpr char kLines[] = "zhe\xB0\xA1\nchang\xB0\xA1\xB0\xA2\nsan\xB0\xA3\n";

#define A1 "\xB0\xA1"
#define A2 "\xB0\xA2"
#define SLASH "\x81\x5C"    // the trail byte is "\"
#define BRACKET "\x81\x5D"  // and "]"

// Results in the order of wild_functions(): Wild, Ci, then MB, by reading twice, and these Ci.
constexpr char kAll[] = "11111111";
constexpr char kNone[] = "00000000";
constexpr char kCase[] = "01000111";  // without case only
constexpr char kWhole[] = "00111111";
constexpr char kBytes[] = "11000000";
constexpr char kRead[] = "00011011";  // by reading only

std::string results(const char* text, const char* pattern) {
    std::string all;
    for (const WildFunction& function : wild_functions()) {
        all += std::to_string(function.match(text, pattern));
    }
    return all;
}

TEST(WildMatch, language) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    struct Case {
        Text pattern;
        Texts matching, others;
    };
    const Case cases[] = {
        {"", {"", "abc"}, {}},
        {"abc", {"abc"}, {"ab", "abcd", "xbc", ""}},
        {"*", {"", "abc"}, {}},
        {"*.*", {"", "a", "abc"}, {}},
        {"*a", {"a", "ba"}, {"", "ab"}},
        {"a**..", {"a", "abcd"}, {"b"}},
        {"*ab?", {"abcabd", "abc"}, {"abab"}},
        {"a*b*cX", {"aXbXcX", "abcX"}, {"acbX"}},
        {".", {"", "a"}, {"ab"}},
        {"a.", {"a", "ab"}, {"", "abc"}},
        {"a..", {"a", "abc"}, {"abcd"}},
        {"a..c", {"ac", "abc", "abbc"}, {"abbbc"}},
        {"?", {"a", "?"}, {"", "ab"}},
        {"\\a", {"b", "\\"}, {"a", "", "ab"}},  // the escape is inverted
        {"\\*", {"a"}, {"*"}},
        {"a\\", {}, {"a", "ab", "a\\"}},
        {"[a-c]", {"a", "b", "c"}, {"d", "-", ""}},
        {"[^a-c]", {"d", "^"}, {"b"}},
        {"[c-a]", {}, {"a", "b", "c"}},
        {"[^c-a]", {"b"}, {""}},
        {"[a^]", {"a", "^"}, {"b"}},
        {"[^]", {}, {"^", "a", ""}},
        {"[]a]", {}, {"a", "]", "]a]"}},
        {"[a", {}, {"a", "["}},
        {"[a]b]", {"ab]"}, {"]", "a"}},
        {"[ba-]", {"b"}, {"a", "-"}},  // a hit before the range without end
        {"[^ba-]", {}, {"b", "c", "-"}},
        {"[-a]", {"-", "a"}, {"b"}},
        {"[--/]", {".", "-"}, {"a"}},
        {"[a-c-e]", {"b", "-", "e"}, {"d"}},
        {"[\\*]", {"\\", "*"}, {"a"}},
    };
    for (const auto& [pattern, matching, others] : cases) {
        for (const std::string& text : matching) {
            EXPECT_EQ(results(text.c_str(), pattern), kAll) << pattern << " " << text;
        }
        for (const std::string& text : others) {
            EXPECT_EQ(results(text.c_str(), pattern), kNone) << pattern << " " << text;
        }
        EXPECT_EQ(results(nullptr, pattern) + results("", nullptr), kNone + std::string(kNone));
    }
}

TEST(WildMatch, what_parts_the_functions) {
    const PinyinTable table(kLines);
    const tuple<Text, Text, Text> cases[] = {
        // text, pattern
        {"abc", "aBc", kCase},
        {"B", "[a-c]", kCase},
        {"A", "\\a", "10111000"},
        {A1, "?", kWhole},
        {A1, "??", kBytes},
        {A1, "[^a]", kNone},
        {A1, "\\a", kNone},
        {"a", "\\" A1, kNone},
        {"x" A1, "x.", kNone},  // a last "." takes no double-byte character,
        {"x" A1, "x..", kAll},  // the one before does
        {"x" A1 "y", "x.y", kWhole},
        {A1 A1 "y", "*y", kAll},
        {A1, "*.", kBytes},
        {A1 A1, "*?*.", kAll},  // only behind the last one
        {A1 "a" A1, "*" A1 "*.", kAll},
        {A1, A1, kAll},
        {A1, A2, kRead},
        {A1, "\xB0\xA3", kNone},
        {A1, "*\xA1", kBytes},
        {"a", A1, kNone},
        {SLASH, SLASH, kWhole},  // as bytes the pattern ends in an escape
        {SLASH, SLASH "b", kBytes},
        {"a", "[a" BRACKET "]", kWhole},
        {"b", "[a" BRACKET "b]", kNone},
        {"b", "[^" BRACKET "a]", kNone},
        {"c", "[a-" BRACKET "]", kNone},
        {"\x81", "\x81", kAll},  // a lead byte at the end is a byte
        {"\x81", "?", kAll},
        {"\x81", "[\x80-\x82]", kBytes},  // by whole characters no "]" ends it
        {"\x81", "\\\x81", kNone},
        {"a\x81", "a.", kAll},
    };
    for (const auto& [text, pattern, result] : cases) {
        EXPECT_EQ(results(text, pattern), result) << shown(text) << " " << shown(pattern);
    }
}

TEST(WildMatch, normal_patterns) {
    const tuple<std::string, Text> cases[] = {{"a***b", "a*b"}, {"*", "*"},
                                              {"**", "*"},      {"*a**.**", "*a*.*"},
                                              {"[**]", "[*]"},  {"abc", "abc"}};
    for (auto [pattern, normal] : cases) {
        EXPECT_EQ(ORVEX_NormalizeTempl(pattern.data()), 1);
        EXPECT_STREQ(pattern.c_str(), normal);
    }
    char empty[] = "";
    EXPECT_EQ(ORVEX_NormalizeTempl(empty) + ORVEX_NormalizeTempl(nullptr), 0);
}

const std::vector<std::string> kPatternParts = {
    "*", "*", ".", ".",    "?",    "[",     "]",      "[^", "^", "-",   "\\",    "a",    "a",
    "A", "b", "c", "[ab]", "[^b]", "[a-b]", "[^A-b]", A1,   A2,  SLASH, BRACKET, "\x81", "\\a"};
const std::vector<std::string> kTextParts = {"a", "a", "b", "A", "c",   "-",     "\\",
                                             "]", "*", A1,  A2,  SLASH, BRACKET, "\x81"};
// So few that they match more often.
const std::vector<std::string> kFewPatternParts = {"*", "*", ".", ".", "?", "a", "[ab]", A1};
const std::vector<std::string> kFewTextParts = {"a", "b", A1};
constexpr int64_t kSteps = 20000;

TEST(WildMatch, agrees_with_plain_recursion) {
    const PinyinTable table(kLines);
    Samples samples(43);
    int matched = 0;
    int compared = 0;
    for (int i = 0; i < 100000; ++i) {
        const bool gbk = i < 80000;
        if (i == 80000) OXLANG_SetLocale(OXLANG_ENGLISH);
        const std::string text =
            samples.next(i % 2 == 0 ? kTextParts : kFewTextParts, i % 16 != 0 ? 12 : 50);
        const std::string pattern = samples.next(i % 2 == 0 ? kPatternParts : kFewPatternParts, 10);
        const Exact exact_text(text);
        const Exact exact_pattern(pattern);
        for (size_t k = 0; k < wild_functions().size(); ++k) {
            const auto& [match, whole, single, pair] = wild_functions()[k];
            WildReference reference(whole && gbk, single, pair, kSteps);
            const int32_t expected = reference.match(exact_text, exact_pattern);
            if (reference.gave_up()) continue;
            ASSERT_EQ(match(exact_text, exact_pattern), expected)
                << "function " << k << " text " << shown(text) << " pattern " << shown(pattern);
            matched += expected;
            ++compared;
        }
    }
    EXPECT_GT(compared, 790000);
    EXPECT_GT(matched, 80000);
}

// Routines that are no order at all, and write down what they are asked.
using Calls = std::vector<std::pair<int32_t, int32_t>>;
Calls asked;
int32_t odd_single(int32_t c, int32_t pattern) {
    asked.emplace_back(c, pattern);
    return (c | 32) == (pattern | 32) ? 0 : (c * 7 + pattern * 13) % 4 - 1;
}
int32_t odd_pair(int32_t c, int32_t pattern) {
    return (c & 0xFF) - (pattern & 0xF0);
}

TEST(WildMatch, asks_routines_in_the_order_of_plain_recursion) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    Samples samples(44);
    for (int i = 0; i < 100000; ++i) {
        const bool many_ways = i % 8 == 0;
        const std::string text = samples.next(i % 2 == 0 ? kFewTextParts : kTextParts, 12);
        const std::string pattern =
            many_ways ? samples.next(kFewPatternParts, 30) : samples.next(kPatternParts, 10);
        const std::string both = " text " + shown(text) + " pattern " + shown(pattern);
        WildReference whole(true, odd_single, odd_pair, kSteps);
        const int32_t expected_whole = whole.match(text.c_str(), pattern.c_str());
        asked.clear();
        WildReference bytes(false, odd_single, nullptr, kSteps);
        const int32_t expected = bytes.match(text.c_str(), pattern.c_str());
        const Calls plain = std::exchange(asked, {});
        if (whole.gave_up() || bytes.gave_up()) continue;
        ASSERT_EQ(OCOLL_SB_WildMatch(text.c_str(), pattern.c_str(), odd_single), expected) << both;
        if (!many_ways) {  // the same calls, perhaps without some at the end that lead nowhere
            ASSERT_LE(asked.size(), plain.size()) << both;
            ASSERT_TRUE(std::equal(asked.begin(), asked.end(), plain.begin())) << both;
        }
        ASSERT_EQ(OCOLL_MB_WildMatch(text.c_str(), pattern.c_str(), odd_single, odd_pair),
                  expected_whole)
            << both;
    }
    EXPECT_EQ(OCOLL_SB_WildMatch("a", "a", nullptr), 0);
    EXPECT_EQ(OCOLL_MB_WildMatch(A1, A1, odd_single, nullptr), 0);
}

std::string times(const std::string& part, int count) {
    std::string all;
    while (--count >= 0) all += part;
    return all;
}

// Neither the stack nor the time gives out.
TEST(WildMatch, long_patterns) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    const std::string text = times("ab", 100000);
    const tuple<std::string, std::string, Text> cases[] = {
        {text, times("*", 1000000), kAll},
        {text, times("*", 1000000) + "c", kNone},
        {text, times(".", 1000000), kAll},
        {text.substr(0, 1000), times(".", 1000000) + "c", kNone},
        {text, times("a.", 100000), kAll},
        {text, times("a.", 100000) + "c", kNone},
        {text, times("*a", 1000) + "c", kNone},
        {text, times("?", 200000), kAll},
        {"a", "[" + times("b", 1000000) + "a]", kAll},
        {times(A1, 50000), times("*" A1, 500), kAll},
    };
    for (const auto& [of, pattern, result] : cases) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(results(Exact(of), Exact(pattern)), result) << pattern.substr(0, 8);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        EXPECT_LT(took.count(), 8.0) << pattern.substr(0, 8);  // for all eight
    }
    for (const int stars : {12, 13}) {  // tried in order, and all at once
        const std::string pattern = times("*a", stars) + "b";
        const std::string some = times("a", 5000);
        EXPECT_EQ(OCOLL_SB_WildMatch(some.c_str(), pattern.c_str(), OCOLL_DB_CharBinCmp), 0);
        EXPECT_EQ(OCOLL_MB_WildMatch(some.c_str(), pattern.c_str(), OCOLL_DB_CharBinCmp,
                                     OCOLL_DB_CharBinCmp),
                  0);
    }
}

}  // namespace
