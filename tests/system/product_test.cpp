// Product and company, from string resources of the test's own.
#include "support/test.h"

namespace {

// In place before the library comes up.
class Texts1033 : public Configured {
 public:
    Texts1033() : Configured("DEF_LANG_ID = 1033\n") {
        std::string items = "<ITEM id='20306' value='" + std::string(300, 'l') + "'/>";
        for (const auto& [id, text] : {std::pair(20001, "default"),
                                       {20006, "T"},
                                       {20010, "tenth"},
                                       {20101, "five"},
                                       {20201, "two"},
                                       {20206, "Two %s"},
                                       {20301, "three"},
                                       {20401, "one"}}) {
            items += "<ITEM id='" + std::to_string(id) + "' value='" + text + "'/>";
        }
        fs::create_directories(path() / "resource" / "en" / "us");
        write("resource/en/us/moltelibrc_en.xml",
              "<ORVEX_RESOURCE version='1.0' langid='409'><STRINGTABLE>" + items +
                  "</STRINGTABLE></ORVEX_RESOURCE>");
        ORVEX_BASE_InitVar();
    }
    ~Texts1033() { ORVEX_BASE_ReleaseVar(); }
};

TEST(Product, TextsOfItsBlock) {
    const Texts1033 texts;
    const tuple<int32_t, int32_t, Text> cases[] = {{1, 1, "one"},     {1, 5, "five"},
                                                   {1, 4, "default"}, {1, -1, "default"},
                                                   {6, 0, "T"},       {201, 4, "two"}};
    for (const auto& [item, product, text] : cases) {
        EXPECT_STREQ(MOLTE_GetCorpInfoByProduct(item, product), text) << item;
    }
    for (const int32_t none : {2, 0, INT32_MIN, INT32_MAX}) {
        EXPECT_STREQ(MOLTE_GetCorpInfoByProduct(none, 1), "Lumbra Software Inc");
    }
    // Resource number 6, of no product.
    EXPECT_STREQ(MOLTE_GetCorpInfoByProduct(-19994, 4), "Automatic Identification System");
    for (const auto& [product, text] :
         {std::pair("0", "default"), {"2", "two"}, {"x", "default"}}) {
        ORVEX_PARAMETER_SetValue("DEF_PRODUCT_ID", product);
        EXPECT_STREQ(MOLTE_GetCorpInfo(1), text);
        EXPECT_STREQ(MOLTE_GetCorpInfoByProduct(1, 0), text);
    }
}

TEST(Product, TextsWithoutResources) {
    char title[] = "abc-xyz";
    EXPECT_EQ(MOLTE_AdjustAppTitle(title), 0);
    EXPECT_STREQ(title, "abc-xyz");
}

TEST(Product, TitlesBehindTheirFirstDash) {
    const Texts1033 texts;
    ORVEX_PARAMETER_SetValueInt("DEF_PRODUCT_ID", 2);  // no title looks at it
    const std::string cut = " " + std::string(255, 'l');
    const tuple<std::string, int32_t, int32_t, std::string, std::string> cases[] = {
        {"abc-xyz", 0, 1, "abc- T", "abc- Tz"},  // wide: counted, so its end stays
        {"abc-xy", 0, 1, "abc- T", "abc- T"},
        {"abc-x", 0, 1, "abc- T", "abc- T"},
        {"abc-", 9, 1, "abc- T", "abc- T"},
        {"a-b-c", 2, 1, "a- Two %s", "a- Two %s"},
        {"-", 3, 1, "- " + std::string(300, 'l'), "-" + cut},
        {"abc", 0, 0, "abc", "abc"},
        {"", 0, 0, "", ""},
        {"abc-xyz", 1, 0, "abc-xyz", "abc-xyz"}};
    for (const auto& [title, product, result, expected, expected_wide] : cases) {
        std::string narrow = title + '\0' + std::string(350, '#');
        std::wstring wide(narrow.begin(), narrow.end());
        EXPECT_EQ(MOLTE_AdjustAppTitleByProduct(narrow.data(), product), result) << title;
        EXPECT_EQ(MOLTE_AdjustAppTitleByProductW(wide.data(), product), result) << title;
        EXPECT_EQ(narrow.c_str(), expected);
        EXPECT_EQ(wide.c_str(), std::wstring(expected_wide.begin(), expected_wide.end())) << title;
    }
    char title[8] = "a-b";
    wchar_t wide[8] = L"a-b";
    EXPECT_EQ(MOLTE_AdjustAppTitle(title) + MOLTE_AdjustAppTitleW(wide), 2);
    EXPECT_STREQ(title, "a- T");
    EXPECT_STREQ(wide, L"a- T");
    EXPECT_EQ(error_of(MOLTE_AdjustAppTitle(nullptr)), "50 oxsysutl");
    EXPECT_EQ(error_of(MOLTE_AdjustAppTitleW(nullptr)), "50 oxsysutl");
}

}  // namespace
