// Product and company, from string resources of the test's own.
#include "support/test.h"

namespace {

// In place before the library comes up.
class Texts1033 {
 public:
    Texts1033() {
        ORVEX_SetMainPath(root_.str().c_str());
        ORVEX_SYS_CreatePath();
        fs::create_directories(root_.path() / "resource" / "en" / "us");
        std::ofstream(root_.path() / "resource" / "en" / "us" / "moltelibrc_en.xml")
            << "<ORVEX_RESOURCE version='1.0' langid='409'><STRINGTABLE>" << items()
            << "</STRINGTABLE></ORVEX_RESOURCE>";
        ORVEX_PARAMETER_SetValueInt("DEF_LANG_ID", 1033);
        ORVEX_BASE_InitVar();
    }
    ~Texts1033() { ORVEX_BASE_ReleaseVar(); }
    Texts1033(const Texts1033&) = delete;
    Texts1033& operator=(const Texts1033&) = delete;

 private:
    static std::string items() {
        std::string all = "<ITEM id='20306' value='" + std::string(300, 'l') + "'/>";
        for (const auto& [id, text] : {std::pair(20001, "default"),
                                       {20006, "T"},
                                       {20010, "tenth"},
                                       {20101, "five"},
                                       {20201, "two"},
                                       {20206, "Two %s"},
                                       {20301, "three"},
                                       {20401, "one"}}) {
            all += "<ITEM id='" + std::to_string(id) + "' value='" + text + "'/>";
        }
        return all;
    }

    TempFolder root_;
};

TEST(Product, TextsOfItsBlock) {
    const Texts1033 texts;
    const struct {
        int32_t item, product;
        Text text;
    } cases[] = {
        {1, 1, "one"},
        {1, 2, "two"},
        {1, 3, "three"},
        {1, 5, "five"},
        {1, 4, "default"},
        {1, -1, "default"},
        {1, 0, "default"},
        {6, 0, "T"},
        {10, 4, "tenth"},
        {201, 4, "two"},
        {2, 1, "Lumbra Software Inc"},
        {0, 1, "Lumbra Software Inc"},
        {INT32_MIN, 1, "Lumbra Software Inc"},
        {INT32_MAX, 1, "Lumbra Software Inc"},
        {-19994, 4, "Automatic Identification System"},  // resource number 6
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(MOLTE_GetCorpInfoByProduct(c.item, c.product), c.text) << c.item;
    }
    EXPECT_STREQ(MOLTE_GetCorpInfo(1), "default");
    ORVEX_PARAMETER_SetValueInt("DEF_PRODUCT_ID", 2);
    EXPECT_STREQ(MOLTE_GetCorpInfo(1), "two");
    EXPECT_STREQ(MOLTE_GetCorpInfoByProduct(1, 0), "two");
    ORVEX_PARAMETER_SetValue("DEF_PRODUCT_ID", "x");
    EXPECT_STREQ(MOLTE_GetCorpInfo(1), "default");
}

TEST(Product, TextsWithoutResources) {
    EXPECT_STREQ(MOLTE_GetCorpInfoByProduct(1, 3), "Lumbra Software Inc");
    char title[] = "abc-xyz";
    EXPECT_EQ(MOLTE_AdjustAppTitle(title), 0);
    EXPECT_STREQ(title, "abc-xyz");
}

TEST(Product, TitlesBehindTheirFirstDash) {
    const Texts1033 texts;
    ORVEX_PARAMETER_SetValueInt("DEF_PRODUCT_ID", 2);  // no title looks at it
    const std::string cut = " " + std::string(255, 'l');
    const struct {
        std::string title;
        int32_t product, result;
        std::string narrow, wide;
    } cases[] = {
        {"abc-xyz", 0, 1, "abc- T", "abc- Tz"},  // wide: counted, so its end stays
        {"abc-xy", 0, 1, "abc- T", "abc- T"},
        {"abc-x", 0, 1, "abc- T", "abc- T"},
        {"abc-", 9, 1, "abc- T", "abc- T"},
        {"a-b-c", 2, 1, "a- Two %s", "a- Two %s"},
        {"-", 3, 1, "- " + std::string(300, 'l'), "-" + cut},
        {"abc", 0, 0, "abc", "abc"},
        {"", 0, 0, "", ""},
        {"abc-xyz", 1, 0, "abc-xyz", "abc-xyz"},
    };
    for (const auto& c : cases) {
        char narrow[400];
        wchar_t wide[400];
        std::memset(narrow, '#', sizeof narrow);
        std::fill(std::begin(wide), std::end(wide), L'#');
        std::strcpy(narrow, c.title.c_str());
        std::copy_n(std::wstring(c.title.begin(), c.title.end()).c_str(), c.title.size() + 1, wide);
        EXPECT_EQ(MOLTE_AdjustAppTitleByProduct(narrow, c.product), c.result) << c.title;
        EXPECT_EQ(MOLTE_AdjustAppTitleByProductW(wide, c.product), c.result) << c.title;
        EXPECT_EQ(narrow, c.narrow);
        EXPECT_EQ(wide, std::wstring(c.wide.begin(), c.wide.end())) << c.title;
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
