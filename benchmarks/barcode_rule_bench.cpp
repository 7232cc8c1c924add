// Bar-code rules beside std::regex: the first of twenty that fits changes the text, which is then
// brought to 13 characters.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr int32_t kCardSize = 13;
constexpr int kRuleCount = 20;

CONVBAR_RULE rule_of(const std::string& pattern, uint8_t flags, std::vector<CONVBAR_OP> ops) {
    CONVBAR_RULE rule{};
    pattern.copy(rule.szPattern, sizeof rule.szPattern);
    rule.nPatternLen = static_cast<uint8_t>(pattern.size());
    rule.nFlags = flags;
    rule.nOpCount = static_cast<uint8_t>(ops.size());
    std::copy(ops.begin(), ops.end(), rule.astOp);
    return rule;
}

struct Replacement {
    std::regex expression;
    std::string format;
};

// Texts begin with the two digits of the rule that is theirs, from 10 on. The one half of the rules
// has literal patterns: the first three characters go, "7" is put in front, and the fourth of what
// is then the text goes to the end of the first five. The other half has wild ones: the first and
// the third character change places, and "X" is put behind the fourth.
struct Rules {
    std::vector<CONVBAR_RULE> rules;
    std::vector<Replacement> replacements;

    Rules() {
        for (int i = 0; i < kRuleCount; ++i) {
            const std::string number = std::to_string(10 + i);
            if (i % 2 == 0) {
                rules.push_back(rule_of(number + "-", 0,
                                        {{CONVBAR_OP_DELETE, 0, 1, 0},
                                         {CONVBAR_OP_DELETE, 0, 1, 0},
                                         {CONVBAR_OP_DELETE, 0, 1, 0},
                                         {CONVBAR_OP_INSERT, 0, 1, '7'},
                                         {CONVBAR_OP_MOVE, 0, 4, 5}}));
                replacements.push_back(
                    {std::regex("^" + number + "-(..)(.)(.)(.*)$", std::regex::optimize),
                     "7$1$3$2$4"});
            } else {
                rules.push_back(
                    rule_of(number + "-*[A-F]", CONVBAR_RULE_WILD,
                            {{CONVBAR_OP_SWAP, 0, 1, 3}, {CONVBAR_OP_INSERT, 0, 5, 'X'}}));
                replacements.push_back({std::regex("^(" + number.substr(0, 1) + ")(" +
                                                       number.substr(1) + ")(-)(.)(.*[A-F])$",
                                                   std::regex::optimize),
                                        "$3$2$1$4X$5"});
            }
        }
    }
};

std::vector<std::string> made_texts() {
    std::mt19937 random(1);
    std::vector<std::string> texts(1000);
    for (std::string& text : texts) {
        text = std::to_string(10 + random() % kRuleCount) + "-";
        for (int i = 0; i < 8; ++i) text += static_cast<char>('0' + random() % 10);
        text += static_cast<char>('A' + random() % 6);
    }
    return texts;
}

std::string replaced(const std::vector<Replacement>& replacements, const std::string& text) {
    std::string result = text;
    std::smatch match;
    for (const Replacement& one : replacements) {
        if (!std::regex_match(text, match, one.expression)) continue;
        result = match.format(one.format);
        break;
    }
    if (result.size() < kCardSize) result.insert(0, kCardSize - result.size(), '0');
    return result.substr(result.size() - kCardSize);
}

}  // namespace

int main() {
    Rules rules;
    const std::vector<std::string> texts = made_texts();
    const CONVBAR_RULES set{kRuleCount, rules.rules.data()};
    char card[kCardSize + 1];
    for (const std::string& text : texts) {
        ORVEX_CONVBAR_SimpConv(text.c_str(), card, kCardSize, &set);
        if (replaced(rules.replacements, text) == card) continue;
        std::printf("%s: %s and %s\n", text.c_str(), card,
                    replaced(rules.replacements, text).c_str());
        return 1;
    }
    size_t ours = 0;
    size_t peers = 0;
    molte_bench::pair(
        "convert by 20 rules", "std::regex",
        [&] {
            const std::string& text = texts[ours++ % texts.size()];
            ORVEX_CONVBAR_SimpConv(text.c_str(), card, kCardSize, &set);
            molte_bench::keep(card);
        },
        [&] {
            molte_bench::keep(replaced(rules.replacements, texts[peers++ % texts.size()]).data());
        });
}
