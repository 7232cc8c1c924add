// A bar-code rule in words, and the steps by which it changes a text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "moltelib.h"

namespace tool {

constexpr size_t kLongestText = 1024;  // of which the library takes notice

// When a rule fits: for the texts that no other one fits, for those that its wild pattern fits, for
// those that begin with its pattern, or for its pattern alone (one that ends before its length).
enum class RuleKind : uint8_t { by_default, wild, prefix, whole };

RuleKind kind_of(const CONVBAR_RULE& rule);
std::string name_of(RuleKind kind);
std::string pattern_of(const CONVBAR_RULE& rule);  // raw
bool is_off(const CONVBAR_RULE& rule);
int32_t op_count(const CONVBAR_RULE& rule);  // that count

std::string words_of(const CONVBAR_RULE& rule);
std::string words_of(const CONVBAR_OP& op);

struct Explanation {
    struct Step {
        std::string what;
        std::string text;  // after it
        std::string note;  // why it did nothing
    };
    size_t rule = 0;  // counted from 1; 0 for none
    std::vector<Step> steps;
    std::string result;
};

// Of a text without a byte 0, by the rules as moltelib/barcode_rule.h tells them.
Explanation explained(const std::string& text, int32_t length,
                      const std::vector<CONVBAR_RULE>& rules);

}  // namespace tool
