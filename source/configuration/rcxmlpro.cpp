// The loaded resource.
#include "configuration/rcxmlpro.h"

#include "moltelib/array.h"
#include "moltelib/memory.h"
#include "moltelib/parameter_file.h"
#include "moltelib/text.h"
#include "platform/system.h"

namespace molte {
namespace {

constexpr uint32_t kChinese = 2052;
constexpr size_t kParameterSize = 2048;  // a line of the parameter file

enum State : int32_t {
    kNothing = 0,
    kXml = 1,
    kModuleTable = 2,  // a table inside a loaded module; this library never loads one
};

struct Resource {
    int32_t nState;
    uint32_t nLangId;
    char szLocale[8];
    RC_TABLE stTable;
    PA stSlots;  // further tables (RC_TABLE), which nothing fills here
};

Resource resource;

uint32_t wanted_language() {
    int32_t language = 0;
    if (ORVEX_PARAMETER_GetValueInt("DEF_LANG_ID", &language) > 0 && language != 0) {
        return static_cast<uint32_t>(language);
    }
    const uint32_t of_user = GetUserDefaultLCID();
    return of_user != 0 ? of_user : kChinese;
}

// Finds the file of a language, or else that of Chinese, and then says so.
bool find_file(char (&path)[kResourcePathSize], uint32_t& language, const char*& locale) {
    if (RCXML_BuildPath(path, language, locale) > 0) return true;
    if (language == kChinese) return false;
    language = kChinese;
    locale = "";
    return RCXML_BuildPath(path, language, locale) > 0;
}

int32_t load(const char* path, uint32_t language, const char* locale) {
    if (RCXML_LoadFile(resource.stTable, path) < 0) {
        free_table(resource.stTable);
        return -1;
    }
    resource.nState = kXml;
    resource.nLangId = language;
    ORVEX_strncpy(resource.szLocale, locale, sizeof resource.szLocale);
    return 1;
}

}  // namespace

int32_t RCXML_Init() {
    RCXML_LangTable();
    uint32_t language = wanted_language();
    RCXML_SetLocale(language);
    if (resource.nState != kNothing && resource.nLangId == language) return 1;
    RCXML_Release();
    char named[kParameterSize] = {};
    ORVEX_PARAMETER_GetValue("DEF_LOCAL_ID", named);
    const char* locale = named;
    char path[kResourcePathSize];
    return find_file(path, language, locale) ? load(path, language, locale) : -1;
}

int32_t RCXML_Release() {
    for (int32_t i = 0; i < resource.stSlots.nCount; ++i) {
        free_table(static_cast<RC_TABLE*>(resource.stSlots.pData)[i]);
    }
    PA_Release(&resource.stSlots);
    free_table(resource.stTable);
    resource = {};
    return 1;
}

const char* RCXML_GetString(uint32_t id) {
    const RC_TABLE& table = resource.stTable;
    if (resource.nState != kXml || table.nCount < 1) return nullptr;
    // Halves without a jump that can't be foretold: first ends at the last number not above id.
    const uint32_t* first = table.pnIds;
    for (int32_t left = table.nCount; left > 1;) {
        const int32_t half = left / 2;
        first += first[half] <= id ? half : 0;
        left -= half;
    }
    return *first == id ? text_of(table.pItems[first - table.pnIds]) : nullptr;
}

void free_strings(RC_STRING* strings, int32_t count) {
    for (int32_t i = 0; i < count; ++i) free_text(strings[i]);
    ORVEX_free(strings);
}

void free_table(RC_TABLE& table) {
    if (table.bOwned != 0) {
        free_strings(table.pItems, table.nCount);
        ORVEX_free(table.pnIds);
    }
    table = {};
}

}  // namespace molte
