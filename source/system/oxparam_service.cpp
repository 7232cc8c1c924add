// Whether the program is to run as a service.
#include <algorithm>
#include <string_view>

#include "moltelib/parameter_file.h"
#include "moltelib/service.h"

namespace {

struct Options {
    char* const* begin;
    char* const* end;

    [[nodiscard]] bool has_any(std::string_view one, std::string_view other) const {
        return std::any_of(begin, end, [&](const char* word) {
            return word != nullptr && (word == one || word == other);
        });
    }
};

}  // namespace

int32_t ORVEX_IsRunAsService(const char* pszParamName, int32_t nArgCount, char* const* ppszArgs) {
    const bool any = ppszArgs != nullptr && nArgCount > 1;
    const Options options{ppszArgs + (any ? 1 : 0), ppszArgs + (any ? nArgCount : 0)};
    if (options.has_any("-notasservice", "-notasdaemon")) return 0;
    if (options.has_any("-runasservice", "-runasdaemon")) return 1;
    int32_t number = 0;
    return ORVEX_PARAMETER_GetValueInt(pszParamName, &number) > 0 ? number : 0;
}
