// The texts by which services and tables are named, taken apart.
#include "moltelib/service_address.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "moltelib/text.h"

using molte::here;
using molte::kBadArgument;

namespace {

constexpr auto kModule = molte::kOxsysutl;
constexpr int32_t kPortSize = 16;
constexpr int32_t kNumberSize = 6;

// atoi without its overflow.
template <typename Number>
Number to_number(const char* text) {
    using Limits = std::numeric_limits<Number>;
    const long long value = std::strtoll(text, nullptr, 10);
    return static_cast<Number>(std::clamp<long long>(value, Limits::min(), Limits::max()));
}

// Nothing may stand where the grammar ends.
int32_t ended(const char* at) {
    return *at == '\0' ? 1 : -1;
}

// The part in front of '@'; true when it fitted, and then *at is behind it.
bool split_user(const char** at, char* first, int32_t first_size, char* second,
                int32_t second_size) {
    const char separator = (*at)[std::strcspn(*at, ":@")] == ':' ? ':' : '@';
    int32_t length = ox_copyto(first, first_size, *at, separator);
    if (length < 0) return kModule.trace(4159) > 0;
    *at += length;
    if (**at != ':') return true;
    ++*at;
    length = ox_copytoesc(second, second_size, *at, '@', '@');  // the same byte: no escapes
    if (length < 0) return kModule.trace(4165) > 0;
    *at += length;
    return true;
}

}  // namespace

int32_t MOLTE_AnalyzeService(const char* pszText, char* pszFirst, int32_t nFirstLen,
                             char* pszSecond, int32_t nSecondLen, char* pszHost, int32_t nHostLen,
                             int32_t* pnPort) {
    if (pszText == nullptr || pszFirst == nullptr || pszSecond == nullptr || pszHost == nullptr ||
        pnPort == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    const char* at = pszText;
    if (*at != '@' && !split_user(&at, pszFirst, nFirstLen, pszSecond, nSecondLen)) return -1;
    if (*at != '@') return ended(at);
    ++at;
    const int32_t length = ox_copyto(pszHost, nHostLen, at, ':');
    if (length < 0) return kModule.trace(4173);
    at += length;
    if (*at != ':') return ended(at);
    char port[kPortSize] = "";
    if (ox_copyto(port, sizeof port, at + 1, '\0') < 0) return kModule.trace(4179);
    *pnPort = to_number<int32_t>(port);
    return 1;
}

int32_t MOLTE_AnalyzeDTID(const char* pszText, uint16_t* pnFirst, uint16_t* pnSecond) {
    if (pszText == nullptr || pnFirst == nullptr || pnSecond == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    char number[kNumberSize] = "";
    const int32_t length = ox_copyto(number, sizeof number, pszText, ':');
    if (length < 0) return kModule.trace(4199);
    if (length == 0 || ox_isalldigit(number) == 0) return -1;
    *pnFirst = to_number<uint16_t>(number);
    const char* const at = pszText + length;
    if (*at != ':') return ended(at);
    number[0] = '\0';
    if (ox_copyto(number, sizeof number, at + 1, '\0') < 0) return kModule.trace(4208);
    *pnSecond = to_number<uint16_t>(number);
    return 1;
}
