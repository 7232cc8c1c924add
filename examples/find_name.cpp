// Finds names of persons in a list: by pinyin, by wildcard, and by a wildcard whose Chinese
// characters stand for all that share a reading with them.
//
//     find_name INSTALLATION LIST                     all names with their readings
//     find_name INSTALLATION LIST pinyin "zhang wei"
//     find_name INSTALLATION LIST wildcard PATTERN    as of moltelib/wild_match.h
//     find_name INSTALLATION LIST both PATTERN
//
// LIST is a UTF-8 file with a name on each line. Its text is converted at the door: inside the
// program all text is in the code page of the library.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "installation.h"
#include "moltelib.h"
#include "terminal.h"

namespace {

using Test = std::function<bool(const std::string& name)>;

int fail(const char* what) {
    std::printf("%s\n", what);
    if (GetRvexErrNo() != 0) terminal::show_error();
    return 1;
}

// The list's names; a line that is no UTF-8 or not in the code page is told and passed over.
std::vector<std::string> names_in(const std::string& text) {
    std::vector<std::string> names;
    int line = 0;
    const std::string mark = "\xEF\xBB\xBF";  // editors put it in front
    const bool marked = text.compare(0, mark.size(), mark) == 0;
    for (size_t begin = marked ? mark.size() : 0, end; begin < text.size(); begin = end + 1) {
        end = std::min(text.find('\n', begin), text.size());
        ++line;
        std::string utf8 = text.substr(begin, end - begin);
        if (!utf8.empty() && utf8.back() == '\r') utf8.pop_back();
        if (utf8.empty()) continue;
        if (const auto name = terminal::from_utf8(utf8)) {
            names.push_back(*name);
        } else {
            std::printf("line %d can't be read: %s\n", line, utf8.c_str());
        }
    }
    return names;
}

std::string readings_of(const std::string& name) {
    char readings[1024];
    return MOLTE_Name2Pinyin(name.c_str(), readings, sizeof readings) > 0 ? readings : "";
}

// "zhang wei" is the template "* ZHANG * WEI *" of the readings, each of which has a blank on both
// sides.
Test by_pinyin(const std::string& words) {
    std::string pattern = "*";
    int32_t count = 0;
    char** word = ox_strsplit(words.c_str(), " ", &count);
    for (int32_t i = 0; i < count; ++i) {
        if (ox_strlen(word[i]) > 0) pattern += std::string(" ") + word[i] + " *";
        ORVEX_free(word[i]);
    }
    ORVEX_free(word);
    return [pattern](const std::string& name) {
        return ORVEX_Ci_WildMatch(readings_of(name).c_str(), pattern.c_str()) > 0;
    };
}

Test by_wildcard(const std::string& pattern, int32_t collation) {
    const OCOLL_WILDMATCH match = ORVEX_UTIL_GetWildMatchRoutine(OXLANG_COLLATE_LAT_CI, collation);
    return [=](const std::string& name) { return match(name.c_str(), pattern.c_str()) > 0; };
}

std::optional<Test> test_of(const std::string& kind, const std::string& query) {
    if (kind == "pinyin") return by_pinyin(query);
    if (kind == "wildcard") return by_wildcard(query, OXLANG_COLLATE_MB_BIN);
    if (kind == "both") return by_wildcard(query, OXLANG_COLLATE_MB_PY);
    return std::nullopt;
}

bool bring_up(const char* installation) {
    return ORVEX_SetMainPath(installation) > 0 && make_installation(installation) &&
           ORVEX_BASE_InitVar() > 0 && OXLANG_LID_Set(OXLANG_KIND_DEFAULT, OXLANG_CHINESE) > 0 &&
           OXLANG_SetLocale(OXLANG_CHINESE) > 0 && MOLTE_HZPY_Init(&g_stPinYin) >= 0;
}

int list(const char* file, const Test& wanted) {
    char* text = nullptr;
    int32_t length = 0;
    if (ORVEX_FileLenByFileName(file) < 0 || ORVEX_LoadTextDataFile(file, &text, &length) < 0) {
        return fail("The list can't be read.");
    }
    const auto names = names_in(std::string(text, static_cast<size_t>(length)));
    ORVEX_free(text);
    size_t found = 0;
    for (const std::string& name : names) {
        if (!wanted(name)) continue;
        ++found;
        terminal::show((name + " " + readings_of(name) + "\n").c_str());
    }
    std::printf("%zu of %zu names\n", found, names.size());
    return 0;
}

int run(int argc, char** argv) {
    if (!bring_up(argv[1])) return fail("The library can't be brought up.");
    ORVEX_Err_ClearError();  // making the table leaves one behind
    if (argc == 3) return list(argv[2], [](const std::string&) { return true; });
    const auto query = terminal::from_argument(argv[4]);
    if (!query) return fail("The query is not in the code page.");
    const auto wanted = test_of(argv[3], *query);
    return wanted ? list(argv[2], *wanted) : fail("A query is pinyin, wildcard or both.");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 5) {
        std::fprintf(stderr, "use: find_name INSTALLATION LIST [pinyin|wildcard|both QUERY]\n");
        return 2;
    }
    const int result = run(argc, argv);
    ORVEX_BASE_ReleaseVar();
    return result;
}
