// Wild matching beside fnmatch, RE2 and PCRE2: ten patterns over a million names.
#define PCRE2_CODE_UNIT_WIDTH 8
#include <fnmatch.h>
#include <pcre2.h>
#include <re2/re2.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr const char* kPatterns[] = {"*.txt",       "a?c*[0-9]*",  "*foo*bar*", "*.jpg",
                                     "IMG_*",       "*2024*",      "[a-f]*",    "*-?-*",
                                     "report*fin*", "*_[0-9]*.tif"};
constexpr int kRounds = 5;

// Made of words and numbers as people and cameras make them, about 45 bytes each.
std::vector<std::string> make_names(size_t count) {
    static constexpr const char* kWords[] = {
        "abc", "acc",  "report", "final", "foo",  "bar",  "holiday", "left",  "thumb", "index",
        "IMG", "scan", "palm",   "face",  "copy", "2024", "station", "north", "case",  "file"};
    static constexpr const char* kEnds[] = {".txt", ".jpg", ".tif", ".dat", ".log", ""};
    static constexpr char kMarks[] = "_-. ";
    std::mt19937 random(7);
    std::vector<std::string> names(count);
    for (std::string& name : names) {
        const size_t size = 38 + random() % 8;
        while (name.size() < size) {
            if (!name.empty()) name += kMarks[random() % 4];
            name += random() % 3 != 0 ? kWords[random() % std::size(kWords)]
                                      : std::to_string(random() % 10000);
        }
        name += kEnds[random() % std::size(kEnds)];
    }
    return names;
}

// Names of people: two to four Chinese characters in GBK, now and then with Latin letters.
std::vector<std::string> make_chinese_names(size_t count) {
    std::mt19937 random(8);
    std::vector<std::string> names(count);
    for (std::string& name : names) {
        for (size_t left = 2 + random() % 3; left > 0; --left) {
            name += static_cast<char>(0xB0 + random() % 39);
            name += static_cast<char>(0xA1 + random() % 94);
        }
        if (random() % 8 == 0) name += " Ming";
    }
    return names;
}

// The regular expression of a template.
std::string expression_of(const char* pattern) {
    std::string text;
    for (; *pattern != '\0'; ++pattern) {
        if (*pattern == '*') {
            text += ".*";
        } else if (*pattern == '.') {
            if (text.size() < 2 || text.substr(text.size() - 2) != ".*") text += ".?";
        } else if (*pattern == '?') {
            text += '.';
        } else {
            text += *pattern;
        }
    }
    return text;
}

class Jit {
 public:
    explicit Jit(const std::string& expression) {
        int error;
        size_t offset;
        code_ = pcre2_compile(
            reinterpret_cast<PCRE2_SPTR>(expression.c_str()), PCRE2_ZERO_TERMINATED,
            PCRE2_DOTALL | PCRE2_ANCHORED | PCRE2_ENDANCHORED, &error, &offset, nullptr);
        pcre2_jit_compile(code_, PCRE2_JIT_COMPLETE);
        data_ = pcre2_match_data_create_from_pattern(code_, nullptr);
    }
    ~Jit() {
        pcre2_match_data_free(data_);
        pcre2_code_free(code_);
    }
    Jit(const Jit&) = delete;
    Jit& operator=(const Jit&) = delete;

    [[nodiscard]] bool match(const std::string& text) const {
        return pcre2_jit_match(code_, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0, 0,
                               data_, nullptr) >= 0;
    }

 private:
    pcre2_code* code_;
    pcre2_match_data* data_;
};

template <typename Match>
auto count_in(const std::vector<std::string>& names, Match match) {
    return [&names, match] {
        size_t hits = 0;
        for (const std::string& name : names) hits += match(name) ? 1 : 0;
        molte_bench::keep(hits);
        return hits;
    };
}

template <typename Ours, typename Peer>
void pair_of(const char* title, const char* peer_name, const char* pattern, Ours ours, Peer peer) {
    char name[64];
    std::snprintf(name, sizeof name, "%s, %s", title, pattern);
    if (ours() != peer()) std::printf("(%zu and %zu hits) ", ours(), peer());
    molte_bench::pair(name, peer_name, ours, peer, kRounds);
}

// Each pattern alone, and all of them.
template <typename Ours, typename Peer>
void pairs_of(const char* title, const char* peer_name, const std::vector<std::string>& names,
              Ours ours, Peer peer) {
    for (size_t i = 0; i < std::size(kPatterns); ++i) {
        pair_of(title, peer_name, kPatterns[i],
                count_in(names, [=](auto& name) { return ours(i, name); }),
                count_in(names, [=](auto& name) { return peer(i, name); }));
    }
    const auto all = [&](auto match) {
        return count_in(names, [=](auto& name) {
            int hits = 0;
            for (size_t i = 0; i < std::size(kPatterns); ++i) hits += match(i, name) ? 1 : 0;
            return hits > 0;
        });
    };
    pair_of(title, peer_name, "all", all(ours), all(peer));
}

bool by_fnmatch(size_t i, const std::string& name) {
    return fnmatch(kPatterns[i], name.c_str(), 0) == 0;
}

void plain(const std::vector<std::string>& names) {
    pairs_of(
        "plain", "fnmatch", names,
        [](size_t i, auto& name) { return ORVEX_WildMatch(name.c_str(), kPatterns[i]); },
        by_fnmatch);
}

void compiled(const std::vector<std::string>& names) {
    MOLTE_WMTEMPL templates[std::size(kPatterns)];
    std::vector<std::unique_ptr<RE2>> expressions;
    std::vector<std::unique_ptr<Jit>> jits;
    for (size_t i = 0; i < std::size(kPatterns); ++i) {
        if (MOLTE_CompileTempl(kPatterns[i], &templates[i]) < 0) std::abort();
        const std::string expression = expression_of(kPatterns[i]);
        expressions.push_back(std::make_unique<RE2>("(?s)" + expression, RE2::Latin1));
        jits.push_back(std::make_unique<Jit>(expression));
    }
    const auto ours = [&](size_t i, auto& name) {
        return MOLTE_CompiledWildMatch(&templates[i], name.c_str());
    };
    pairs_of("compiled", "fnmatch", names, ours, by_fnmatch);
    pairs_of("compiled", "RE2", names, ours,
             [&](size_t i, auto& name) { return RE2::FullMatch(name, *expressions[i]); });
    pairs_of("compiled", "PCRE2", names, ours,
             [&](size_t i, auto& name) { return jits[i]->match(name); });
    for (MOLTE_WMTEMPL& one : templates) MOLTE_WMTEMPL_Free(&one);
}

void chinese() {
    static constexpr const char* kChinesePatterns[] = {"*\xD5\xC5*", "*\xC0\xEE*\xC3\xF7*",
                                                       "\xCD\xF5?*", "?\xD5\xC5*", "*\xC3\xF7"};
    const auto names = make_chinese_names(1000000);
    for (const char* pattern : kChinesePatterns) {
        const auto pinyin = count_in(
            names, [=](auto& name) { return ORVEX_MB_Ci_WildPyMatch(name.c_str(), pattern); });
        const auto by_bytes =
            count_in(names, [=](auto& name) { return ORVEX_WildMatch(name.c_str(), pattern); });
        const std::string name = "by reading, " + std::to_string(pinyin()) + " hits and " +
                                 std::to_string(by_bytes()) + " by bytes";
        molte_bench::pair(name.c_str(), "ORVEX_WildMatch", pinyin, by_bytes, kRounds);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string part = argc > 1 ? argv[1] : "";
    const auto names = make_names(1000000);
    if (part.empty() || part == "plain") plain(names);
    if (part.empty() || part == "compiled") compiled(names);
    std::filesystem::current_path(RESOURCE_FOLDER);
    ORVEX_SetMainPath(".");
    OXLANG_LID_Set(OXLANG_KIND_DEFAULT, OXLANG_CHINESE);
    OXLANG_SetLocale(OXLANG_CHINESE);
    if (MOLTE_HZPY_Init(&g_stPinYin) < 0) return 1;
    if (part.empty() || part == "chinese") chinese();
    return 0;
}
