#include "barcode_steps.h"

#include <algorithm>
#include <cstring>

#include "lines.h"
#include "text.h"

namespace tool {

namespace {

bool fits(const CONVBAR_RULE& rule, const std::string& text) {
    const std::string pattern = pattern_of(rule);
    switch (kind_of(rule)) {
        case RuleKind::wild:
            return ORVEX_WildMatch(text.c_str(), pattern.c_str()) > 0;
        case RuleKind::prefix:
            return text.compare(0, pattern.size(), pattern) == 0;
        case RuleKind::whole:
            return text == pattern;
        case RuleKind::by_default:
            break;
    }
    return false;
}

// Counted from 1; 0 for none.
size_t chosen(const std::vector<CONVBAR_RULE>& rules, const std::string& text) {
    size_t by_default = 0;
    for (size_t i = 0; i < rules.size(); ++i) {
        if (is_off(rules[i])) continue;
        if (fits(rules[i], text)) return i + 1;
        const bool is_default = kind_of(rules[i]) == RuleKind::by_default;
        if (is_default && by_default == 0) by_default = i + 1;
    }
    return by_default;
}

// A text under way.
class Work {
 public:
    Work(std::string text, int32_t wanted) : text_(std::move(text)), wanted_(wanted) {}
    [[nodiscard]] const std::string& text() const { return text_; }
    [[nodiscard]] bool ended() const { return ended_; }

    // Why it did nothing; empty when it did something.
    std::string apply(const CONVBAR_OP& op) {
        switch (op.nKind) {
            case CONVBAR_OP_DELETE:
                return remove(op);
            case CONVBAR_OP_SWAP:
                if (!has(op.nPos) || !has(op.nArg)) return passed_over();
                std::swap(text_[op.nPos - 1U], text_[op.nArg - 1U]);
                return "";
            case CONVBAR_OP_MOVE:
                return move(op);
            case CONVBAR_OP_INSERT:
                return insert(op);
            default:
                return "passed over, nothing of that kind is known";
        }
    }

 private:
    [[nodiscard]] bool has(size_t position) const {
        return position >= 1 && position <= text_.size();
    }
    [[nodiscard]] bool full() const { return text_.size() >= static_cast<size_t>(wanted_); }
    [[nodiscard]] std::string passed_over() const {
        return "passed over, the text has " + counted(text_.size(), "character");
    }

    std::string remove(const CONVBAR_OP& op) {
        if (!has(op.nPos)) return passed_over();
        const bool repeats = (op.nFlags & CONVBAR_OP_REPEAT) != 0;
        do {
            text_.erase(op.nPos - 1U, 1);
        } while (repeats && text_.size() > static_cast<size_t>(wanted_) && has(op.nPos));
        return "";
    }

    std::string move(const CONVBAR_OP& op) {
        if (!has(op.nPos) || !has(op.nArg)) return passed_over();
        const char moved = text_[op.nPos - 1U];
        text_.erase(op.nPos - 1U, 1);
        text_.insert(op.nArg - 1U, 1, moved);
        return "";
    }

    std::string insert(const CONVBAR_OP& op) {
        if (op.nPos > text_.size() + 1) return passed_over();
        if (full()) {
            ended_ = true;
            return "the text has its length, and the rule ends";
        }
        if (op.nPos == 0) return passed_over();
        const bool repeats = (op.nFlags & CONVBAR_OP_REPEAT) != 0;
        do {
            text_.insert(op.nPos - 1U, 1, static_cast<char>(op.nArg));
        } while (repeats && !full());
        ended_ = repeats;
        return "";
    }

    std::string text_;
    int32_t wanted_;
    bool ended_ = false;
};

void bring_to_length(size_t wanted, Explanation* told) {
    std::string& text = told->result;
    if (text.size() < wanted) {
        const size_t zeros = wanted - text.size();
        text.insert(0, zeros, '0');
        told->steps.push_back({counted(zeros, "zero") + " in front", text, ""});
    } else if (text.size() > wanted) {
        const size_t gone = text.size() - wanted;
        text.erase(0, gone);
        told->steps.push_back({"without the first " + counted(gone, "character"), text, ""});
    }
}

}  // namespace

RuleKind kind_of(const CONVBAR_RULE& rule) {
    if (rule.nPatternLen == 0) return RuleKind::by_default;
    if ((rule.nFlags & CONVBAR_RULE_WILD) != 0) return RuleKind::wild;
    const size_t length = std::min<size_t>(rule.nPatternLen, CONVBAR_PATTERN_SIZE);
    return pattern_of(rule).size() < length ? RuleKind::whole : RuleKind::prefix;
}

std::string name_of(RuleKind kind) {
    constexpr const char* names[] = {"default", "wild", "prefix", "whole"};
    return names[static_cast<size_t>(kind)];
}

std::string pattern_of(const CONVBAR_RULE& rule) {
    const void* end = std::memchr(rule.szPattern, '\0', CONVBAR_PATTERN_SIZE);
    const size_t size = end == nullptr
                            ? size_t{CONVBAR_PATTERN_SIZE}
                            : static_cast<size_t>(static_cast<const char*>(end) - rule.szPattern);
    const bool wild = (rule.nFlags & CONVBAR_RULE_WILD) != 0;
    return {rule.szPattern, wild ? size : std::min<size_t>(size, rule.nPatternLen)};
}

bool is_off(const CONVBAR_RULE& rule) {
    return (rule.nFlags & CONVBAR_RULE_OFF) != 0;
}

int32_t op_count(const CONVBAR_RULE& rule) {
    return std::min<int32_t>(rule.nOpCount, CONVBAR_MAX_OPS);
}

std::string words_of(const CONVBAR_RULE& rule) {
    const std::string pattern = "\"" + shown(pattern_of(rule)) + "\"";
    switch (kind_of(rule)) {
        case RuleKind::by_default:
            return "the default";
        case RuleKind::wild:
            return "texts that " + pattern + " fits";
        case RuleKind::prefix:
            return "texts that begin with " + pattern;
        case RuleKind::whole:
            break;
    }
    return "the text " + pattern;
}

std::string words_of(const CONVBAR_OP& op) {
    const std::string position = std::to_string(op.nPos), second = std::to_string(op.nArg);
    const bool repeats = (op.nFlags & CONVBAR_OP_REPEAT) != 0;
    switch (op.nKind) {
        case CONVBAR_OP_DELETE:
            return "delete " + position + (repeats ? ", again while the text is too long" : "");
        case CONVBAR_OP_SWAP:
            return "swap " + position + " and " + second;
        case CONVBAR_OP_MOVE:
            return "move " + position + " to " + second;
        case CONVBAR_OP_INSERT: {
            const char inserted = static_cast<char>(op.nArg);
            return "insert \"" + shown({&inserted, 1}) + "\" at " + position +
                   (repeats ? ", again until the text has its length" : "");
        }
        default:
            return "kind " + std::to_string(op.nKind);
    }
}

Explanation explained(const std::string& text, int32_t length,
                      const std::vector<CONVBAR_RULE>& rules) {
    Explanation told;
    if (text.empty()) return told;
    told.rule = chosen(rules, text);
    Work work(text, length);
    if (told.rule > 0) {
        const CONVBAR_RULE& rule = rules[told.rule - 1];
        for (int32_t i = 0; i < op_count(rule) && !work.ended(); ++i) {
            const std::string note = work.apply(rule.astOp[i]);
            told.steps.push_back({words_of(rule.astOp[i]), work.text(), note});
        }
    }
    told.result = work.text();
    bring_to_length(static_cast<size_t>(length), &told);
    return told;
}

}  // namespace tool
