// Product and company, as the string resources tell them.
#include <cstring>
#include <cwchar>
#include <iterator>

#include "configuration/rcxmlpro.h"
#include "core/modules.h"
#include "moltelib/application.h"
#include "moltelib/parameter_file.h"
#include "platform/code_page.h"

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;

constexpr int32_t kTitleItem = 6;
constexpr const char* kCompanyText = "Lumbra Software Inc";
constexpr const char* kTitleText = "Automatic Identification System";

uint32_t resource_number(int32_t product, int32_t item) {
    const uint32_t base = product == 1   ? 20401
                          : product == 2 ? 20201
                          : product == 3 ? 20301
                          : product == 5 ? 20101
                                         : 20001;
    return base + static_cast<uint32_t>(item) - 1;
}

const char* title_text(int32_t product) {
    return molte::RCXML_GetString(resource_number(product, kTitleItem));
}

}  // namespace

const char* MOLTE_GetCorpInfo(int32_t nItem) {
    return MOLTE_GetCorpInfoByProduct(nItem, 0);
}

const char* MOLTE_GetCorpInfoByProduct(int32_t nItem, int32_t nProduct) {
    if (nProduct == 0 && ORVEX_PARAMETER_GetValueInt("DEF_PRODUCT_ID", &nProduct) < 0) nProduct = 0;
    const uint32_t number = resource_number(nProduct, nItem);
    const char* text = molte::RCXML_GetString(number);
    if (text != nullptr) return text;
    return number == kTitleItem ? kTitleText : kCompanyText;  // no block begins so low: meant
}

int32_t MOLTE_AdjustAppTitle(char* pszTitle) {
    return MOLTE_AdjustAppTitleByProduct(pszTitle, 0);
}

int32_t MOLTE_AdjustAppTitleByProduct(char* pszTitle, int32_t nProduct) {
    if (pszTitle == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const char* text = title_text(nProduct);
    char* dash = std::strchr(pszTitle, '-');
    if (text == nullptr || dash == nullptr) return 0;
    dash[1] = ' ';
    std::strcpy(dash + 2, text);
    return 1;
}

int32_t MOLTE_AdjustAppTitleW(wchar_t* pszTitle) {
    return MOLTE_AdjustAppTitleByProductW(pszTitle, 0);
}

int32_t MOLTE_AdjustAppTitleByProductW(wchar_t* pszTitle, int32_t nProduct) {
    if (pszTitle == nullptr) return kModule.fail(molte::here(), kBadArgument);
    const char* text = title_text(nProduct);
    wchar_t* dash = std::wcschr(pszTitle, L'-');
    if (text == nullptr || dash == nullptr) return 0;
    wchar_t wide[255];
    const size_t length = platform::multibyte_to_wide(wide, text, std::size(wide));
    if (length == platform::kBadText) return 0;
    // A blank and the text, counted: no terminator, so the end of a longer title stays. That is
    // meant; but the title never loses its own terminator.
    const bool reaches_end = std::wcslen(dash + 1) <= length;
    dash[1] = L' ';
    std::wmemcpy(dash + 2, wide, length);
    if (reaches_end) dash[2 + length] = L'\0';
    return 1;
}
