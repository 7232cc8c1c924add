// Wild patterns and texts of anybody: what matches what stands in the rows of the tests. The first
// byte chooses routine and code page.
#include "frame.h"
#include "text/exact.h"

namespace {

// Routines that are no order at all.
int32_t odd_single(int32_t c, int32_t pattern) {
    return (c | 32) == (pattern | 32) ? 0 : (c * 7 + pattern * 13) % 4 - 1;
}
int32_t odd_pair(int32_t c, int32_t pattern) {
    return (c & 0xFF) - (pattern & 0xF0);
}

const OCOLL_WILDMATCH functions[] = {
    ORVEX_WildMatch,
    ORVEX_Ci_WildMatch,
    ORVEX_MB_WildMatch,
    ORVEX_MB_WildPyMatch,
    ORVEX_MB_WildVarPyMatch,
    ORVEX_MB_Ci_WildMatch,
    ORVEX_MB_Ci_WildPyMatch,
    ORVEX_MB_Ci_WildVarPyMatch,
    [](auto text, auto pattern) { return OCOLL_SB_WildMatch(text, pattern, odd_single); },
    [](auto text, auto pattern) {
        return OCOLL_MB_WildMatch(text, pattern, odd_single, odd_pair);
    }};

}  // namespace

void try_input(std::string_view input) {
    if (input.empty()) return;
    const PatternAndText of(input);
    const Exact pattern(of.pattern);
    const int32_t result = functions[(input[0] & 15) % 10](Exact(of.text), pattern);
    must(result == 0 || result == 1);
    std::string stars(pattern);
    ORVEX_NormalizeTempl(stars.data());
    must(strstr(stars.c_str(), "**") == nullptr);
}
