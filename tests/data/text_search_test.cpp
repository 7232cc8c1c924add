#include "support/called.h"

namespace {

OXSTR_REGOBJ pattern_of(const char* pattern, bool all, int32_t start = 0) {
    OXSTR_REGOBJ reg{};
    reg.pszPattern = pattern;
    reg.bAllMatches = all ? 1 : 0;
    reg.nStartOffset = start;
    return reg;
}

std::string matches(const Texts& row) {
    const OXSTR_REGOBJ reg = pattern_of(row[1].c_str(), row[2] == "1", std::stoi(row[3]));
    OXSTR_MATCHLIST list{};
    list.bCanGrow = 1;
    const int32_t result = MOLTE_STR_REG_Find(row[0].c_str(), &reg, &list);
    std::string places = std::to_string(result);
    for (int32_t i = 0; i < list.nCount; ++i) {
        places += " " + std::to_string(list.pMatch[i].nStart);
        places += " " + std::to_string(list.pMatch[i].nEnd);
    }
    EXPECT_EQ(MOLTE_STR_REG_Find(row[0].c_str(), &reg, nullptr), result > 0 ? 1 : 0);
    ORVEX_free(list.pMatch);
    return places;
}

std::string replaced(const Texts& row) {
    OXSTR_STROBJ object;
    OXSTR_STROBJ_Init(&object, 0);
    OXSTR_STROBJ_Append(&object, row[0].data(), static_cast<int32_t>(row[0].size()));
    OXSTR_REGOBJ reg = pattern_of(row[1].c_str(), row[3] == "1", std::stoi(row[4]));
    EXPECT_EQ(MOLTE_STR_REG_Replace(&object, &reg, row[2].c_str()), 1) << row[0];
    EXPECT_EQ(reg.bAllMatches, row[3] == "1" ? 1 : 0);
    EXPECT_EQ(object.nCapacity, 4096 + (row[0].size() > 4000 ? ((2 + 15) / 16 + 8) * 16 : 0));
    const std::string text(object.pBuf, static_cast<size_t>(object.nLen));
    OXSTR_STROBJ_Free(&object);
    return text;
}

TEST(Find, Rows) {
    check_rows(TEST_ROWS, {{"find", called<MOLTE_STR_FindSubStr>},
                           {"find with case", called<MOLTE_STR_FindSubStrWithCase>},
                           {"first place", called<ox_strstr>},
                           {"first place of characters", called<ox_mbstrstr>},
                           {"character", called<MOLTE_STR_Chr>},
                           {"matches", matches},
                           {"replace", replaced}});
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
