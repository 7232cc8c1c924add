#include "pinyin_table.h"

namespace {

constexpr char kLines[] = "zhang\xB0\xA1\nchang\xB0\xA1\nsan\xB0\xA2\n";

// The parts of a name as "type:code", or "type:text length|".
std::string parts_of(const char* name) {
    MOLTE_NAMEPART* parts = nullptr;
    const int32_t count = MOLTE_Name2Part(name, &parts);
    std::string text;
    for (int i = 0; i < count; ++i) {
        const MOLTE_NAMEPART& part = parts[i];
        text += std::to_string(part.nType) + ":";
        text += part.nType == 0 ? std::to_string(part.nValue)
                                : part.pszText + std::to_string(part.nValue) + "|";
        EXPECT_EQ(part.nType == 0, part.pszText == nullptr);
    }
    EXPECT_EQ(MOLTE_NAMEPART_MultiFree(parts, count), 1);
    ORVEX_free(parts);
    return text;
}

TEST(NamePinyin, parts_readings_and_patterns) {
    const PinyinTable table(kLines);
    struct Case {
        Text name, parts, readings, pattern;
    };
    const std::vector<Case> cases = {
        {"\xB0\xA1\xB0\xA2", "0:452170:45218", " ZHANG CHANG  SAN ", "*"},
        {"LI Ming", "1:LI2|2: 1|1:Ming4|", " LI  Ming ", "* LI * MING *"},
        {"A1B", "1:A1|2:11|1:B1|", " A  B ", "* A * B *"},
        {"  ", "2:  2|", "", "*"},
        {"\xB0\xA2"
         "ab",
         "0:452181:ab2|", " SAN  ab ", "* AB *"},
        {"x\xD7\xD7.", "1:x1|0:552552:.1|", " x ", "* X *"},  // a character without reading
        {"a\xB0", "1:a1|0:45056", " a ", "* A *"},            // a lead byte alone
    };
    for (const Case& c : cases) {
        EXPECT_EQ(parts_of(c.name), c.parts) << c.name;
        char text[64];
        EXPECT_EQ(MOLTE_Name2Pinyin(c.name, text, sizeof text), 1);
        EXPECT_EQ(text, std::string(c.readings)) << c.name;
        EXPECT_EQ(MOLTE_Name2Wild(c.name, text, sizeof text), 1);
        EXPECT_EQ(text, std::string(c.pattern)) << c.name;
    }
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
