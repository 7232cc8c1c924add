// The loaded resource, the languages that there are, and the texts of records.
#include "configuration/rcxmlpro.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "core/above.h"
#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/array.h"
#include "moltelib/main_path.h"
#include "moltelib/memory.h"
#include "moltelib/parameter_file.h"
#include "moltelib/text.h"
#include "platform/code_page.h"
#include "platform/files.h"
#include "platform/system.h"

namespace molte {
namespace {

constexpr auto kModule = kRcxmlpro;

// ---- Texts of records ----

constexpr int32_t kHeapStep = 1024;
constexpr int32_t kMaxText = INT32_MAX - 2 * kHeapStep;  // its block's size is an int32_t

char* heap_text(const RC_STRING& string) {
    char* text = nullptr;
    std::memcpy(&text, string.abyText, sizeof text);
    return text;
}

void keep_on_heap(RC_STRING& string, char* block, int32_t size) {
    std::memcpy(string.abyText, &block, sizeof block);
    string.nCapacity = size;
    string.bHeap = 1;
    string.bOwned = 1;
}

// Moves a text onto the heap or into a larger block, which holds size bytes at least.
char* grow_text(RC_STRING& string, int32_t size) {
    const int32_t steps = (size - string.nCapacity + kHeapStep - 1) / kHeapStep;
    if (string.bHeap == 0) {
        Heap<char> block = allocate<char>(int64_t{steps} * kHeapStep);
        if (block == nullptr) {
            kModule.trace(402);
            return nullptr;
        }
        std::memcpy(block.get(), string.abyText, static_cast<size_t>(string.nLen));
        keep_on_heap(string, block.release(), steps * kHeapStep);
    } else if (size > string.nCapacity) {
        void* block = heap_text(string);
        int32_t capacity = string.nCapacity;
        if (ORVEX_release_realloc(&block, 1, &capacity, steps * kHeapStep) < 0) {
            kModule.trace(409);
            return nullptr;
        }
        keep_on_heap(string, static_cast<char*>(block), capacity);
    }
    return heap_text(string);
}

// ---- Languages ----

constexpr uint32_t kPrimaryLanguage = 0x3FF;  // of a locale id

// Sorted by nLCID.
constexpr RC_LANG kLanguages[] = {
    {"ar", "default", 1, 1, {}},  {"zh", "default", 4, 1, {}},  {"de", "default", 7, 1, {}},
    {"en", "default", 9, 1, {}},  {"es", "default", 10, 1, {}}, {"fr", "default", 12, 1, {}},
    {"ja", "default", 17, 1, {}}, {"ko", "default", 18, 1, {}}, {"pt", "default", 22, 1, {}},
    {"ru", "default", 25, 1, {}}, {"ar", "sa", 1025, 0, {}},    {"zh", "tw", 1028, 0, {}},
    {"de", "de", 1031, 0, {}},    {"en", "us", 1033, 0, {}},    {"es", "es2", 1034, 0, {}},
    {"fr", "fr", 1036, 0, {}},    {"ja", "jp", 1041, 0, {}},    {"ko", "kr", 1042, 0, {}},
    {"ru", "ru", 1049, 0, {}},    {"zh", "cn", 2052, 0, {}},    {"en", "gb", 2057, 0, {}},
    {"es", "mx", 2058, 0, {}},    {"pt", "pt", 2070, 0, {}},    {"zh", "hk", 3076, 0, {}},
    {"es", "es", 3082, 0, {}},    {"zh", "sg", 4100, 0, {}},    {"zh", "mo", 5124, 0, {}},
    {"es", "ar", 11274, 0, {}}};

constexpr bool is_below(const RC_LANG& row, uint32_t lcid) {
    return row.nLCID < lcid;
}

static_assert(std::size(kLanguages) == 28);
static_assert(std::is_sorted(std::begin(kLanguages), std::end(kLanguages),
                             [](const RC_LANG& a, const RC_LANG& b) { return a.nLCID < b.nLCID; }));

const RC_LANG* row_of(uint32_t lcid) {
    const auto* row =
        std::lower_bound(std::begin(kLanguages), std::end(kLanguages), lcid, is_below);
    return row != std::end(kLanguages) && row->nLCID == lcid ? row : nullptr;
}

bool is_file_of(char (&path)[kResourcePathSize], const char* language, const char* locale) {
    const char* main_path = GetMainPath();
    if (main_path == nullptr) return false;
    char folder[kResourcePathSize];
    char name[16];
    std::snprintf(folder, sizeof folder, "%s%c%s%c%s%c", "resource", '\\', language, '\\', locale,
                  '\\');
    std::snprintf(name, sizeof name, "rc_%s", language);
    const int length = std::snprintf(path, sizeof path, "%s%c%s%s%s%s", main_path, '\\', folder,
                                     "moltelib", name, ".xml");
    return length < static_cast<int>(sizeof path) && _access(path, 0) == 0;
}

// ---- The resource ----

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

// ---- The loaded resource ----

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
    RC_STRING* const end = table.pItems + table.nCount;
    const RC_STRING* const found =
        std::lower_bound(table.pItems, end, id,
                         [](const RC_STRING& item, uint32_t wanted) { return item.nId < wanted; });
    return found != end && found->nId == id ? text_of(*found) : nullptr;
}

const char* text_by_number(uint32_t number) {
    return RCXML_GetString(number);
}

void free_strings(RC_STRING* strings, int32_t count) {
    for (int32_t i = 0; i < count; ++i) free_text(strings[i]);
    ORVEX_free(strings);
}

void free_table(RC_TABLE& table) {
    if (table.bOwned != 0) free_strings(table.pItems, table.nCount);
    table = {};
}

// ---- Languages and their files ----

int32_t RCXML_LangTable() {
    static bool ready = false;
    if (ready) return 1;
    ready = true;
    InitMainPath();
    return static_cast<int32_t>(std::size(kLanguages));
}

int32_t RCXML_FindLang(uint32_t lcid, const RC_LANG** exact, const RC_LANG** neutral) {
    *exact = row_of(lcid);
    *neutral = row_of(lcid & kPrimaryLanguage);
    return *exact != nullptr || *neutral != nullptr ? 1 : -1;
}

int32_t RCXML_SetLocale(uint32_t lcid) {
    constexpr uint32_t chinese[] = {2052, 4};
    constexpr uint32_t spanish[] = {10, 1034, 2058, 3082, 11274};
    const auto is_one_of = [lcid](const auto& ids) {
        return std::find(std::begin(ids), std::end(ids), lcid) != std::end(ids);
    };
    const char* name = is_one_of(chinese) ? "chs" : is_one_of(spanish) ? "esp" : "us";
    if (platform::set_locale(name) != nullptr) return 1;
    return kModule.fail(here(), kNoLocale, SystemError::runtime, "set locale error. %s", name);
}

int32_t RCXML_BuildPath(char (&path)[kResourcePathSize], uint32_t lcid, const char* locale) {
    const RC_LANG* exact = nullptr;
    const RC_LANG* neutral = nullptr;
    if (RCXML_FindLang(lcid, &exact, &neutral) < 0) return -1;
    if (neutral == exact) neutral = nullptr;
    const bool has_locale = locale != nullptr && locale[0] != '\0';
    for (const RC_LANG* row : {exact, neutral}) {
        if (row == nullptr) continue;
        if (has_locale && is_file_of(path, row->szLang, locale)) return 1;
        if (is_file_of(path, row->szLang, row->szLocale)) return 1;
    }
    return -1;
}

// ---- Texts of records ----

const char* text_of(const RC_STRING& string) {
    return string.bHeap != 0 ? heap_text(string) : string.abyText;
}

void free_text(RC_STRING& string) {
    if (string.bOwned != 0) ORVEX_free(heap_text(string));
    string.bHeap = 0;
    string.bOwned = 0;
    string.nCapacity = 0;
    string.nLen = 0;
    string.abyText[0] = '\0';
}

int32_t set_text(RC_STRING& string, const char* text, int32_t length) {
    free_text(string);  // an item may have two: "value" and "VALUE"
    char* to = string.abyText;
    if (length >= static_cast<int32_t>(sizeof string.abyText)) {
        to = allocate<char>(length + 1).release();
        if (to == nullptr) return kModule.trace(313);
        keep_on_heap(string, to, length + 1);
    }
    std::memcpy(to, text, static_cast<size_t>(length));
    to[length] = '\0';
    string.nLen = length;
    return 1;
}

int32_t add_text(RC_STRING& string, const char* text, int32_t length) {
    if (string.nLen > kMaxText - length) return kModule.fail(here(), kTooLong);
    const int32_t total = string.nLen + length;
    const bool in_record = string.bHeap == 0 && total < static_cast<int32_t>(sizeof string.abyText);
    char* to = in_record ? string.abyText : grow_text(string, total + 1);
    if (to == nullptr) return -1;
    std::memcpy(to + string.nLen, text, static_cast<size_t>(length));
    to[total] = '\0';
    string.nLen = total;
    return 1;
}

}  // namespace molte
