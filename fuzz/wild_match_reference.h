// The language of moltelib/wild_match.h once more, slowly: plain recursion, no thought of time.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "moltelib.h"

// A character of GBK text, or a byte where double-byte characters aren't known.
struct WildChar {
    int32_t code;
    int32_t length;
};

inline WildChar wild_char(const char* text, bool gbk) {
    const auto lead = static_cast<uint8_t>(text[0]);
    const auto trail = static_cast<uint8_t>(lead == 0 ? 0 : text[1]);
    if (gbk && lead >= 0x81 && lead <= 0xFE && trail != 0) return {lead * 256 + trail, 2};
    return {lead, lead == 0 ? 0 : 1};
}

class WildReference {
 public:
    // Walks by whole characters if gbk is set; pair is needed only then.
    WildReference(bool gbk, OCOLL_CHARCMP single, OCOLL_CHARCMP pair)
        : gbk_(gbk), single_(single), pair_(pair) {}

    int32_t match(const char* text, const char* pattern) {
        return *pattern == '\0' || rest(text, pattern) ? 1 : 0;
    }
    // The recursion took too many steps: the result says nothing.
    [[nodiscard]] bool gave_up() const { return steps_ < 0; }

 private:
    [[nodiscard]] WildChar at(const char* text) const { return wild_char(text, gbk_); }

    bool rest(const char* text, const char* pattern) {
        while (*text != '\0') {
            if (--steps_ < 0) return false;
            if (*pattern == '*') return any_run(text, pattern + 1);
            if (*pattern == '.') {
                if (pattern[1] == '\0') return text[1] == '\0';
                return rest(text, pattern + 1) || rest(text + at(text).length, pattern + 1);
            }
            const size_t taken = element(at(text), pattern);
            if (taken == 0) return false;
            text += at(text).length;
            pattern += taken;
            if (*pattern == '\0') return *text == '\0';
        }
        return pattern[strspn(pattern, "*.")] == '\0';
    }

    bool any_run(const char* text, const char* pattern) {
        if (*pattern == '\0') return true;
        for (; *text != '\0' && steps_ >= 0; text += at(text).length) {
            if (rest(text, pattern)) return true;
        }
        return false;
    }

    // The bytes of the pattern's element, 0 if the character doesn't match it.
    [[nodiscard]] size_t element(WildChar c, const char* pattern) const {
        const WildChar literal = at(pattern);
        if (literal.code == '?') return 1;
        if (literal.code == '[') return c.length == 1 ? one_of(c.code, pattern) : 0;
        if (literal.code == '\\') {
            const WildChar other = at(pattern + 1);
            if (c.length != 1 || other.length != 1) return 0;
            return single_(c.code, other.code) != 0 ? 2 : 0;
        }
        if (c.length != literal.length) return 0;
        const OCOLL_CHARCMP compare = c.length == 2 ? pair_ : single_;
        return compare(c.code, literal.code) == 0 ? static_cast<size_t>(c.length) : 0;
    }

    [[nodiscard]] size_t one_of(int32_t c, const char* pattern) const {
        std::vector<int32_t> listed;
        const char* end = pattern + 1;
        for (; *end != ']'; end += at(end).length) {
            if (*end == '\0') return 0;
            listed.push_back(at(end).code);
        }
        const bool negate = !listed.empty() && listed[0] == '^';
        if (negate) listed.erase(listed.begin());
        if (listed.empty()) return 0;
        bool hit = false;
        for (size_t i = 0; i < listed.size() && !hit; ++i) {
            const bool range = i + 1 < listed.size() && listed[i + 1] == '-';
            if (range && i + 2 == listed.size()) return 0;
            const size_t last = range ? i + 2 : i;
            if (listed[i] > 0xFF || listed[last] > 0xFF) return 0;
            hit = range ? single_(c, listed[i]) >= 0 && single_(c, listed[last]) < 1
                        : single_(c, listed[i]) == 0;
            i = last;
        }
        return hit != negate ? static_cast<size_t>(end + 1 - pattern) : 0;
    }

    bool gbk_;
    OCOLL_CHARCMP single_;
    OCOLL_CHARCMP pair_;
    int64_t steps_ = 20000;
};

// Routines that are no order at all.
inline int32_t odd_single(int32_t c, int32_t pattern) {
    return (c | 32) == (pattern | 32) ? 0 : (c * 7 + pattern * 13) % 4 - 1;
}
inline int32_t odd_pair(int32_t c, int32_t pattern) {
    return (c & 0xFF) - (pattern & 0xF0);
}

struct WildFunction {
    OCOLL_WILDMATCH match;
    OCOLL_CHARCMP single;
    OCOLL_CHARCMP pair = nullptr;  // of those that walk by whole characters
};

// The eight functions of fixed routines, and the two of any with those above.
inline const WildFunction wild_functions[] = {
    {ORVEX_WildMatch, OCOLL_DB_CharBinCmp},
    {ORVEX_Ci_WildMatch, OCOLL_SB_CharCiCmp},
    {ORVEX_MB_WildMatch, OCOLL_DB_CharBinCmp, OCOLL_DB_CharBinCmp},
    {ORVEX_MB_WildPyMatch, OCOLL_DB_CharBinCmp, OCOLL_DB_CharPyCmp},
    {ORVEX_MB_WildVarPyMatch, OCOLL_DB_CharBinCmp, OCOLL_DB_CharBVarPyCmp},
    {ORVEX_MB_Ci_WildMatch, OCOLL_SB_CharCiCmp, OCOLL_DB_CharBinCmp},
    {ORVEX_MB_Ci_WildPyMatch, OCOLL_SB_CharCiCmp, OCOLL_DB_CharPyCmp},
    {ORVEX_MB_Ci_WildVarPyMatch, OCOLL_SB_CharCiCmp, OCOLL_DB_CharBVarPyCmp},
    {[](auto t, auto p) { return OCOLL_SB_WildMatch(t, p, odd_single); }, odd_single},
    {[](auto t, auto p) { return OCOLL_MB_WildMatch(t, p, odd_single, odd_pair); }, odd_single,
     odd_pair},
};
