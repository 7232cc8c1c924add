// The user's language as a number of Windows.
#include <cstdlib>
#include <string_view>

#include "platform/system.h"

namespace {

struct Language {
    std::string_view name;  // of the environment; a name without a country stands for the rest
    LANGID id;
};

constexpr LANGID kUsEnglish = 1033;
constexpr Language kLanguages[] = {
    {"zh_TW", 1028},  {"zh_HK", 3076},  {"zh_SG", 4100}, {"zh_MO", 5124}, {"zh", 2052},
    {"en_GB", 2057},  {"en_AU", 3081},  {"en_CA", 4105}, {"en", 1033},    {"es_MX", 2058},
    {"es_AR", 11274}, {"es_CL", 13322}, {"es_CO", 9226}, {"es", 3082},    {"de", 1031},
    {"fr", 1036},     {"it", 1040},     {"ja", 1041},    {"ko", 1042},    {"nl", 1043},
    {"pl", 1045},     {"pt_PT", 2070},  {"pt", 1046},    {"ru", 1049},    {"tr", 1055},
};

// The first of these that is set decides, as it does for the C library's messages.
std::string_view locale_name() {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = secure_getenv(variable);
        if (value != nullptr && *value != '\0') return value;
    }
    return {};
}

// Whether a locale is that language: "zh" is "zh", "zh_CN" and "zh_CN.UTF-8", not "zhx".
bool is_language(std::string_view locale, std::string_view name) {
    if (!locale.starts_with(name)) return false;
    return locale.size() == name.size() ||
           std::string_view("_.@").find(locale[name.size()]) != std::string_view::npos;
}

}  // namespace

LANGID GetUserDefaultLangID() {
    const std::string_view locale = locale_name();
    for (const Language& language : kLanguages) {
        if (is_language(locale, language.name)) return language.id;
    }
    return kUsEnglish;
}

LCID GetUserDefaultLCID() {
    return GetUserDefaultLangID();
}
