#include "pinyin_table.h"
#include "support/called.h"

namespace {

// a1 ZHE, a2 ZHE and CHANG, a3 ZO, a4 SAN. As text ZHE is below ZO; by its shengmu ZH is above Z.
constexpr char kLines[] = "zhe\xB0\xA1\xB0\xA2\nchang\xB0\xA2\nzo\xB0\xA3\nsan\xB0\xA4\n";

TEST(Collation, pinyin_before_the_table_is_built) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    for (const OCOLL_CHARCMP compare :
         {OCOLL_DB_CharPyCmp, OCOLL_DB_CharAVarPyCmp, OCOLL_DB_CharBVarPyCmp}) {
        EXPECT_EQ(compare(0xB0A3, 0xB0A1), 2);
        EXPECT_EQ(compare(0xFFFF, 0), 0xFFFF);
    }
}

int32_t first_minus_second(int32_t a, int32_t b) {
    return a - b;
}
int32_t second_minus_first(int32_t a, int32_t b) {
    return b - a;
}

// What a routine was asked, and how often it still says "equal".
std::vector<std::pair<int32_t, int32_t>> asked;
int equal_times;
int32_t equal_for_a_while(int32_t a, int32_t b) {
    asked.emplace_back(a, b);
    return equal_times-- > 0 ? 0 : -7;
}
int32_t never_asked(int32_t, int32_t) {
    ADD_FAILURE();
    return 99;
}

TEST(Collation, characters_of_both_widths) {
    const auto compare = OCOLL_MB_CharCmp;
    EXPECT_EQ(compare('a', 1, 'c', 1, first_minus_second, never_asked), -2);
    EXPECT_EQ(compare(0xB0A1, 2, 0xB0A3, 2, never_asked, second_minus_first), 2);
    EXPECT_EQ(compare(0xFFFF, 1, 0, 2, never_asked, never_asked), -1);
    EXPECT_EQ(compare(0, 2, 0xFFFF, 1, never_asked, never_asked), 1);
}

std::string texts(const Texts& row) {
    const Text a = text_or_null(row[0]);
    const Text b = text_or_null(row[1]);
    const int32_t variant_ci = OCOLL_MB_StrAVarPyCiCmp(a, b);
    const int32_t variant_cs = OCOLL_MB_StrAVarPyCsCmp(a, b);
    EXPECT_EQ(OCOLL_MB_StrBVarPyCiCmp(a, b), variant_ci);
    EXPECT_EQ(OCOLL_MB_StrBVarPyCsCmp(a, b), variant_cs);
    std::string all;
    for (const int32_t order :
         {UTIL_MB_StrCmp(a, b, first_minus_second, second_minus_first), OCOLL_MB_StrPyCiCmp(a, b),
          OCOLL_MB_StrPyCsCmp(a, b), variant_ci, variant_cs}) {
        all += std::to_string(order) + " ";
    }
    return all;
}

TEST(Collation, rows) {
    const PinyinTable table(kLines);
    check_rows(TEST_ROWS, {{"keys", called<MOLTE_CompKey, OCOLL_MB_StrBinCmp, OCOLL_SB_StrBinCmp>},
                           {"texts", texts},
                           {"OCOLL_SB_CharCiCmp", called<OCOLL_SB_CharCiCmp>},
                           {"OCOLL_SB_CharBinCmp", called<OCOLL_SB_CharBinCmp>},
                           {"OCOLL_DB_CharBinCmp", called<OCOLL_DB_CharBinCmp>},
                           {"OCOLL_DB_CharPyCmp", called<OCOLL_DB_CharPyCmp>},
                           {"OCOLL_DB_CharVarPyCmp", called<OCOLL_DB_CharVarPyCmp>},
                           {"OCOLL_DB_CharAVarPyCmp", called<OCOLL_DB_CharAVarPyCmp>},
                           {"OCOLL_DB_CharBVarPyCmp", called<OCOLL_DB_CharBVarPyCmp>}});
    EXPECT_EQ(OCOLL_SB_StrCiCmp("ABC", "abc"), 0);
    EXPECT_LT(OCOLL_SB_StrCiCmp("abc", "ABD"), 0);
    EXPECT_EQ(OCOLL_SB_StrCiCmp(nullptr, nullptr), 1);
    EXPECT_EQ(OCOLL_SB_StrCiCmp(nullptr, "a"), 0);
    OXLANG_SetLocale(OXLANG_ENGLISH);
    EXPECT_EQ(OCOLL_SB_CharCiCmp(0xE4, 0xC4), 0);
    EXPECT_EQ(OCOLL_SB_CharCiCmp(0xF7, 0xD7), 0x20);
}

// Equal ones are compared again and again: two texts that begin alike never come back.
TEST(Collation, texts_are_their_first_characters) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    asked.clear();
    equal_times = 3;
    EXPECT_EQ(UTIL_MB_StrCmp("xy", "xz", equal_for_a_while, never_asked), -7);
    EXPECT_EQ(asked, decltype(asked)(4, {'x', 'x'}));
    asked.clear();
    equal_times = 2;
    EXPECT_EQ(UTIL_MB_StrCmp("\x81\x5Cx", "\xB0\xA1", never_asked, equal_for_a_while), -7);
    EXPECT_EQ(asked, decltype(asked)(3, {0x815C, 0xB0A1}));
}

// Not in a table: that may hold another address of an imported function than the library gives.
TEST(Collation, selection) {
    const Installation installation;
    const auto routine = [](int32_t language, int32_t latin, int32_t multibyte) {
        OXLANG_LID_Set(OXLANG_KIND_DEFAULT, language);
        OXLANG_LID_Set(OXLANG_KIND_MESSAGE, 2052 + 1033 - language);  // makes no difference
        return ORVEX_UTIL_GetWildMatchRoutine(latin, multibyte);
    };
    EXPECT_EQ(routine(2052, 3, 53), &ORVEX_MB_WildVarPyMatch);
    EXPECT_EQ(routine(2052, 3, 52), &ORVEX_MB_WildPyMatch);
    EXPECT_EQ(routine(2052, 3, 51), &ORVEX_MB_WildMatch);
    EXPECT_EQ(routine(2052, 1, 53), &ORVEX_MB_Ci_WildVarPyMatch);
    EXPECT_EQ(routine(2052, 0, 52), &ORVEX_MB_Ci_WildPyMatch);
    EXPECT_EQ(routine(2052, 2, 50), &ORVEX_MB_Ci_WildMatch);
    EXPECT_EQ(routine(1033, 3, 53), &ORVEX_WildMatch);
    EXPECT_EQ(routine(1033, 1, 52), &ORVEX_Ci_WildMatch);
    EXPECT_EQ(routine(10, 4, 53), &ORVEX_Ci_WildMatch);
    for (const int32_t latin : {0, 1, 2, 4, -1}) {
        EXPECT_EQ(ORVEX_UTIL_GetLatCmpRoutine(latin), &OCOLL_SB_CharCiCmp) << latin;
    }
    EXPECT_EQ(ORVEX_UTIL_GetLatCmpRoutine(3), &OCOLL_DB_CharBinCmp);
    EXPECT_EQ(ORVEX_UTIL_GetMBCmpRoutine(), &OCOLL_DB_CharBinCmp);
}

}  // namespace
