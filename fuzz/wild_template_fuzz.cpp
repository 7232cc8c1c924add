// Templates of anybody: compiled and matched, beside the plain steps of their rules. The first byte
// chooses the code page.
#include "wild_template_reference.h"

#include "frame.h"
#include "text/described_template.h"
#include "text/exact.h"

void try_input(std::string_view input) {
    if (input.empty()) return;
    const PatternAndText of(input);
    const TemplateReference reference(of.pattern, of.gbk);
    MOLTE_WMTEMPL templ;
    ORVEX_Err_ClearError();
    if (MOLTE_CompileTempl(Exact(of.pattern), &templ) < 0) {
        must(static_cast<int32_t>(GetRvexErrNo()) == reference.error());
        must(templ.nSubStr == 0 && templ.pSubStr == nullptr);
        return;
    }
    must(reference.error() == 0);
    must(described_template(templ) == reference.described());
    const int32_t matched = MOLTE_CompiledWildMatch(&templ, Exact(of.text));
    must(matched == (reference.matches(of.text + '\0') ? 1 : 0));
    MOLTE_WMTEMPL_Free(&templ);
}
