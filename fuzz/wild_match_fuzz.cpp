// Wild patterns and texts of anybody, beside the plain recursion where that comes to an end. A byte
// chooses routine and code page; the pattern goes up to a line end, the text is the rest.
#include "wild_match_reference.h"

#include <string>

#include "wild_samples.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const auto& [match, whole, single, pair] = wild_functions()[(data[0] & 15) % 10];
    const bool gbk = (data[0] & 16) != 0;
    OXLANG_SetLocale(gbk ? OXLANG_CHINESE : OXLANG_ENGLISH);
    const std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t end = std::min(input.find('\n'), input.size());
    const Exact pattern(std::string(input.substr(0, end).c_str()));
    const Exact text(std::string(input.substr(std::min(end + 1, input.size())).c_str()));
    const int32_t result = match(text, pattern);
    WildReference reference(whole && gbk, single, pair);
    const int32_t expected = reference.match(text, pattern);
    if (!reference.gave_up() && result != expected) __builtin_trap();

    std::string stars(pattern);
    ORVEX_NormalizeTempl(stars.data());
    if (strstr(stars.c_str(), "**") != nullptr) __builtin_trap();
    return 0;
}
