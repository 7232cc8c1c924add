#include "support/rows.h"
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
    for (const size_t size : {128U, 129U, 1000U}) {
        const std::string set = std::string(size - 1, 'y') + "x";
        EXPECT_EQ(edited("axyx", MOLTE_STR_RightStrTrim, set.c_str()), "a") << size;
    }
    EXPECT_EQ(MOLTE_STR_LeftStrTrim(nullptr, "x") + MOLTE_STR_RightStrTrim(nullptr, "x"), 0);
}

TEST(Replace, Bytes) {
    char text[] = "a.b.c";
    EXPECT_EQ(ox_str_replace(text, '.', '/'), 2);
    EXPECT_STREQ(text, "a/b/c");
    EXPECT_EQ(ox_str_replace(text, '/', 0), 2);
    EXPECT_EQ(memcmp(text, "a\0b\0c", 6), 0);
    EXPECT_EQ(ox_str_replace(nullptr, 'a', 'b'), 0);
}

std::string replaced(const Texts& row) {
    std::string dst(33, '#');
    const int32_t size = std::stoi(row[3]);
    const int32_t result =
        MOLTE_STR_ReplaceSubStr(row[0].c_str(), row[1].c_str(), row[2].c_str(), dst.data(), size);
    EXPECT_EQ(dst.find_first_not_of('#', static_cast<size_t>(size)), std::string::npos);
    const std::string error = taken_error();
    return std::to_string(result) + " " + (result < 0 ? error : dst.c_str());
}

const Calls kCalls = {
    {"trim",
     [](const Texts& row) {
         const char c = row[1][0];
         return edited(row[0].c_str(), MOLTE_STR_LeftTrim, c) + "|" +
                edited(row[0].c_str(), MOLTE_STR_RightTrim, c);
     }},
    {"trim set",
     [](const Texts& row) {
         return edited(row[0].c_str(), MOLTE_STR_LeftStrTrim, row[1].c_str()) + "|" +
                edited(row[0].c_str(), MOLTE_STR_RightStrTrim, row[1].c_str());
     }},
    {"cut",
     [](const Texts& row) {
         return edited(row[0].c_str(), MOLTE_STR_LeftTrunc, std::stoi(row[1]), std::stoi(row[2]));
     }},
    {"pad",
     [](const Texts& row) {
         char text[] = "########";
         strcpy(text, row[0].c_str());
         EXPECT_EQ(MOLTE_STR_Padding(text, std::stoi(row[1]), '-'), 1);
         return std::string(text, 8);
     }},
    {"replace", replaced}};

TEST(Edit, Rows) {
    check_rows(TEST_ROWS, kCalls);
    char text[] = "abc";
    EXPECT_EQ(error_of(MOLTE_STR_LeftTrunc(text, -1, 3)), "50 oxstring");
    EXPECT_EQ(MOLTE_STR_Padding(nullptr, 1, ' '), -1);
    EXPECT_EQ(error_of(MOLTE_STR_ReplaceSubStr("a", "a", "b", nullptr, 4)), "50 oxstring");
}

}  // namespace
