// Bar-code rules: what stands in their file, and why a text becomes what it becomes.
#include <algorithm>
#include <cstring>
#include <memory>

#include "barcode_steps.h"
#include "commands.h"
#include "files.h"
#include "lines.h"

namespace tool {

namespace {

constexpr int32_t kLongestResult = 1024;

struct Order {
    std::string file, list = "-", text;
    int32_t length = 0;
};

struct RuleFile {
    std::vector<CONVBAR_RULE> rules;
    uint64_t behind = 0;  // bytes behind them, which nobody looks at
};

// ---- Loading ----

// A file that comes by standard input; the library loads those that have a name.
RuleFile rules_in(const std::string& bytes) {
    CONVBAR_FILEHEAD head;
    RuleFile file;
    if (bytes.size() < sizeof head) throw Failure("Standard input is no file of rules");
    bytes.copy(reinterpret_cast<char*>(&head), sizeof head);
    if (std::memcmp(head.szMagic, CONVBAR_MAGIC, sizeof CONVBAR_MAGIC) != 0) {
        throw Failure("Standard input is no file of rules");
    }
    const uint64_t count = Char4To_uint4(head.nCount);
    const uint64_t size = count * sizeof(CONVBAR_RULE);
    if (size > bytes.size() - sizeof head) {
        throw Failure("Standard input is too short for its " + counted(count, "rule"));
    }
    file.rules.resize(count);
    if (size > 0) std::memcpy(file.rules.data(), bytes.data() + sizeof head, size);
    file.behind = bytes.size() - sizeof head - size;
    return file;
}

RuleFile load(const std::string& argument) {
    if (argument == "-") return rules_in(read_whole(argument));
    const std::string failed = "\"" + shown(argument) + "\" can't be read as a file of rules";
    const std::string name = library_path(argument);
    const PermissionsKept permissions(argument);
    const int64_t length = check(ORVEX_FileLenByFileName(name.c_str()), failed);
    CONVBAR_RULE* rules = nullptr;
    const int32_t count = check(ORVEX_CONVBAR_GetAllRuleByFN(name.c_str(), &rules), failed);
    const std::unique_ptr<CONVBAR_RULE, decltype(&ORVEX_free)> owned(rules, ORVEX_free);
    RuleFile file;
    if (count > 0) file.rules.assign(rules, rules + count);
    const auto used =
        static_cast<int64_t>(sizeof(CONVBAR_FILEHEAD) + file.rules.size() * sizeof(CONVBAR_RULE));
    file.behind = static_cast<uint64_t>(std::max(length - used, int64_t{0}));
    return file;
}

// ---- check ----

std::string flaw_of(const CONVBAR_OP& op) {
    if (op.nKind < CONVBAR_OP_DELETE || op.nKind > CONVBAR_OP_INSERT) {
        return "of an unknown kind, and passed over";
    }
    if (op.nPos == 0 && op.nKind == CONVBAR_OP_INSERT) {
        return "at no position: it inserts nothing, but ends the rule for a text of full length";
    }
    if (op.nPos > 0 && op.nKind == CONVBAR_OP_INSERT && op.nArg == 0) {
        return "inserting a byte 0, which ends the result for many a program";
    }
    const bool needs_two = op.nKind == CONVBAR_OP_SWAP || op.nKind == CONVBAR_OP_MOVE;
    if (op.nPos == 0 || (needs_two && op.nArg == 0)) {
        return "at a position that no text has, and passed over";
    }
    if ((op.nFlags & ~CONVBAR_OP_REPEAT) != 0) return "marked with an unknown flag";
    return "";
}

// Whether the first one fits all that the second one fits, as far as that is plain to see.
bool covers(const CONVBAR_RULE& first, const CONVBAR_RULE& second) {
    const RuleKind one = kind_of(first), other = kind_of(second);
    if (one == RuleKind::by_default) return other == RuleKind::by_default;
    if (other == RuleKind::by_default) return false;
    const std::string pattern = pattern_of(first);
    if (one == RuleKind::wild) {
        return pattern.find_first_not_of('*') == std::string::npos ||
               (other == RuleKind::wild && pattern == pattern_of(second));
    }
    if (other == RuleKind::wild) return false;
    if (first.nPatternLen == 0) return false;  // it fits nothing
    if (one == RuleKind::whole) return other == one && pattern == pattern_of(second);
    return pattern_of(second).compare(0, pattern.size(), pattern) == 0;
}

std::vector<std::string> flaws_of(const std::vector<CONVBAR_RULE>& rules, size_t index) {
    std::vector<std::string> flaws;
    const CONVBAR_RULE& rule = rules[index];
    if (rule.nPatternLen > CONVBAR_PATTERN_SIZE) flaws.emplace_back("only 48 bytes are a pattern");
    if (rule.nPatternLen == 0 && rule.szPattern[0] != '\0') {
        flaws.emplace_back("its pattern has a length of 0 and is not looked at");
    }
    if (rule.nOpCount > CONVBAR_MAX_OPS) {
        flaws.emplace_back("of its " + std::to_string(rule.nOpCount) + " operations only 50 count");
    }
    if ((rule.nFlags & ~(CONVBAR_RULE_OFF | CONVBAR_RULE_WILD)) != 0) {
        flaws.emplace_back("it is marked with an unknown flag");
    }
    for (int32_t i = 0; i < op_count(rule); ++i) {
        const std::string flaw = flaw_of(rule.astOp[i]);
        if (!flaw.empty()) {
            flaws.emplace_back("operation " + std::to_string(i + 1) + " is " + flaw);
        }
    }
    if (is_off(rule)) return flaws;
    for (size_t i = 0; i < index; ++i) {
        if (is_off(rules[i]) || !covers(rules[i], rule)) continue;
        flaws.emplace_back("it is never chosen: rule " + std::to_string(i + 1) + " comes first");
        break;
    }
    return flaws;
}

int check_rules(Tool& tool, const Order& order) {
    const RuleFile file = load(order.file);
    size_t flawed = 0;
    for (size_t i = 0; i < file.rules.size(); ++i) {
        const CONVBAR_RULE& rule = file.rules[i];
        const std::vector<std::string> flaws = flaws_of(file.rules, i);
        std::string text = "rule " + std::to_string(i + 1) + ", " + words_of(rule) +
                           (is_off(rule) ? ", switched off" : "");
        Json operations = Json::array();
        for (int32_t at = 0; at < op_count(rule); ++at) {
            operations.push_back(words_of(rule.astOp[at]));
            text += "\n    " + words_of(rule.astOp[at]);
        }
        for (const std::string& flaw : flaws) {
            text += "\n    " + tool.out.coloured(Colour::yellow, "! " + flaw);
        }
        tool.out.say(text, {{"rule", i + 1},
                            {"kind", name_of(kind_of(rule))},
                            {"pattern", shown(pattern_of(rule))},
                            {"on", !is_off(rule)},
                            {"operations", operations},
                            {"flaws", flaws}});
        flawed += flaws.empty() ? 0 : 1;
    }
    if (file.behind > 0) {
        tool.warn(counted(file.behind, "byte") + " behind the rules are not looked at");
    }
    tool.out.line(counted(file.rules.size(), "rule") + ", " +
                  (flawed == 0 ? "none" : std::to_string(flawed)) + " with a flaw");
    return flawed > 0 ? kNothing : kDone;
}

// ---- explain and convert ----

std::string converted(const std::string& text, int32_t length, std::vector<CONVBAR_RULE>* rules) {
    std::vector<char> result(static_cast<size_t>(length) + 1);
    const CONVBAR_RULES set{static_cast<int32_t>(rules->size()), rules->data()};
    ORVEX_CONVBAR_SimpConv(text.c_str(), result.data(), length, &set);
    // A rule can insert a byte 0: the whole length counts, but for an empty text.
    return text.empty() ? "" : std::string(result.data(), static_cast<size_t>(length));
}

int explain(Tool& tool, const Order& order) {
    RuleFile file = load(order.file);
    const std::string& text = order.text;
    if (text.size() > kLongestText) {
        throw Failure("A bar code has at most 1024 characters", kUsage);
    }
    const Explanation told = explained(text, order.length, file.rules);
    const std::string result = converted(text, order.length, &file.rules);
    if (result != told.result) {
        throw Failure("The library makes \"" + shown(result) + "\" of \"" + shown(text) +
                      "\", which can't be explained");
    }
    std::string lines = "\"" + shown(text) + "\" becomes \"" + shown(result) + "\"\n  ";
    Json rule;
    if (told.rule > 0) {
        rule = told.rule;
        lines += "rule " + std::to_string(told.rule) + ", " + words_of(file.rules[told.rule - 1]);
    } else {
        lines += text.empty() ? "an empty text stays one" : "no rule fits";
    }
    Json steps = Json::array();
    for (const Explanation::Step& step : told.steps) {
        lines += "\n    " + step.what + ": " +
                 (step.note.empty() ? "\"" + shown(step.text) + "\"" : step.note);
        steps.push_back({{"step", step.what}, {"text", shown(step.text)}, {"note", step.note}});
    }
    tool.out.say(
        lines,
        {{"text", shown(text)}, {"result", shown(result)}, {"rule", rule}, {"steps", steps}});
    return kDone;
}

int convert(Tool& tool, const Order& order) {
    if (order.file == "-" && order.list == "-") {
        throw Failure("Only one of rules and bar codes can be standard input", kUsage);
    }
    RuleFile file = load(order.file);
    LeftOut left(order.list);
    each_line(read_whole(order.list), [&](size_t number, std::string_view line) {
        if (line.size() > kLongestText) return left.add("longer than 1024 characters", number);
        if (line.find('\0') != std::string_view::npos) return left.add("with a byte 0", number);
        const std::string text(line);
        const std::string result = converted(text, order.length, &file.rules);
        if (tool.settings.json) {
            tool.out.object({{"line", number}, {"text", shown(text)}, {"result", shown(result)}});
        } else {
            tool.out.bytes((tool.out.is_terminal() ? shown(result) : result) + "\n");
        }
    });
    left.tell(tool);
    return left.count() > 0 ? kPartly : kDone;
}

}  // namespace

void add_barcode(Commands& commands) {
    CLI::App* group = commands.group("barcode", "Rules that turn bar codes into card numbers");
    const auto order = std::make_shared<Order>();
    const auto add = [&](const std::string& name, const std::string& summary,
                         std::vector<Commands::Example> examples) {
        CLI::App* command = commands.add(name, summary, std::move(examples), group);
        command->add_option("RULES", order->file, "A file of rules; - is standard input")
            ->required();
        return command;
    };
    const auto takes_length = [&](CLI::App* command) {
        command->add_option("--length", order->length, "How many characters the result has")
            ->type_name("COUNT")
            ->check(CLI::Range(1, kLongestResult).description(""))
            ->required();
    };

    CLI::App* checks = add("check", "Shows the rules of a file, and what is wrong with them",
                           {{"barcode check rules.cnv", "1 when a rule has a flaw"}});
    commands.runs(checks, [order](Tool& tool) { return check_rules(tool, *order); });

    CLI::App* explains = add("explain", "Tells why a bar code becomes what it becomes",
                             {{"barcode explain --length 13 rules.cnv 00123",
                               "the rule that is chosen, and the text after each of its steps"}});
    commands.describe(explains,
                      "The first rule that fits is taken, or the default one; positions count from "
                      "1. In the end\nzeros go in front of a text that is too short, and the first "
                      "characters of one that is too\nlong go.");
    takes_length(explains);
    explains->add_option("TEXT", order->text, "A bar code, as it is scanned")->required();
    commands.runs(explains, [order](Tool& tool) { return explain(tool, *order); });

    CLI::App* converts = add("convert", "Converts bar codes",
                             {{"barcode convert --length 13 rules.cnv scanned.txt", "one a line"}});
    commands.describe(converts,
                      "An empty line stays one. Lines that are too long are left out and told, and "
                      "the command then\nends with 4.");
    takes_length(converts);
    converts->add_option("LIST", order->list,
                         "A file of a bar code a line; - or none is standard "
                         "input");
    commands.runs(converts, [order](Tool& tool) { return convert(tool, *order); });
}

}  // namespace tool
