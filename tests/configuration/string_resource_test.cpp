#include "configuration/rcxmlpro.h"

#include "support/scenes.h"

namespace {

using molte::RC_TABLE;

struct Table : Pinned, RC_TABLE {
    Table() : RC_TABLE{} {}
    ~Table() { molte::free_table(*this); }
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

std::string rows_in(const char* file) {
    return fs::path(TEST_ROWS).replace_filename(file).string();
}

class LoadedResource : public testing::Test {
 protected:
    ~LoadedResource() override { ORVEX_BASE_ReleaseVar(); }
    Configured folder_;
};

[[maybe_unused]] const bool plays = play_scenes<LoadedResource>(
    "LoadedResource", rows_in("loaded_resource.txt").c_str(),
    {{"resource", step_of<[](Text name, Text text) {
          fs::create_directories(fs::path(name).parent_path());
          return int64_t{(std::ofstream(name) << text).good()};
      }>},
     {"remove", step_of<[](Text folder) { return int64_t{fs::remove_all(folder) != 0}; }>},
     {"init", step_of<molte::RCXML_Init>},
     {"up_after_an_error", step_of<[] {
          ORVEX_Err_Set(77, 0, "caller", 1, 0, nullptr, 0);
          return ORVEX_BASE_InitVar();
      }>},
     {"text", step_of<[](uint32_t number) { return std::string(GetRVEXErrStrByErrno(number)); }>},
     {"string", step_of<molte::RCXML_GetString>},
     {"release", step_of<molte::RCXML_Release>}},
    true);

TEST(ShippedResource, EveryNumberHasOneTextInEveryLanguage) {
    const std::vector<Texts> raised = rows_of(rows_in("resource_files.txt").c_str(), "raised");
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
