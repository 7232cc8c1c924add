// Product and company, from string resources of the test's own.
#include "support/rows.h"
#include "support/test.h"

namespace {

// In place before the library comes up.
class Texts1033 : public Configured {
 public:
    Texts1033() : Configured("DEF_LANG_ID = 1033\n") {
        std::string items;
        for (const Texts& row : rows_of(TEST_ROWS, "resource")) {
            items.append("<ITEM id='" + row[0] + "' value='" + row[1] + "'/>");
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
    for (const Texts& row : rows_of(TEST_ROWS, "text")) {
        EXPECT_EQ(MOLTE_GetCorpInfoByProduct(std::stoi(row[0]), std::stoi(row[1])), row[2]);
    }
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
    for (const Texts& row : rows_of(TEST_ROWS, "title")) {
        std::string narrow = row[0] + '\0' + std::string(350, '#');
        std::wstring wide(narrow.begin(), narrow.end());
        const int32_t product = std::stoi(row[1]);
        const int32_t result = row[2] == row[0] ? 0 : 1;
        EXPECT_EQ(MOLTE_AdjustAppTitleByProduct(narrow.data(), product), result) << row[0];
        EXPECT_EQ(MOLTE_AdjustAppTitleByProductW(wide.data(), product), result) << row[0];
        EXPECT_EQ(narrow.c_str(), row[2]);
        EXPECT_EQ(wide.c_str(), std::wstring(row[3].begin(), row[3].end())) << row[0];
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
