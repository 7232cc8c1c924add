// Templates of anybody: compiled and matched, beside the plain steps of their rules. A byte chooses
// the code page; the pattern goes up to a line end, the text is the rest.
#include "wild_template_reference.h"

#include "wild_samples.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const bool gbk = (data[0] & 16) != 0;
    OXLANG_SetLocale(gbk ? OXLANG_CHINESE : OXLANG_ENGLISH);
    const std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);
    const size_t end = std::min(input.find('\n'), input.size());
    const std::string pattern(input.substr(0, end).c_str());
    const std::string text(input.substr(std::min(end + 1, input.size())).c_str());
    const TemplateReference reference(pattern, gbk);
    MOLTE_WMTEMPL templ;
    ORVEX_Err_ClearError();
    if (MOLTE_CompileTempl(Exact(pattern), &templ) < 0) {
        if (static_cast<int32_t>(GetRvexErrNo()) != reference.error()) __builtin_trap();
        if (templ.nSubStr != 0 || templ.pSubStr != nullptr) __builtin_trap();
        return 0;
    }
    if (reference.error() != 0) __builtin_trap();
    if (described_template(templ) != reference.described()) __builtin_trap();
    const int32_t matched = MOLTE_CompiledWildMatch(&templ, Exact(text));
    if (matched != (reference.matches(text + '\0') ? 1 : 0)) __builtin_trap();
    MOLTE_WMTEMPL_Free(&templ);
    return 0;
}
