// Names of persons in Chinese: how they read, and finding them in a list.
#include <algorithm>
#include <memory>
#include <sstream>

#include "commands.h"
#include "files.h"
#include "interrupt.h"
#include "lines.h"
#include "progress.h"

namespace tool {

namespace {

constexpr size_t kLongestName = 1024;  // bytes, in UTF-8

struct Order {
    bool pinyin = false, wild = false, both = false;
    std::string pattern, list = "-";
};

// ---- Readings ----

// A character, or a run of letters, and all that it may read as; none for an unknown character.
struct Part {
    std::string text;
    std::vector<std::string> readings;
};

void load_pinyin(const Tool& tool) {
    if (MOLTE_HZPY_Init(&g_stPinYin) < 0) {
        throw Failure(tool.settings.installation.empty()
                          ? "Pinyin comes from an installation; see --installation"
                          : "The pinyin of the installation can't be read");
    }
    ORVEX_Err_ClearError();  // making the table leaves one behind
}

std::vector<std::string> words_of(const std::string& text) {
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

Part part_of(const MOLTE_NAMEPART& part) {
    char text[4] = {};
    char readings[2048];
    check(MOLTE_NAMEPART2PinYin(&part, 1, readings, sizeof readings), "A name can't be read");
    if (part.nType == MOLTE_NAMEPART_CHINESE) MOLTE_HZ_Code2Str(part.nValue, text);
    return {from_library(part.pszText != nullptr ? part.pszText : text), words_of(readings)};
}

// Of a name in the library's code page; digits, blanks and the like have no part in it.
std::vector<Part> parts_of(const std::string& name) {
    MOLTE_NAMEPART* parts = nullptr;
    const int32_t count = check(MOLTE_Name2Part(name.c_str(), &parts), "A name can't be read");
    const auto release = [count](MOLTE_NAMEPART* all) {
        MOLTE_NAMEPART_MultiFree(all, count);
        ORVEX_free(all);
    };
    const std::unique_ptr<MOLTE_NAMEPART, decltype(release)> owned(parts, release);
    std::vector<Part> all;
    for (int32_t i = 0; i < count; ++i) {
        if (parts[i].nType != MOLTE_NAMEPART_OTHER) all.push_back(part_of(parts[i]));
    }
    return all;
}

// ---- The list ----

struct Name {
    size_t line;
    std::string utf8, text;  // in the library's code page
};

// VISIT each name. What is none of the encoding, or of the code page, is left out and told.
uint64_t each_name(Tool& tool, const std::string& file,
                   const std::function<void(const Name&)>& visit) {
    const std::string bytes = read_whole(file);
    LeftOut left(file);
    Progress progress("reading names", bytes.size());
    each_line(bytes, [&](size_t number, std::string_view line) {
        progress.advance(line.size() + 1);
        if (trimmed(line).empty()) return;
        if (line.size() > kLongestName) return left.add("longer than 1024 bytes", number);
        const auto utf8 = utf8_from(trimmed(line), tool.settings.encoding);
        if (!utf8) return left.add("not in the encoding (see --encoding)", number);
        const auto text = utf8_to(*utf8, Encoding::gbk);
        if (!text) return left.add("with a character that the code page lacks", number);
        visit({number, *utf8, *text});
    });
    left.tell(tool);
    return left.count();
}

// Chinese text is understood from here on.
void bring_up(Tool& tool) {
    tool.bring_up(Language::chinese);
    if (OXLANG_LID_Get(OXLANG_KIND_DEFAULT) != OXLANG_CHINESE ||
        OXLANG_SetLocale(OXLANG_CHINESE) < 0) {
        throw Failure("Chinese text isn't understood on this machine");
    }
}

int readings(Tool& tool, const Order& order) {
    bring_up(tool);
    load_pinyin(tool);
    uint64_t names = 0;
    const uint64_t left_out = each_name(tool, order.list, [&](const Name& name) {
        std::string line = shown(name.utf8) + "\t";
        Json object = {{"line", name.line}, {"name", name.utf8}, {"parts", Json::array()}};
        const std::vector<Part> parts = parts_of(name.text);
        for (const Part& part : parts) {
            std::string all;
            for (const std::string& reading : part.readings)
                all += (all.empty() ? "" : "/") + reading;
            line += (&part == parts.data() ? "" : " ") + (all.empty() ? part.text : all);
            object["parts"].push_back({{"text", part.text}, {"readings", part.readings}});
        }
        tool.out.say(line, object);
        ++names;
    });
    return left_out > 0 ? kPartly : names > 0 ? kDone : kNothing;
}

// ---- Finding ----

using Test = std::function<bool(const Name&)>;

// Each syllable is a wild pattern for one of the readings of a part, in their order.
Test by_pinyin(const std::vector<std::string>& syllables) {
    return [syllables](const Name& name) {
        const std::vector<Part> parts = parts_of(name.text);
        auto part = parts.begin();
        for (const std::string& syllable : syllables) {
            part = std::find_if(part, parts.end(), [&](const Part& one) {
                return std::any_of(
                    one.readings.begin(), one.readings.end(), [&](const std::string& reading) {
                        return ORVEX_Ci_WildMatch(reading.c_str(), syllable.c_str()) > 0;
                    });
            });
            if (part == parts.end()) return false;
            ++part;
        }
        return true;
    };
}

Test by_wildcard(const std::string& pattern, int32_t collation) {
    const OCOLL_WILDMATCH match = ORVEX_UTIL_GetWildMatchRoutine(OXLANG_COLLATE_LAT_CI, collation);
    return [=](const Name& name) { return match(name.text.c_str(), pattern.c_str()) > 0; };
}

// A class without an end fits nothing.
bool has_open_class(const std::string& pattern) {
    for (size_t at = 0; (at = pattern.find('[', at)) != std::string::npos; ++at) {
        if (at > 0 && pattern[at - 1] == '\\') continue;
        at = pattern.find(']', at);
        if (at == std::string::npos) return true;
    }
    return false;
}

int find(Tool& tool, const Order& order) {
    if (order.pinyin + order.wild + order.both != 1) {
        throw Failure("How is it to be found? One of --pinyin, --wild and --both", kUsage);
    }
    if (order.pattern.size() > kLongestName) throw Failure("The pattern is too long", kUsage);
    const std::string utf8 = tool.argument(order.pattern);
    if (trimmed(utf8).empty()) throw Failure("An empty pattern fits every name", kUsage);
    if (has_open_class(utf8)) throw Failure("A [ in the pattern has no ] behind it", kUsage);
    bring_up(tool);
    if (!order.wild) load_pinyin(tool);
    const std::string pattern = to_library(utf8);
    const Test fits = order.pinyin ? by_pinyin(words_of(pattern))
                      : order.wild ? by_wildcard(pattern, OXLANG_COLLATE_MB_BIN)
                                   : by_wildcard(pattern, OXLANG_COLLATE_MB_PY);
    uint64_t found = 0;
    const uint64_t left_out = each_name(tool, order.list, [&](const Name& name) {
        if (!fits(name)) return;
        tool.out.say(shown(name.utf8), {{"line", name.line}, {"name", name.utf8}});
        ++found;
    });
    if (left_out > 0) return kPartly;
    return found > 0 ? kDone : kNothing;
}

}  // namespace

void add_name(Commands& commands) {
    constexpr char kList[] = "A file of a name a line; - or none is standard input";
    CLI::App* group = commands.group("name", "Names of persons in Chinese");
    const auto order = std::make_shared<Order>();

    CLI::App* read = commands.add(
        "readings", "Tells how names read, in pinyin",
        {{"name readings names.txt", "all names of a list"},
         {"name readings --encoding gbk --json names.txt", "a list in GBK, for a program"}},
        group);
    commands.describe(
        read,
        "Behind the name stand its readings: ZHANG WEI, or LU/LIU YAN where a character "
        "has several.\nLetters stand as they are, digits and the like are left out. "
        "The table of pinyin is that of the\ninstallation.");
    read->add_option("LIST", order->list, kList);
    commands.runs(read, [order](Tool& tool) { return readings(tool, *order); });

    CLI::App* search = commands.add(
        "find", "Finds names in a list",
        {{"name find --pinyin \"zhang w*\" names.txt", "by syllables, in any of their readings"},
         {"name find --wild \"\u5f20*\" names.txt", "by a wild pattern, as it is written"},
         {"name find --both \"\u5f20*\" names.txt",
          "the same, and all characters that read alike"}},
        group);
    commands.describe(
        search,
        "Patterns: * is any run of characters, ? one, . one or none, [a-c] one of "
        "a class, [^a-c] one\nthat is not in it, [*] the star itself, and a backslash "
        "one that is NOT the next. Letters fit in\neither case. With --pinyin each "
        "word fits a syllable, or a run of letters; others may stand\nbefore, between "
        "and behind them.");
    search->add_flag("--pinyin", order->pinyin, "By syllables, with blanks between them");
    search->add_flag("--wild", order->wild, "By a pattern that fits the whole name");
    search->add_flag("--both", order->both,
                     "By a pattern in which a character is all that share a reading with it");
    search->add_option("PATTERN", order->pattern, "What is looked for")->required();
    search->add_option("LIST", order->list, kList);
    commands.runs(search, [order](Tool& tool) { return find(tool, *order); });
}

}  // namespace tool
