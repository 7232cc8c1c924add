#include "exact.h"
#include "in_bytes.h"
#include "pinyin_table.h"
#include "support/rows.h"

namespace {

// a1 and a2 share CHANG, a3 is by itself.
constexpr char kLines[] = "zhe\xB0\xA1\nchang\xB0\xA1\xB0\xA2\nsan\xB0\xA3\n";

#define A1 "\xB0\xA1"

std::string results(const char* pattern, const char* text) {
    std::string all;
    for (auto match : {ORVEX_WildMatch, ORVEX_Ci_WildMatch, ORVEX_MB_WildMatch,
                       ORVEX_MB_WildPyMatch, ORVEX_MB_WildVarPyMatch, ORVEX_MB_Ci_WildMatch,
                       ORVEX_MB_Ci_WildPyMatch, ORVEX_MB_Ci_WildVarPyMatch}) {
        all += std::to_string(match(text, pattern));
    }
    return all;
}

std::string matching(const Texts& row) {
    return results(Exact(row[0]), Exact(row[1]));
}

// Routines that are no order at all; what the first is asked is written down.
std::string asked;
int32_t odd_single(int32_t c, int32_t pattern) {
    char question[32];
    std::snprintf(question, sizeof question, "%x:%x ", static_cast<unsigned>(c),
                  static_cast<unsigned>(pattern));
    asked += question;
    return (c | 32) == (pattern | 32) ? 0 : (c * 7 + pattern * 13) % 4 - 1;
}
int32_t odd_pair(int32_t c, int32_t pattern) {
    return (c & 0xFF) - (pattern & 0xF0);
}

// Perhaps without some questions at the end that lead nowhere.
std::string questions(const Texts& row) {
    asked.clear();
    const int32_t result = OCOLL_MB_WildMatch(Exact(row[1]), Exact(row[0]), odd_single, odd_pair);
    asked.insert(0, std::to_string(result) + " ");
    return row.back().starts_with(asked) ? row.back() : asked;
}

TEST(WildMatch, rows) {
    const PinyinTable table(kLines);
    check_rows(TEST_ROWS, {{"matching", matching},
                           {"matching in bytes", in_bytes<matching>},
                           {"asked", questions},
                           {"asked in bytes", in_bytes<questions>}});
    EXPECT_EQ(results("", nullptr) + results(nullptr, ""), std::string(16, '0'));
    EXPECT_EQ(OCOLL_SB_WildMatch("a", "a", nullptr), 0);
    EXPECT_EQ(OCOLL_SB_WildMatch("A", "a", odd_single), 1);
    EXPECT_EQ(OCOLL_MB_WildMatch(A1, A1, odd_single, nullptr), 0);
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

}  // namespace
