#include "wild_template_reference.h"

#include "support/test.h"
#include "wild_samples.h"

namespace {

using testing::PrintToString;

#define A1 "\xB0\xA1"
#define A2 "\xB0\xA2"
#define SLASH "\x81\x5C"    // the trail byte is "\"
#define BRACKET "\x81\x5D"  // and "]"
#define TRAIL_A "\x81\x61"  // and "a"

class WildTemplate : public testing::Test {
 protected:
    WildTemplate() {
        OXLANG_SetLocale(OXLANG_CHINESE);
        ORVEX_Err_ClearError();
    }
};

struct Compiled {
    explicit Compiled(const char* pattern) { result = MOLTE_CompileTempl(pattern, &templ); }
    ~Compiled() { MOLTE_WMTEMPL_Free(&templ); }
    Compiled(const Compiled&) = delete;
    Compiled& operator=(const Compiled&) = delete;

    [[nodiscard]] int32_t match(const char* text) const {
        return MOLTE_CompiledWildMatch(&templ, text);
    }

    MOLTE_WMTEMPL templ = {7, reinterpret_cast<MOLTE_WMSUBSTR*>(&templ)};  // not to be freed
    int32_t result = 0;
};

// What a pattern becomes, or its error.
std::string compiled(const std::string& pattern) {
    const Compiled templ{Exact(pattern)};
    if (templ.result == 1) return described_template(templ.templ);
    EXPECT_EQ(templ.result, -1);
    EXPECT_EQ(templ.templ.nSubStr, 0);
    EXPECT_EQ(templ.templ.pSubStr, nullptr);
    return taken_error();
}

TEST_F(WildTemplate, compiling) {
    const std::vector<tuple<std::string, std::string>> cases = {
        {"", ""},
        {"a*.?..*", "r(a1:a)*r(?1:)*"},
        {"a...b", "r(a1:a).r(a1:b)"},
        {"ab?[^c]??*.\\*d", "r(a2:ab)(?1:)([^1:c)(?2:)*r(a2:*d)"},
        {"]^-", "r(a3:]^-)"},
        {A1 "x?" SLASH, "r(am3:" A1 "x)(?1:)(am2:" SLASH ")"},
        {"\\" A1 "\\\\\\[", "r(am4:" A1 "\\[)"},
        {"a*b\\", "r(a1:a)*r(a2:b\0)"s},
        {"[", "r([0:)"},
        {"[]a]", "r([0:)(a2:a])"},
        {"[^]x", "r([^0:)(a1:x)"},
        {"[a^*.?[]", "r([6:a^*.?[)"},
        {"[\\]\\-\\\\]", "r([3:]-\\)"},
        {"[A-C0-2]", "r([6:ABC012)"},
        {"[a-c-e]", "r([4:abce)"},
        {"[c-a]", "r([1:c)"},
        {"[\\a-c]", "r([3:abc)"},
        {"[^a" BRACKET "b]", "r([^m4:a" BRACKET "b)"},
        {"[\\" A1, "r([m2:" A1 ")"}};
    for (const auto& [pattern, result] : cases) {
        EXPECT_EQ(compiled(pattern), result) << PrintToString(pattern);
    }
    // The last three bad ranges: one that goes on from "{", and ends of two bytes.
    const std::vector<tuple<Text, Texts>> faults = {
        {"101 ocollate",
         {"[a-C]", "[0-a]", "[-a]", "[a-]", "[a-", "[a-\\b]", "[+-/]", "[x-z-z]", "[" TRAIL_A "-c]",
          "[a-" TRAIL_A "]"}},
        {"420 ocollate", {"a*[b\\", "[\\"}},
        {"421 ocollate bad hz", {"a?*[b\x81", "a[\\\x81"}},
        {"422 ocollate", {"*b?a\x81", "\\\x81"}}};
    for (const auto& [error, patterns] : faults) {
        for (const std::string& pattern : patterns) EXPECT_EQ(compiled(pattern), error) << pattern;
    }
    EXPECT_EQ(compiled("[" + std::string(32767, 'x')).size(), 32767U + 10);
    EXPECT_EQ(compiled("[" + std::string(32768, 'x')), "50 ocollate");
    MOLTE_WMTEMPL templ;
    EXPECT_EQ(error_of(MOLTE_CompileTempl(nullptr, &templ)), "50 ocollate");
    EXPECT_EQ(error_of(MOLTE_CompileTempl("a", nullptr)), "50 ocollate");
    EXPECT_EQ(MOLTE_WMTEMPL_Free(nullptr), 0);
}

TEST_F(WildTemplate, matching) {
    struct Case {
        Text pattern;
        Texts matching, others;
    };
    const Case cases[] = {
        {"", {"", "abc", A1}, {}},
        {"abc", {"abc", ""}, {"ABC", "abcd", "ab"}},  // a lone run: also the empty text
        {"a\\*b", {"a*b"}, {"axb", "ab"}},
        {"ab?", {"abc", "ab" A1, "ab\x81"}, {"ab", "abcd"}},
        {"a.b", {"ab", "axb", "a" A1 "b"}, {"axxb", "a", ""}},
        {"a.", {"a", "ab", "abcd"}, {"", "ba"}},
        {"*abc", {"xabc", "abc", "abcabc"}, {"abcx", "bc", ""}},
        {"*a*b", {"aab"}, {"aa", "ba"}},
        {"a*b*c", {"abcabc", "abc"}, {"acb", "abcab"}},
        {"*ab*c.d", {"abcd", "xabxcd"}, {"abcxd", "ab"}},  // "." adds nothing to the tail
        {"*?ab*", {"xabz", "aab"}, {"xyabz", "ab"}},
        {"*a[bc]*", {"xacx", "xaxab"}, {"xaxa"}},  // goes on behind a hit
        {"a*ab", {"ab", "aab"}, {"a", "b"}},
        {"a\\", {""}, {"a", "ab"}},
        {"*a\\", {}, {"", "a", "ba"}},
        {"[^a]", {"b", A1}, {"", "a", "bb"}},
        {"[", {""}, {"a", "["}},
        {"[^", {"a", "]", A1}, {"", "ab"}},
        {"[^a]*", {"", "b", "bcd"}, {"a"}},  // takes the end of the text
        {"*[^a]", {"b", "ab"}, {"", "a", "ba"}},
        {".[^a]", {"b", "ab"}, {"", "a", "aa", "xb"}},
        {"[" A1 "a]", {A1, "a", ""}, {A2, "\xA1", "\xB0"}},
        {"[^" A1 "a]", {A2, "b", "\x81"}, {A1, "a", ""}},
        {"[ab]", {"a", ""}, {A1, TRAIL_A}},
        {"*a*", {"xax", TRAIL_A}, {"x"}},  // a literal of single bytes is found in any byte
        {"a*[bc" A1 "]", {"axb", "ab"}, {"a", "abx"}},  // class counts as four
    };
    for (const auto& [pattern, matching, others] : cases) {
        const Compiled templ(pattern);
        for (const std::string& text : matching) {
            EXPECT_EQ(templ.match(Exact(text)), 1)
                << PrintToString(pattern) << " " << PrintToString(text);
        }
        for (const std::string& text : others) {
            EXPECT_EQ(templ.match(Exact(text)), 0)
                << PrintToString(pattern) << " " << PrintToString(text);
        }
        EXPECT_EQ(templ.match(nullptr), *pattern == '\0' ? 1 : 0) << pattern;
    }
    EXPECT_EQ(MOLTE_CompiledWildMatch(nullptr, ""), 0);
    EXPECT_EQ(taken_error(), "");
}

TEST_F(WildTemplate, parts_of_matching) {
    struct Case {
        Text pattern, text;
        int32_t at_head, found, offset;  // -1: not written
    };
    const Case cases[] = {{"ab", "xab", 0, 2, 1},
                          {"a[c]", "aabac", 0, 2, 3},
                          {"ab?cd", "xabyabzcd", 0, 5, 4},
                          {"a?cd", "abcd", 4, 4, -1},
                          {"a?cd", "xabcd", 0, 0, -1},
                          {"?a", A1 "a", 3, 3, -1},
                          {"??", A1, 0, 0, -1},
                          {"[c]", A1 "bc", 0, 1, 3},
                          {"[^a]", "", 1, 0, -1},
                          {"[^a][^a]", "", 0, 0, -1},
                          {"a\\", "xa", 0, 2, 1},
                          {A1, "\xA1\xB0\xA1\xB0" A1, 0, 2, 4},
                          {"\xA1\xB0", A1 A1, 0, 0, -1}};
    for (const Case& c : cases) {
        const Compiled templ(c.pattern);
        const auto& [type, count, elements] = templ.templ.pSubStr[0];
        const Exact text(c.text);
        int32_t offset = -1;
        EXPECT_EQ(MOLTE_WMCHAR_ForewardMatch(elements, count, text), c.at_head) << c.pattern;
        EXPECT_EQ(MOLTE_WMCHAR_StrMatch(elements, count, text, &offset), c.found) << c.pattern;
        EXPECT_EQ(offset, c.offset) << c.pattern;
        EXPECT_EQ(MOLTE_WMCHAR_StrMatch(elements, count, text, nullptr), c.found);
        EXPECT_EQ(MOLTE_WMCHAR_ForewardMatch(elements, 0, text), 0);
        EXPECT_EQ(MOLTE_WMCHAR_ForewardMatch(elements, count, nullptr), 0);
        EXPECT_EQ(MOLTE_WMCHAR_StrMatch(elements, count, nullptr, &offset), 0);
    }
    EXPECT_EQ(MOLTE_UTIL_RecurWMatch(nullptr, 0, ""), 1);
    EXPECT_EQ(MOLTE_UTIL_RecurWMatch(nullptr, -1, "a"), 0);
    const std::string types = "/09:@AZ[`az{";
    std::string found;
    for (const char c : types) found += std::to_string(MOLTE_UTIL_CharType(c));
    EXPECT_EQ(found, "033002200110");
    EXPECT_EQ(MOLTE_UTIL_CharType(0x8161) + MOLTE_UTIL_CharType('a' - 256), 0);
}

TEST_F(WildTemplate, pieces_made_by_hand) {
    char abc[] = "abc";
    MOLTE_WMCHAR elements[] = {{3, 0, 0, MOLTE_WMCHAR_LITERAL, nullptr},
                               {3, 1, 0, MOLTE_WMCHAR_CLASS, nullptr},
                               {-2, 0, 0, MOLTE_WMCHAR_LITERAL, abc},
                               {-2, 0, 0, MOLTE_WMCHAR_CLASS, abc},
                               {-2, 0, 0, MOLTE_WMCHAR_ANY, nullptr}};
    std::vector<MOLTE_WMCHAR*> pointers = {nullptr};
    for (MOLTE_WMCHAR& element : elements) pointers.push_back(&element);
    int32_t offset = 0;
    for (MOLTE_WMCHAR* element : pointers) {
        EXPECT_EQ(MOLTE_WMCHAR_ForewardMatch(element, 1, "abc"), 0);
        EXPECT_EQ(MOLTE_WMCHAR_StrMatch(element, 1, "abc", &offset), 0);
        for (const int32_t kind : {1, 2, 3}) {
            const MOLTE_WMSUBSTR pieces[] = {{kind, 0, nullptr}, {3, 1, element}, {1, 0, nullptr}};
            EXPECT_EQ(MOLTE_UTIL_RecurWMatch(pieces, 2, "abc"), 0);
            EXPECT_EQ(MOLTE_UTIL_RecurWMatch(pieces, 3, "abc"), 0);
        }
    }
    EXPECT_EQ(MOLTE_UTIL_RecurWMatch(nullptr, 2, "abc"), 0);
    MOLTE_WMSUBSTR piece = {3, 2, nullptr};
    MOLTE_WMTEMPL templ = {3, nullptr};
    EXPECT_EQ(MOLTE_CompiledWildMatch(&templ, "abc"), 0);
    EXPECT_EQ(MOLTE_WMSUBSTR_Free(&piece) + MOLTE_WMTEMPL_Free(&templ), 0);
}

TEST_F(WildTemplate, parts_of_compiling) {
    PA text;
    PA elements;
    PA pieces;
    PA_Init(&text, 1, 0);
    PA_Init(&elements, sizeof(MOLTE_WMCHAR), 0);
    PA_Init(&pieces, sizeof(MOLTE_WMSUBSTR), 0);
    MOLTE_WMCHAR element = {};
    MOLTE_WMSUBSTR piece = {};
    PA_MultiAppend(&text, std::string(32768, 'x').data(), 32768);
    EXPECT_EQ(MOLTE_UTIL_FinWmChar(&elements, &element, &text), 0);  // it has no kind
    EXPECT_EQ(MOLTE_UTIL_FinSubStr(&pieces, &elements, &piece), 0);
    element.nType = MOLTE_WMCHAR_LITERAL;
    EXPECT_EQ(error_of(MOLTE_UTIL_FinWmChar(&elements, &element, &text)), "50 ocollate");
    EXPECT_EQ(error_of(MOLTE_UTIL_FinWmChar(nullptr, &element, &text)), "50 ocollate");
    EXPECT_EQ(error_of(MOLTE_UTIL_FinSubStr(nullptr, &elements, &piece)), "50 ocollate");
    text.nCount = 2;
    EXPECT_EQ(error_of(MOLTE_UTIL_FinWmChar(&text, &element, &text)), "50 ocollate");
    piece.nType = MOLTE_WMSUBSTR_FIXED;
    EXPECT_EQ(error_of(MOLTE_UTIL_FinSubStr(&elements, &text, &piece)), "50 ocollate");
    EXPECT_EQ(MOLTE_UTIL_FinWmChar(&elements, &element, &text), 1);
    EXPECT_EQ(element.nType + text.nCount, 0);
    element = {4, 0, 0, MOLTE_WMCHAR_ANY, nullptr};
    EXPECT_EQ(MOLTE_UTIL_FinWmChar(&elements, &element, &text), 1);
    piece.nType = MOLTE_WMSUBSTR_ANY;
    EXPECT_EQ(MOLTE_UTIL_FinSubStr(&pieces, &elements, &piece), 1);
    piece.nType = MOLTE_WMSUBSTR_FIXED;
    EXPECT_EQ(MOLTE_UTIL_FinSubStr(&pieces, &elements, &piece), 1);
    EXPECT_EQ(bytes_of(piece), std::string(sizeof piece, '\0'));
    EXPECT_EQ(elements.nCount, 0);
    MOLTE_WMTEMPL templ = {pieces.nCount, static_cast<MOLTE_WMSUBSTR*>(pieces.pData)};
    EXPECT_EQ(described_template(templ), "*r(a2:xx)(?4:)");

    EXPECT_EQ(MOLTE_WMCHAR_Free(templ.pSubStr[1].pChar), 0);
    EXPECT_EQ(described_template(templ), "*r(a0:)(?4:)");
    EXPECT_EQ(MOLTE_WMSUBSTR_Free(templ.pSubStr + 1), 0);
    EXPECT_EQ(bytes_of(templ.pSubStr[1]), std::string(sizeof piece, '\0'));
    EXPECT_EQ(MOLTE_WMTEMPL_Free(&templ), 0);
    EXPECT_EQ(templ.nSubStr, 0);
    EXPECT_EQ(templ.pSubStr, nullptr);
    EXPECT_EQ(MOLTE_WMCHAR_Free(nullptr) + MOLTE_WMSUBSTR_Free(nullptr), 0);
    PA_Release(&text);
    PA_Release(&elements);
}

TEST_F(WildTemplate, agrees_with_its_rules) {
    const std::vector<std::string> pattern_parts = {
        "*", "*",    ".",    "?",     "[",         "]",         "[^", "-", "\\", "a",     "a",  "b",
        "A", "[ab]", "[^b]", "[a-c]", "[^" A1 "]", "[" A2 "b]", A1,   A1,  A2,   TRAIL_A, "\\*"};
    const std::vector<std::string> text_parts = {"a", "a", "b",   "c",     "A",     "*",
                                                 A1,  A2,  SLASH, BRACKET, TRAIL_A, "\x81"};
    Samples samples(45);
    int matched = 0;
    int failed = 0;
    for (int i = 0; i < 100000; ++i) {
        const bool gbk = i < 80000;
        if (i == 80000) OXLANG_SetLocale(OXLANG_ENGLISH);
        std::string pattern = samples.next(pattern_parts, 10);
        if (i % 16 == 0) pattern += '\x81';
        const TemplateReference reference(pattern, gbk);
        const Compiled templ{Exact(pattern)};
        if (templ.result < 0 || reference.error() != 0) {
            ASSERT_EQ(static_cast<int32_t>(GetRvexErrNo()), reference.error())
                << PrintToString(pattern);
            ORVEX_Err_ClearError();
            ++failed;
            continue;
        }
        ASSERT_EQ(described_template(templ.templ), reference.described()) << PrintToString(pattern);
        for (int k = 0; k < 3; ++k) {
            const std::string text = samples.next(text_parts, k < 2 ? 12 : 60);
            const bool expected = reference.matches(text + '\0');
            matched += expected ? 1 : 0;
            ASSERT_EQ(templ.match(Exact(text)), expected ? 1 : 0)
                << "pattern " << PrintToString(pattern) << " text " << PrintToString(text);
        }
    }
    EXPECT_GT(matched, 40000);
    EXPECT_GT(failed, 5000);
}

TEST_F(WildTemplate, long_patterns) {
    const std::string literal(40000, 'x');
    const Compiled literals(literal.c_str());
    ASSERT_EQ(literals.result, 1);
    EXPECT_EQ(literals.templ.pSubStr->nChar, 2);
    EXPECT_EQ(literals.match(literal.c_str()), 1);
    EXPECT_EQ(literals.match((literal + "x").c_str()), 0);
    const Compiled any(std::string(40000, '?').c_str());
    EXPECT_EQ(any.match(literal.c_str()), 1);
    EXPECT_EQ(any.match(literal.c_str() + 1), 0);
    const std::string pairs(40000, '\xB0');
    const Compiled whole(pairs.c_str());
    ASSERT_EQ(whole.result, 1);
    EXPECT_EQ(whole.templ.pSubStr->pChar->nLen, 32766);  // a character isn't parted
    EXPECT_EQ(whole.match(pairs.c_str()), 1);
    EXPECT_EQ(compiled(std::string(1000000, '*')), "*");
    std::string dots;
    for (int i = 0; i < 20000; ++i) dots += "a.";
    EXPECT_EQ(Compiled(dots.c_str()).match(dots.c_str()), 1);
}

}  // namespace
