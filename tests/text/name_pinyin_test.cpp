#include "pinyin_table.h"
#include "support/rows.h"

namespace {

constexpr char kLines[] = "zhang\xB0\xA1\nchang\xB0\xA1\nsan\xB0\xA2\n";

// The parts of a name as "type:code", or "type:text length|"; its readings and its pattern.
std::string told_of(const Texts& row) {
    const char* name = row[0].c_str();
    MOLTE_NAMEPART* parts = nullptr;
    const int32_t count = MOLTE_Name2Part(name, &parts);
    std::string told;
    for (int i = 0; i < count; ++i) {
        MOLTE_NAMEPART& part = parts[i];
        told += std::to_string(part.nType) + ":";
        told += part.nType == 0 ? std::to_string(part.nValue)
                                : part.pszText + std::to_string(part.nValue) + "|";
        EXPECT_EQ(part.nType == 0, part.pszText == nullptr);
        if (part.nType != 0) part.nValue = 99;  // a text tells its length itself
    }
    char text[64];
    EXPECT_EQ(MOLTE_Name2Pinyin(name, text, sizeof text), 1);
    const std::string readings = text;
    EXPECT_EQ(MOLTE_NAMEPART2PinYin(parts, count, text, sizeof text), 1);
    EXPECT_EQ(text, readings);
    EXPECT_EQ(MOLTE_Name2Wild(name, text, sizeof text), 1);
    EXPECT_EQ(MOLTE_NAMEPART_MultiFree(parts, count), 1);
    ORVEX_free(parts);
    return told + ";" + readings + ";" + text;
}

TEST(NamePinyin, parts_readings_and_patterns) {
    const PinyinTable table(kLines);
    check_rows(TEST_ROWS, {{"names", told_of}});
}

TEST(NamePinyin, empty_names_and_no_room) {
    const PinyinTable table(kLines);
    for (const char* name : {Text(nullptr), ""}) {
        char text[4] = "abc";
        MOLTE_NAMEPART* parts = reinterpret_cast<MOLTE_NAMEPART*>(text);
        EXPECT_EQ(MOLTE_Name2Part(name, &parts), 0);
        EXPECT_EQ(parts, nullptr);
        EXPECT_EQ(MOLTE_Name2Wild(name, text, 4), 0);
        EXPECT_EQ(text, "abc"s);
        EXPECT_EQ(MOLTE_Name2Pinyin(name, text, 4), 0);
        EXPECT_EQ(text, ""s);
    }
    char none[4] = "abc";
    EXPECT_EQ(MOLTE_NAMEPART2PinYin(nullptr, 0, none, 4), 1);  // no parts are no error
    EXPECT_STREQ(none, "");
    EXPECT_EQ(error_of(MOLTE_NAMEPART2PinYin(nullptr, 1, none, 4)), "50 oxpinyin");
    const std::string whole = " ZHANG CHANG  SAN  xy ";
    const std::string pattern = "* XY *";
    for (size_t room = 1; room < whole.size() + 2; ++room) {
        const auto text = std::make_unique<char[]>(room);  // so that a byte too far is noticed
        const auto size = static_cast<int32_t>(room);
        EXPECT_EQ(MOLTE_Name2Pinyin("\xB0\xA1\xB0\xA2xy", text.get(), size), 1);
        EXPECT_EQ(text.get(), whole.substr(0, room - 1));
        EXPECT_EQ(MOLTE_Name2Wild("1xy", text.get(), size), 1);
        EXPECT_EQ(text.get(), pattern.substr(0, room - 1));
    }
}

TEST(NamePinyin, a_table_that_is_not_built) {
    char text[16] = "?";
    // Where each byte is a character, and some are letters.
    OXLANG_SetLocale(OXLANG_ENGLISH);
    EXPECT_EQ(MOLTE_Name2Pinyin("\xB0\xA1\xF1o \xD7", text, sizeof text), 1);
    EXPECT_EQ(text, " \xF1o "s);
    EXPECT_EQ(MOLTE_Name2Wild("\xF1o\xFF\xDF\xF7\x9A", text, sizeof text), 1);
    EXPECT_EQ(text, "* \xD1O\x9F\xDF * \x8A *"s);
    OXLANG_SetLocale(OXLANG_CHINESE);
    EXPECT_EQ(error_of(MOLTE_Name2Pinyin("\xB0\xA1", text, sizeof text)), "933 oxpinyin");
    EXPECT_EQ(MOLTE_Name2Wild("\xB0\xA1", text, sizeof text), 1);
}

TEST(NamePinyin, appending_takes_the_run_from_its_part) {
    PA array;
    PA_Init(&array, sizeof(MOLTE_NAMEPART), 0);
    char run[] = "Ming";
    MOLTE_NAMEPART part = {2, MOLTE_NAMEPART_LETTERS, run};
    EXPECT_EQ(UTIL_AppendStringPart(&array, &part), 1);
    EXPECT_TRUE(part.nValue == 0 && part.pszText == nullptr);
    auto* copy = static_cast<MOLTE_NAMEPART*>(array.pData);
    EXPECT_EQ(copy->pszText, "Mi"s);
    EXPECT_EQ(MOLTE_NAMEPART_Free(copy), 1);
    EXPECT_TRUE(copy->nValue == 0 && copy->pszText == nullptr && copy->nType == 1);
    PA_Release(&array);
    for (const int32_t size : {15, 17, 4096}) {  // no array of parts
        PA_Init(&array, size, 1);
        part = {2, MOLTE_NAMEPART_LETTERS, run};
        EXPECT_EQ(error_of(UTIL_AppendStringPart(&array, &part)), "50 oxpinyin") << size;
        EXPECT_TRUE(array.nCount == 0 && part.nValue == 2 && part.pszText == run);
        PA_Release(&array);
    }
}

}  // namespace
