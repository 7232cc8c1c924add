// A file of string resources, in one of the code pages: whatever is wrong in it, the texts that are
// kept are whole.
#include "configuration/rcxmlpro.h"

#include "frame.h"

void try_input(std::string_view input) {
    if (input.size() < 2) return;
    molte::RCXML_SetLocale(input[0] % 2 == 0 ? 2052 : 1033);
    molte::RC_TABLE table{};
    const int32_t result =
        molte::RCXML_ParseBuffer(table, &input[1], static_cast<int32_t>(input.size() - 1));
    must(result == 1 || table.nCount == 0);
    uint32_t last = 0;
    for (int32_t i = 0; i < table.nCount; ++i) {
        const molte::RC_STRING& string = table.pItems[i];
        must(std::strlen(molte::text_of(string)) == static_cast<size_t>(string.nLen));
        must(string.nId >= last && (string.bHeap == 0) == (string.nLen < 80));
        last = string.nId;
    }
    molte::free_table(table);
    must(ORVEX_GetErrData()->nHistCount <= 14);
}
