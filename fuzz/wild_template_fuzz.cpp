// Templates of anybody, compiled and matched: what they become and match stands in the rows of the
// tests. The first byte chooses the code page.
#include "frame.h"
#include "text/described_template.h"
#include "text/exact.h"

void try_input(std::string_view input) {
    if (input.empty()) return;
    const PatternAndText of(input);
    MOLTE_WMTEMPL templ;
    ORVEX_Err_ClearError();
    if (MOLTE_CompileTempl(Exact(of.pattern), &templ) < 0) {
        const uint32_t error = GetRvexErrNo();
        must(error == 101 || (error >= 420 && error <= 422));
        must(templ.nSubStr == 0 && templ.pSubStr == nullptr);
        return;
    }
    must(described_template(templ).find('!') == std::string::npos ||
         of.pattern.find('!') != std::string::npos);
    const int32_t matched = MOLTE_CompiledWildMatch(&templ, Exact(of.text));
    must(matched == 0 || matched == 1);
    MOLTE_WMTEMPL_Free(&templ);
}
