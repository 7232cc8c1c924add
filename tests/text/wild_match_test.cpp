#include "wild_match_reference.h"

#include "pinyin_table.h"
#include "wild_samples.h"

namespace {

using testing::PrintToString;

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
    for (size_t i = 0; i < 8; ++i) all += std::to_string(wild_functions()[i].match(text, pattern));
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
        {"*.*", {"", "a", "abc"}, {}},
        {"a*b*cX", {"aXbXcX", "abcX"}, {"acbX"}},
        {".", {"", "a"}, {"ab"}},
        {"a.", {"a", "ab"}, {"", "abc"}},
        {"a..c", {"ac", "abc", "abbc"}, {"abbbc"}},
        {"?", {"a", "?"}, {"", "ab"}},
        {"\\a", {"b", "\\"}, {"a", "", "ab"}},  // the escape is inverted
        {"a\\", {}, {"a", "ab", "a\\"}},
        {"[a-c]", {"a", "b", "c"}, {"d", "-", ""}},
        {"[^a-c]", {"d", "^"}, {"b"}},
        {"[c-a]", {}, {"a", "b", "c"}},
        {"[a^]", {"a", "^"}, {"b"}},
        {"[^]", {}, {"^", "a", ""}},
        {"[]a]", {}, {"a", "]", "]a]"}},
        {"[a", {}, {"a", "["}},
        {"[a]b]", {"ab]"}, {"]", "a"}},
        {"[ba-]", {"b"}, {"a", "-"}},  // a hit before the range without end
        {"[--/]", {".", "-"}, {"a"}},
        {"[+-]]", {}, {",", "+", ",]"}},
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
        {"A", "\\a", "10111000"},
        {A1, "?", kWhole},
        {A1, "??", kBytes},
        {A1, "[^a]", kNone},
        {A1, "\\a", kNone},
        {"a", "\\" A1, kNone},
        {"x" A1, "x.", kNone},  // a last "." takes no double-byte character,
        {"x" A1, "x..", kAll},  // the one before does
        {"x" A1 "y", "x.y", kWhole},
        {A1, "*.", kBytes},
        {A1 A1, "*?*.", kAll},  // only behind the last one
        {A1, A1, kAll},
        {A1, A2, kRead},
        {A1, "\xB0\xA3", kNone},
        {"a", A1, kNone},
        {SLASH, SLASH, kWhole},  // as bytes the pattern ends in an escape
        {SLASH, SLASH "b", kBytes},
        {"a", "[a" BRACKET "]", kWhole},
        {"b", "[a" BRACKET "b]", kNone},
        {"c", "[a-" BRACKET "]", kNone},
        {"\x81", "\x81", kAll},           // a lead byte at the end is a byte
        {"\x81", "[\x80-\x82]", kBytes},  // by whole characters no "]" ends it
        {"\x81", "\\\x81", kNone},
    };
    for (const auto& [text, pattern, result] : cases) {
        EXPECT_EQ(results(text, pattern), result)
            << PrintToString(text) << " " << PrintToString(pattern);
    }
}

TEST(WildMatch, normal_patterns) {
    for (auto [pattern, normal] :
         {std::pair{"*a***b*"s, "*a*b*"}, {"**"s, "*"}, {"[**]a"s, "[*]a"}}) {
        EXPECT_EQ(ORVEX_NormalizeTempl(pattern.data()), 1);
        EXPECT_STREQ(pattern.c_str(), normal);
    }
    char empty[] = "";
    EXPECT_EQ(ORVEX_NormalizeTempl(empty) + ORVEX_NormalizeTempl(nullptr), 0);
}

// Text against pattern parts: all kinds; so few that they match more often; and a trail byte "*".
struct Parts {
    std::vector<std::string> texts, patterns;
};
const Parts kParts[] = {
    {{"a", "a", "b", "A", "c", "-", "\\", "]", "*", A1, A2, SLASH, BRACKET, "\x81"},
     {"*", "*", ".", ".", "?",    "[",    "]",     "[^",     "^", "-",   "\\",    "a",    "a",
      "A", "b", "c", A1,  "[ab]", "[^b]", "[a-b]", "[^A-b]", A2,  SLASH, BRACKET, "\x81", "\\a"}},
    {{"a", "b", A1}, {"*", "*", ".", ".", "?", "a", "[ab]", A1}},
    {{"a", "\x81*", "\x81"}, {"*", ".", "\x81*", "\x81"}}};

TEST(WildMatch, agrees_with_plain_recursion) {
    const PinyinTable table(kLines);
    Samples samples(43);
    int matched = 0;
    int compared = 0;
    for (int i = 0; i < 100000; ++i) {
        const bool gbk = i < 80000;
        if (i == 80000) OXLANG_SetLocale(OXLANG_ENGLISH);
        const Parts& parts = kParts[i % 3];
        const std::string text = samples.next(parts.texts, i % 16 != 0 ? 12 : 50);
        const std::string pattern = samples.next(parts.patterns, 10);
        const Exact exact_text(text);
        const Exact exact_pattern(pattern);
        const std::string both = " " + PrintToString(text) + " pattern " + PrintToString(pattern);
        for (size_t k = 0; k < wild_functions().size(); ++k) {
            const auto& [match, whole, single, pair] = wild_functions()[k];
            WildReference reference(whole && gbk, single, pair);
            asked.clear();
            const int32_t expected = reference.match(exact_text, exact_pattern);
            const auto plain = std::exchange(asked, {});
            if (reference.gave_up()) continue;
            ASSERT_EQ(match(exact_text, exact_pattern), expected) << "function " << k << both;
            // The same questions, perhaps without some at the end that lead nowhere.
            ASSERT_LE(asked.size(), plain.size()) << both;
            ASSERT_TRUE(std::equal(asked.begin(), asked.end(), plain.begin())) << both;
            matched += expected;
            ++compared;
        }
    }
    EXPECT_GT(compared, 990000);
    EXPECT_GT(matched, 100000);
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
        {text, times("*", 1000000) + "c", kNone},
        {text.substr(0, 1000), times(".", 1000000) + "c", kNone},
        {text, times("a.", 100000), kAll},
        {text, times("*a", 1000) + "c", kNone},
        {text + A1, "*a*.", kBytes},
        {times(A1, 50000), times("*" A1, 500), kAll},
    };
    const auto begin = std::chrono::steady_clock::now();
    for (const auto& [of, pattern, result] : cases) {
        EXPECT_EQ(results(Exact(of), Exact(pattern)), result) << pattern.substr(0, 8);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

}  // namespace
