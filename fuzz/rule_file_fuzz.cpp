// A file of bar-code rules as somebody may have written it: loaded, saved, and applied to the
// patterns in it and what stands behind the rules.
#include <memory>

#include "frame.h"

namespace {

void convert(const std::string& text, int32_t size, const CONVBAR_RULES& rules) {
    const std::string input(text.c_str());
    const auto output = std::make_unique<char[]>(static_cast<size_t>(size) + 1);
    ORVEX_CONVBAR_SimpConv(input.c_str(), output.get(), size, &rules);
    must(output[static_cast<size_t>(size)] == '\0');
    must(!input.empty() || std::strlen(output.get()) == 0);
}

}  // namespace

void try_input(std::string_view input) {
    CONVBAR_RULES rules;
    const char* const path = file_of(input);
    rules.nCount = ORVEX_CONVBAR_GetAllRuleByFN(path, &rules.pRule);
    if (rules.nCount < 0) return;
    const size_t size = 40 + sizeof(CONVBAR_RULE) * static_cast<size_t>(rules.nCount);
    must(ORVEX_CONVBAR_SaveAllRuleByFN(path, rules.pRule, rules.nCount) == 1);
    const std::string saved = read_bytes(path);
    must(saved.size() == size && saved.substr(0, 4) == input.substr(0, 4));
    must(std::string_view(saved).substr(40) == input.substr(40, size - 40));
    for (int32_t i = 0; i < rules.nCount; ++i) {
        const CONVBAR_RULE& rule = rules.pRule[i];
        convert(std::string(rule.szPattern, sizeof rule.szPattern), rule.nOpCount * 8, rules);
    }
    convert(std::string(input.substr(size)), 13, rules);
    ORVEX_free(rules.pRule);
}
