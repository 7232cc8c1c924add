// Single characters of 8-bit text.
#include "core/modules.h"
#include "moltelib/multibyte.h"
#include "platform/code_page.h"

using molte::here;
using molte::kBadArgument;

namespace {

constexpr auto kModule = molte::kOxsysutl;

}  // namespace

int32_t ORVEX_isleadbyte(int32_t c) {
    return isleadbyte(static_cast<unsigned char>(c));
}

int32_t ORVEX_GetCharMB(const char* s, int32_t* pnLen) {
    if (s == nullptr || pnLen == nullptr) return kModule.fail(here(), kBadArgument);
    const auto first = static_cast<unsigned char>(s[0]);
    const bool two = platform::is_lead_byte(first);
    *pnLen = two ? 2 : 1;
    return two ? first * 256 + static_cast<unsigned char>(s[1]) : first;
}

int32_t ORVEX_mblen(const char* s) {
    return platform::char_length(s, static_cast<size_t>(platform::longest_char()));
}

int32_t ORVEX_CharByte(const char* s) {
    return ORVEX_mblen(s);
}

int32_t ORVEX_MB2Code(int32_t nFirst, int32_t nSecond) {
    return static_cast<int8_t>(nFirst) * 256 + static_cast<int8_t>(nSecond);
}
