// Wild patterns and texts of anybody, beside the plain recursion where that comes to an end. The
// first byte chooses routine and code page.
#include "wild_match_reference.h"

#include "frame.h"
#include "text/exact.h"

void try_input(std::string_view input) {
    if (input.empty()) return;
    const PatternAndText of(input);
    const WildFunction& function = wild_functions[(input[0] & 15) % 10];
    const Exact pattern(of.pattern);
    const Exact text(of.text);
    const int32_t result = function.match(text, pattern);
    WildReference reference(function.pair != nullptr && of.gbk, function.single, function.pair);
    const int32_t expected = reference.match(text, pattern);
    must(reference.gave_up() || result == expected);

    std::string stars(pattern);
    ORVEX_NormalizeTempl(stars.data());
    must(strstr(stars.c_str(), "**") == nullptr);
}
