// A file of string resources, in one of the code pages: whatever is wrong in it, the texts that are
// kept are whole.
#include <cstring>

#include "configuration/rcxmlpro.h"
#include "moltelib.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    molte::RCXML_SetLocale(data[0] % 2 == 0 ? 2052 : 1033);
    molte::RC_TABLE table{};
    molte::RCXML_ParseBuffer(table, reinterpret_cast<const char*>(data + 1),
                             static_cast<int32_t>(size - 1));
    uint32_t last = 0;
    for (int32_t i = 0; i < table.nCount; ++i) {
        const molte::RC_STRING& string = table.pItems[i];
        if (std::strlen(molte::text_of(string)) != static_cast<size_t>(string.nLen) ||
            string.nId < last || (string.bHeap == 0) != (string.nLen < 80)) {
            __builtin_trap();
        }
        last = string.nId;
    }
    molte::free_table(table);
    if (ORVEX_GetErrData()->nHistCount > 14) __builtin_trap();
    return 0;
}
