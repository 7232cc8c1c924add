#include "support/called.h"

namespace {

std::string padded(Text text, int32_t width) {
    char field[] = "########";
    strcpy(field, text);
    EXPECT_EQ(MOLTE_STR_Padding(field, width, '-'), 1);
    return {field, 8};
}

std::string replaced(Text text, Text from, Text to, int32_t size) {
    std::string dst(33, '#');
    const int32_t result = MOLTE_STR_ReplaceSubStr(text, from, to, dst.data(), size);
    EXPECT_EQ(dst.find_first_not_of('#', static_cast<size_t>(size)), std::string::npos);
    return outcome(result) + (result < 0 ? "" : " " + std::string(dst.c_str()));
}

TEST(Edit, Rows) {
    check_rows(TEST_ROWS, {{"trim left", called<MOLTE_STR_LeftTrim>},
                           {"trim right", called<MOLTE_STR_RightTrim>},
                           {"blanks ahead", called<MOLTE_STR_LeftTrimSpace>},
                           {"trim blanks right", called<MOLTE_STR_RightTrimSpace>},
                           {"trim set left", called<MOLTE_STR_LeftStrTrim>},
                           {"trim set right", called<MOLTE_STR_RightStrTrim>},
                           {"cut", called<MOLTE_STR_LeftTrunc>},
                           {"no pad", called<MOLTE_STR_Padding>},
                           {"pad", called<padded>},
                           {"replace bytes", called<ox_str_replace>},
                           {"no replacement", called<MOLTE_STR_ReplaceSubStr>},
                           {"replace", called<replaced>}});
    char text[] = "a/b/c";
    EXPECT_EQ(ox_str_replace(text, '/', 0), 2);
    EXPECT_EQ(memcmp(text, "a\0b\0c", 6), 0);
}

}  // namespace
