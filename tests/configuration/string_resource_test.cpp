#include "configuration/rcxmlpro.h"

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
    EXPECT_EQ(texts_in(in_table("<FOO/>")), "1 ");
    EXPECT_EQ(told(-1), "120 rcxmlpro FOO @130");
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
    for (const auto& [length, runs, capacity] : {tuple(79, 1, 0),
                                                 {80, 1, 1024},
                                                 {1000, 2, 2048},
                                                 {1000, 5, 5120},
                                                 {2040, 600, 1196 * 1024}}) {
        Table table;
        std::string text;
        std::string whole;
        for (int i = 0; i < runs; ++i) {
            whole.append(static_cast<size_t>(length), 'd');
            text.append(static_cast<size_t>(length), 'd') += '\n';
        }
        ASSERT_EQ(parse(table, in_table("<ITEM><STRDATA>" + text + "</STRDATA></ITEM>")), 1);
        EXPECT_EQ(table.pItems[0].nCapacity, capacity);
        EXPECT_EQ(texts_of(table), "0=" + whole + ";");
    }
}

TEST_F(StringResource, HostileFiles) {
    std::string deep = "<ORVEX_RESOURCE><STRINGTABLE>";
    for (int i = 0; i < 100000; ++i) deep += "<ITEM>";
    for (const std::string& text : {deep, std::string(70000, '\n')}) {
        EXPECT_TRUE(texts_in(text).starts_with("-1 ")) << text.substr(0, 80);
    }
    Table table;
    EXPECT_EQ(molte::RCXML_ParseBuffer(table, nullptr, 0), -1);
    const std::string good = in_table("<ITEM id='1' value='x'/>");
    EXPECT_EQ(molte::RCXML_ParseBuffer(table, good.c_str(), 0), 1) << "up to its terminator";
    EXPECT_EQ(texts_of(table), "1=x;");
}

// More than is parsed in one go, with a run and an element at each place.
TEST_F(StringResource, LargeFilesAreReadWhole) {
    const TempFolder folder;
    std::string items = "\xEF\xBB\xBF<ORVEX_RESOURCE version='1.0' langid='804'><STRINGTABLE>";
    std::string expected;
    for (int i = 1; i <= 2000; ++i) {
        const std::string number = std::to_string(i);
        const std::string line_end = i % 2 != 0 ? "\n" : "";
        const std::string run(static_cast<size_t>(50 + i % 90), 'c');
        items += "<ITEM id='" + number + "'><STRDATA>a b " + line_end + run + line_end +
                 "f</STRDATA></ITEM>" + line_end + std::string(100, ' ');
        expected += number + "=a b" + (i % 2 != 0 ? "" : " ") + run + "f;";
    }
    Table table;
    const auto load = [&](Text name) {
        return molte::RCXML_LoadFile(table, (folder / name).c_str());
    };
    folder.write("large", items + "</STRINGTABLE></ORVEX_RESOURCE>");
    folder.write("empty", "");
    EXPECT_EQ((Ints{load("missing"), load("empty")}), Ints(2, -1));
    EXPECT_TRUE(history_of_this_thread().ends_with("451 rcxmlpro"));
    EXPECT_EQ(load("large"), 1);
    EXPECT_EQ(texts_of(table), expected);
}

std::vector<Texts> rows_of(const std::string& table) {
    const fs::path file = fs::path(TEST_ROWS).replace_filename("resource_files.txt");
    return tables_of(file.string().c_str())[table];
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
    for (const Text file : {"zh/cn/moltelibrc_zh.xml", "zh/tw/moltelibrc_zh.xml",
                            "zh/default/moltelibrc_zh.xml", "es/default/moltelibrc_es.xml"}) {
        add_resource(file, in_table("<ITEM id='20' value='"s + std::string(file, 4) + "'/>"));
    }
    for (const Texts& row : rows_of("language")) EXPECT_EQ(text_with(row[0]), row[1]) << row[0];
    EXPECT_STREQ(GetRVEXErrStrByErrno(21), "Unknown");
    EXPECT_EQ(molte::RCXML_Release(), 1);
    EXPECT_EQ(molte::RCXML_GetString(20), nullptr);
    fs::remove_all(path() / "resource/zh");
    EXPECT_EQ(text_with("DEF_LANG_ID = 1033\n"), "Unknown");
    add_resource("en/us/moltelibrc_en.xml", "<broken");
    EXPECT_EQ(text_with("DEF_LANG_ID = 1033\n"), "Unknown");
    EXPECT_EQ(text_with("DEF_LANG_ID = 10\n"), "es/d");
}

TEST(ShippedResource, EveryNumberHasOneTextInEveryLanguage) {
    const std::vector<Texts> raised = rows_of("raised");
    for (const auto& [path, lcid] : {std::pair("zh/cn/moltelibrc_zh.xml", 0x804U),
                                     {"en/us/moltelibrc_en.xml", 0x409U},
                                     {"es/es2/moltelibrc_es.xml", 0x40AU}}) {
        molte::RCXML_SetLocale(lcid);
        Table table;
        ORVEX_Err_ClearError();
        ASSERT_EQ(molte::RCXML_LoadFile(table, (RESOURCE_FOLDER "/"s + path).c_str()), 1);
        EXPECT_EQ(history_of_this_thread(), kRootLines) << "no fault in it";
        EXPECT_EQ(table.nLangId, static_cast<int32_t>(lcid));
        std::set<std::string> numbers;
        for (int32_t i = 0; i < table.nCount; ++i) {
            EXPECT_GT(table.pItems[i].nLen, 0);
            const std::string number = std::to_string(table.pItems[i].nId);
            EXPECT_TRUE(numbers.insert(number).second) << number << " is there twice";
        }
        for (const Texts& row : raised) {
            for (const std::string& number : row) EXPECT_TRUE(numbers.contains(number)) << number;
        }
    }
}

TEST(ShippedResource, TextsComeUpWithTheLibrary) {
    const Configured root;
    fs::copy(RESOURCE_FOLDER, root.path() / "resource", fs::copy_options::recursive);
    for (const auto& [language, text] : {std::pair("1033", "Out of memory"),
                                         {"2052", "\xC4\xDA\xB4\xE6\xB2\xBB\xD7\xE3"},
                                         {"1034", "Memoria insuficiente"}}) {
        root.write_ini("DEF_LANG_ID = "s + language + "\n");
        g_stLangVar.bInited = 0;
        ASSERT_EQ(ORVEX_BASE_InitVar(), 1);
        EXPECT_STREQ(GetRVEXErrStrByErrno(20), text);
        ORVEX_BASE_ReleaseVar();
        EXPECT_STREQ(GetRVEXErrStrByErrno(20), "Unknown");
    }
}

}  // namespace
