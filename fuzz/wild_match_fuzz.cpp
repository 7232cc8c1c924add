// Wild patterns and texts of anybody, beside the plain recursion where that comes to an end. A byte
// chooses routine and code page; the pattern goes up to a line end, the text is the rest.
#include "../tests/text/wild_match_reference.h"

#include <string>

#include "../tests/text/wild_samples.h"

namespace {

int32_t odd_order(int32_t c, int32_t pattern) {
    return (c | 32) == (pattern | 32) ? 0 : (c * 7 + pattern * 13) % 4 - 1;
}

int32_t match(int choice, const char* text, const char* pattern) {
    if (choice < 8) return wild_functions()[static_cast<size_t>(choice)].match(text, pattern);
    if (choice < 12) return OCOLL_SB_WildMatch(text, pattern, odd_order);
    return OCOLL_MB_WildMatch(text, pattern, odd_order, odd_order);
}

WildFunction parts_of(int choice) {
    if (choice < 8) return wild_functions()[static_cast<size_t>(choice)];
    return {nullptr, choice >= 12, odd_order, odd_order};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const int choice = data[0] & 15;
    const bool gbk = (data[0] & 16) != 0;
    OXLANG_SetLocale(gbk ? OXLANG_CHINESE : OXLANG_ENGLISH);
    const std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t end = std::min(input.find('\n'), input.size());
    const Exact pattern(std::string(input.substr(0, end).c_str()));
    const Exact text(std::string(input.substr(std::min(end + 1, input.size())).c_str()));
    const int32_t result = match(choice, text, pattern);
    const WildFunction parts = parts_of(choice);
    WildReference reference(parts.whole && gbk, parts.single, parts.pair, 50000);
    const int32_t expected = reference.match(text, pattern);
    if (!reference.gave_up() && result != expected) __builtin_trap();

    std::string stars(pattern);
    ORVEX_NormalizeTempl(stars.data());
    if (strstr(stars.c_str(), "**") != nullptr) __builtin_trap();
    return 0;
}
