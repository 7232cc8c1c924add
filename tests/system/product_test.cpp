// Product and company, from string resources of the test's own.
#include "support/scenes.h"

namespace {

class Product : public testing::Test {
 protected:
    ~Product() override { ORVEX_BASE_ReleaseVar(); }
    Configured folder_{"DEF_LANG_ID = 1033\n"};
};

// With these texts.
int32_t up(Text items) {
    const fs::path folder = fs::path(GetMainPath()) / "resource" / "en" / "us";
    fs::create_directories(folder);
    std::ofstream(folder / "moltelibrc_en.xml")
        << "<ORVEX_RESOURCE version='1.0' langid='409'><STRINGTABLE>" << items
        << "</STRINGTABLE></ORVEX_RESOURCE>";
    return ORVEX_BASE_InitVar();
}

// A narrow or wide title becomes another one; nothing but its terminator ends it.
template <typename Char, typename... Product>
std::string title(int32_t (*adjust)(Char*, Product...), Text text, Product... product) {
    if (text == nullptr) return outcome(adjust(nullptr, product...));
    std::array<Char, 700> title;
    title.fill('#');
    std::copy_n(text, std::strlen(text) + 1, title.begin());
    title.back() = 0;
    const std::string told = outcome(adjust(title.data(), product...));
    return told + " > " + fs::path(title.data()).string();
}

[[maybe_unused]] const bool plays = play_scenes<Product>(
    "Product", TEST_ROWS,
    {{"up", step_of<up>},
     {"product", step_of<[](Text id) { return ORVEX_PARAMETER_SetValue("DEF_PRODUCT_ID", id); }>},
     {"text", step_of<[](int32_t item) { return std::string(MOLTE_GetCorpInfo(item)); }>},
     {"text_of_product", step_of<[](int32_t item, int32_t product) {
          return std::string(MOLTE_GetCorpInfoByProduct(item, product));
      }>},
     {"title", step_of<[](Text text) { return title(MOLTE_AdjustAppTitle, text); }>},
     {"wide_title", step_of<[](Text text) { return title(MOLTE_AdjustAppTitleW, text); }>},
     {"title_of_product", step_of<[](Text text, int32_t product) {
          return title(MOLTE_AdjustAppTitleByProduct, text, product);
      }>},
     {"wide_title_of_product", step_of<[](Text text, int32_t product) {
          return title(MOLTE_AdjustAppTitleByProductW, text, product);
      }>}});

}  // namespace
