#include "configuration/rcxmlpro.h"

#include <map>
#include <sstream>

#include "support/rows.h"
#include "support/test.h"

namespace {

using molte::RC_TABLE;

struct Table : RC_TABLE {
    Table() : RC_TABLE{} {}
    ~Table() { molte::free_table(*this); }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;
};

const std::string kRootLines = "2502 oxsysutl, 217 rcxmlpro";  // of each root, which has no parent

std::string in_table(const std::string& items) {
    return "<ORVEX_RESOURCE version='1.0' langid='804'><STRINGTABLE>" + items +
           "</STRINGTABLE></ORVEX_RESOURCE>";
}

int32_t parse(Table& table, const std::string& text) {
    ORVEX_Err_ClearError();
    return molte::RCXML_ParseBuffer(table, text.data(), static_cast<int32_t>(text.size()));
}

// The texts of a table as "id=text;id=text;".
std::string texts_of(const RC_TABLE& table) {
    std::string all;
    for (int32_t i = 0; i < table.nCount; ++i) {
        const char* text = molte::text_of(table.pItems[i]);
        EXPECT_EQ(std::strlen(text), static_cast<size_t>(table.pItems[i].nLen));
        all += std::to_string(table.pItems[i].nId) + "=" + text + ";";
    }
    return all;
}

// What is parsed of a text, and the history's lines behind that of the root.
std::string texts_in(const std::string& xml) {
    Table table;
    const int32_t result = parse(table, xml);
    std::string lines = history_of_this_thread();
    if (lines.starts_with(kRootLines)) lines.erase(0, kRootLines.size());
    return std::to_string(result) + " " + texts_of(table) + lines;
}

class StringResource : public testing::Test {
 protected:
    StringResource() { molte::RCXML_SetLocale(2052); }
};

TEST_F(StringResource, ElementsAndTexts) {
    check_rows(TEST_ROWS, {{"items", [](const Texts& row) { return texts_in(in_table(row[0])); }},
                           {"files", [](const Texts& row) { return texts_in(row[0]); }}});
    Table table;
    EXPECT_EQ(parse(table, in_table("<ITEM strid='" + std::string(40, 's') + "'/>")), 1);
    EXPECT_EQ(table.pItems[0].szStrId, std::string(31, 's'));
    EXPECT_EQ(table.nLangId, 0x804);
    Table unknown;
    EXPECT_EQ(parse(unknown, in_table("<FOO/>")), 1);
    EXPECT_EQ(error_of_this_thread(), "120 rcxmlpro FOO");
    EXPECT_EQ(error_line_of_this_thread(), 130);
}

TEST_F(StringResource, LongTextsMoveToTheHeap) {
    for (const int length : {79, 80, 2000, 2045}) {
        Table table;
        const std::string text(static_cast<size_t>(length), 'v');
        ASSERT_EQ(parse(table, in_table("<ITEM id='1' value='" + text + "'/>")), 1);
        const molte::RC_STRING& string = table.pItems[0];
        EXPECT_EQ(molte::text_of(string), text);
        EXPECT_EQ((Ints{string.bHeap, string.bOwned, string.nCapacity}),
                  length < 80 ? Ints(3, 0) : (Ints{1, 1, length + 1}));
    }
    // Text of several runs: one a line.
    const tuple<int, int, int> rows[] = {
        {79, 1, 0}, {80, 1, 1024}, {1000, 2, 2048}, {1000, 5, 5120}, {2040, 600, 1196 * 1024}};
    for (const auto& [length, runs, capacity] : rows) {
        Table table;
        std::string text;
        const std::string run(static_cast<size_t>(length), 'd');
        for (int i = 0; i < runs; ++i) text += run + "\n";
        ASSERT_EQ(parse(table, in_table("<ITEM><STRDATA>" + text + "</STRDATA></ITEM>")), 1);
        const molte::RC_STRING& string = table.pItems[0];
        EXPECT_EQ(string.nCapacity, capacity);
        EXPECT_EQ(string.nLen, length * runs);
        EXPECT_EQ(std::string(molte::text_of(string)).find_first_not_of('d'), std::string::npos);
    }
    Table table;
    EXPECT_EQ(parse(table, in_table("<ITEM value='" + std::string(2046, 'v') + "'/>")), 1);
    EXPECT_EQ(texts_of(table), "0=;");
    EXPECT_EQ(history_of_this_thread(), kRootLines + ", 74 rcxmlpro");
}

TEST_F(StringResource, HostileFiles) {
    std::string bomb = "<!DOCTYPE ORVEX_RESOURCE [<!ENTITY a 'aaaaaaaaaaaaaaaa'>";
    for (char c = 'b'; c <= 'l'; ++c) {
        bomb += "<!ENTITY "s + c + " '";
        for (int i = 0; i < 16; ++i) bomb += "&"s + static_cast<char>(c - 1) + ";";
        bomb += "'>";
    }
    bomb += "]>" + in_table("<ITEM><STRDATA>&l;</STRDATA></ITEM>");
    std::string deep = "<ORVEX_RESOURCE><STRINGTABLE>";
    for (int i = 0; i < 100000; ++i) deep += "<ITEM>";
    const std::string good = in_table("<ITEM id='1' value='x'/>");
    Table table;
    EXPECT_EQ(molte::RCXML_ParseBuffer(table, nullptr, 0), -1);
    for (const std::string& text :
         {bomb, deep, "<"s, "x"s, "<ORVEX_RESOURCE><STRINGTABLE></ORVEX_RESOURCE>"s, good + good,
          good.substr(0, good.size() - 1), "\0"s, in_table("\xFF"), std::string(70000, '\n')}) {
        EXPECT_EQ(parse(table, text), -1) << text.substr(0, 80);
        EXPECT_EQ(table.pItems, nullptr);
    }
    EXPECT_EQ(molte::RCXML_ParseBuffer(table, good.c_str(), 0), 1) << "up to its terminator";
    EXPECT_EQ(texts_of(table), "1=x;");
}

// More than is parsed in one go, with a run and an element at each place.
TEST_F(StringResource, LargeFilesAreReadWhole) {
    const TempFolder folder;
    std::string items;
    std::string expected;
    for (int i = 1; i <= 2000; ++i) {
        const Text line_end = i % 2 != 0 ? "\n" : "";
        const std::string number = std::to_string(i);
        const std::string run =
            std::string(50, 'c') + std::string(static_cast<size_t>(i % 90), 'e');
        items += "<ITEM id='" + number + "'><STRDATA>a b " + line_end + run + line_end +
                 "f</STRDATA></ITEM>" + line_end + std::string(100, ' ');
        expected += number + "=a b" + (i % 2 != 0 ? "" : " ") + run + "f;";
    }
    Table large;
    const std::string file = folder.write("large.xml", "\xEF\xBB\xBF" + in_table(items));
    EXPECT_EQ(molte::RCXML_LoadFile(large, file.c_str()), 1);
    EXPECT_EQ(texts_of(large), expected);
    Table table;
    EXPECT_EQ(molte::RCXML_LoadFile(table, (folder / "missing.xml").c_str()), -1);
    EXPECT_EQ(molte::RCXML_LoadFile(table, folder.write("empty.xml", "").c_str()), -1);
    EXPECT_TRUE(history_of_this_thread().ends_with("451 rcxmlpro"));
}

class LoadedResource : public testing::Test, protected Configured {
 protected:
    ~LoadedResource() override { molte::RCXML_Release(); }
    void add_resource(const std::string& name, const std::string& text) const {
        fs::create_directories((path() / "resource" / name).parent_path());
        write("resource/" + name, text);
    }
    // The text that error 20 has with these parameters.
    std::string text_with(const std::string& parameters) {
        write_ini(parameters);
        molte::RCXML_Init();
        return GetRVEXErrStrByErrno(20);
    }
};

TEST_F(LoadedResource, FaultsInItAreInTheRecordAfterBringUp) {
    write_ini("DEF_LANG_ID = 2052\n");
    add_resource("zh/cn/moltelibrc_zh.xml",
                 "<ORVEX_RESOURCE><ITEM/><STRINGTABLE><ITEM id='20' value='cn'/>"
                 "</STRINGTABLE></ORVEX_RESOURCE>");
    ORVEX_Err_Set(77, 0, "caller", 1, 0, nullptr, 0);
    EXPECT_EQ(ORVEX_BASE_InitVar(), 1);
    EXPECT_EQ(history_of_this_thread(), kRootLines + ", 263 rcxmlpro");
    EXPECT_STREQ(GetRVEXErrStrByErrno(20), "cn");  // the rest of the file is used
    ORVEX_BASE_ReleaseVar();
}

TEST_F(LoadedResource, TheFileOfTheLanguage) {
    EXPECT_STREQ(GetRVEXErrStrByErrno(20), "Unknown");
    for (const auto& [file, text] : {std::pair<Text, Text>{"zh/cn/moltelibrc_zh.xml", "cn"},
                                     {"zh/tw/moltelibrc_zh.xml", "tw"},
                                     {"zh/default/moltelibrc_zh.xml", "zh"},
                                     {"es/default/moltelibrc_es.xml", "es"}}) {
        add_resource(file, in_table("<ITEM id='20' value='"s + text + "'/>"));
    }
    const std::pair<Text, Text> rows[] = {
        {"DEF_LANG_ID = 2052\n", "cn"},
        {"DEF_LANG_ID = 2052\nDEF_LOCAL_ID = tw\n", "cn"},  // loaded already
        {"DEF_LANG_ID = 4\n", "zh"},
        {"DEF_LANG_ID = 2052\nDEF_LOCAL_ID = tw\n", "tw"},
        {"DEF_LANG_ID = 1033\nDEF_LOCAL_ID = tw\n", "cn"},  // none in English
        {"DEF_LANG_ID = 1028\nDEF_LOCAL_ID = nosuch\n", "tw"},
        {"DEF_LANG_ID = 3082\n", "es"},
        {"DEF_LANG_ID = 127\n", "cn"}};
    for (const auto& [parameters, text] : rows)
        EXPECT_EQ(text_with(parameters), text) << parameters;
    EXPECT_STREQ(GetRVEXErrStrByErrno(21), "Unknown");
    EXPECT_EQ(molte::RCXML_Release(), 1);
    EXPECT_EQ(molte::RCXML_GetString(20), nullptr);
    fs::remove_all(path() / "resource/zh");
    EXPECT_EQ(text_with("DEF_LANG_ID = 1033\n"), "Unknown");
    add_resource("en/us/moltelibrc_en.xml", "<broken");
    EXPECT_EQ(text_with("DEF_LANG_ID = 1033\n"), "Unknown");
    EXPECT_EQ(text_with("DEF_LANG_ID = 10\n"), "es");
}

// The numbers that the library raises, and those of the products' texts.
std::vector<uint32_t> raised_numbers() {
    std::istringstream list(
        "1-5 7 10 12-15 17 20 23 26-29 36 50-52 72-76 78-87 101 103 115 117 120 124 127-128 132 "
        "134 140-143 146-147 202 250-251 253-263 265 271-277 283 286-289 291-294 296-303 305 "
        "401-410 412-419 421-429 432-435 501 900 930-936 1000-1001 1200-1208 2624 3501-3504 "
        "20001-20006 20101-20106 20201-20206 20301-20306 20401-20406");
    std::vector<uint32_t> numbers;
    for (uint32_t first = 0, last = 0; list >> first;) {
        last = first;
        if (list.peek() == '-') list.ignore() >> last;
        for (uint32_t n = first; n <= last; ++n) numbers.push_back(n);
    }
    EXPECT_EQ(numbers.size(), 179U);
    return numbers;
}

TEST(ShippedResource, EveryNumberHasOneTextInEveryLanguage) {
    for (const auto& [path, lcid] : {std::pair<Text, int32_t>{"zh/cn/moltelibrc_zh.xml", 0x804},
                                     {"en/us/moltelibrc_en.xml", 0x409},
                                     {"es/es2/moltelibrc_es.xml", 0x40A}}) {
        molte::RCXML_SetLocale(static_cast<uint32_t>(lcid));
        Table table;
        ORVEX_Err_ClearError();
        ASSERT_EQ(molte::RCXML_LoadFile(table, (RESOURCE_FOLDER "/"s + path).c_str()), 1);
        EXPECT_EQ(history_of_this_thread(), kRootLines) << "no fault in it";
        EXPECT_EQ(table.nLangId, lcid);
        std::map<uint32_t, std::string> texts;
        for (int32_t i = 0; i < table.nCount; ++i) {
            EXPECT_TRUE(texts.emplace(table.pItems[i].nId, molte::text_of(table.pItems[i])).second)
                << table.pItems[i].nId << " is there twice";
        }
        for (const uint32_t number : raised_numbers()) EXPECT_NE(texts[number], "") << number;
    }
}

TEST(ShippedResource, TextsComeUpWithTheLibrary) {
    const Configured root;
    fs::copy(RESOURCE_FOLDER, root.path() / "resource", fs::copy_options::recursive);
    const std::pair<Text, Text> rows[] = {{"1033", "Out of memory"},
                                          {"2052", "\xC4\xDA\xB4\xE6\xB2\xBB\xD7\xE3"},
                                          {"1034", "Memoria insuficiente"}};
    for (const auto& [language, text] : rows) {
        root.write_ini("DEF_LANG_ID = "s + language + "\n");
        g_stLangVar.bInited = 0;
        ASSERT_EQ(ORVEX_BASE_InitVar(), 1);
        EXPECT_STREQ(GetRVEXErrStrByErrno(20), text);
        ORVEX_BASE_ReleaseVar();
        EXPECT_STREQ(GetRVEXErrStrByErrno(20), "Unknown");
    }
}

}  // namespace
