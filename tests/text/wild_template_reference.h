// Matching with the templates of moltelib/wild_template.h once more, by the steps of its rules.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "wild_match_reference.h"

class TemplateReference {
 public:
    TemplateReference(const MOLTE_WMTEMPL& templ, bool gbk)
        : pieces_(templ.pSubStr, templ.pSubStr + templ.nSubStr), gbk_(gbk) {}

    // Texts come with their terminator; a position behind that is one where nothing matches.
    [[nodiscard]] bool matches(const std::string& text) const {
        const size_t end = text.size() - 1;
        size_t s = 0;
        for (size_t i = 0; i < pieces_.size(); ++i) {
            const int32_t kind = pieces_[i].nType;
            if (i + 1 == pieces_.size()) {
                return kind != MOLTE_WMSUBSTR_FIXED ||
                       (s <= end && bytes_of(run(i), text, s) == end - s);
            }
            if (kind == MOLTE_WMSUBSTR_FIXED) {
                const size_t taken = bytes_of(run(i), text, s);
                s = taken > 0 ? s + taken : kNone;
            } else if (kind == MOLTE_WMSUBSTR_OPTIONAL) {
                s = behind_optional(run(++i), text, s);
            } else {
                const size_t from = is_last_star(++i) ? end - std::min(end, length_from(i)) : s;
                const auto [place, taken] = found(run(i), text, from);
                s = taken > 0 ? place + taken : kNone;
            }
            if (s == kNone) return false;
        }
        return pieces_.empty() || s == end;
    }

 private:
    using Run = std::vector<MOLTE_WMCHAR>;
    static constexpr size_t kNone = std::string::npos;

    [[nodiscard]] Run run(size_t i) const {
        return {pieces_[i].pChar, pieces_[i].pChar + pieces_[i].nChar};
    }
    static size_t length(const MOLTE_WMCHAR& element) { return static_cast<size_t>(element.nLen); }
    static std::string listed(const MOLTE_WMCHAR& element) {
        return element.nLen > 0 ? std::string(element.pText, length(element)) : "";
    }
    [[nodiscard]] std::string whole(const std::string& text, size_t at) const {
        return text.substr(at, wild_char(text.c_str() + at, gbk_).length == 2 ? 2 : 1);
    }
    [[nodiscard]] bool is_last_star(size_t i) const {
        while (i < pieces_.size() && pieces_[i].nType != MOLTE_WMSUBSTR_ANY) ++i;
        return i == pieces_.size();
    }
    [[nodiscard]] size_t length_from(size_t i) const {
        size_t sum = 0;
        for (; i < pieces_.size(); ++i) {
            for (const MOLTE_WMCHAR& element : run(i)) sum += length(element);
        }
        return sum;
    }
    [[nodiscard]] size_t behind_optional(const Run& run, const std::string& text, size_t s) const {
        for (int skipped = 0; skipped < 2 && s < text.size(); ++skipped) {
            const size_t taken = bytes_of(run, text, s);
            if (taken > 0) return s + taken;
            s += whole(text, s).size();
        }
        return kNone;
    }

    // The bytes that a run takes at a position, 0 for no match.
    [[nodiscard]] size_t bytes_of(const Run& run, const std::string& text, size_t from) const {
        size_t at = from;
        for (const MOLTE_WMCHAR& element : run) {
            if (at >= text.size()) return 0;
            if (element.nType == MOLTE_WMCHAR_LITERAL) {
                if (text.compare(at, length(element), listed(element)) != 0) return 0;
                at += length(element);
            } else if (element.nType == MOLTE_WMCHAR_CLASS) {
                const std::string c = whole(text, at);
                if (lists(listed(element), c) == (element.bNegate == 1)) return 0;
                at += c.size();
            }
            for (int i = 0; element.nType == MOLTE_WMCHAR_ANY && i < element.nLen; ++i) {
                if (at + 1 >= text.size()) return 0;
                at += whole(text, at).size();
            }
        }
        return at - from;
    }
    [[nodiscard]] bool lists(const std::string& characters, const std::string& c) const {
        for (size_t i = 0; i < characters.size(); i += whole(characters, i).size()) {
            if (whole(characters, i) == c) return true;
        }
        return false;
    }

    // The place of a run from a position on, and the bytes it takes there, 0 for none.
    [[nodiscard]] std::pair<size_t, size_t> found(const Run& run, const std::string& text,
                                                  size_t from) const {
        size_t longest = kNone;
        for (size_t i = 0; i < run.size(); ++i) {
            if (run[i].nType != MOLTE_WMCHAR_LITERAL) continue;
            if (longest == kNone || run[i].nLen > run[longest].nLen) longest = i;
        }
        if (longest != kNone && longest > 0) return {from, bytes_of(run, text, from)};
        if (longest == 0) return found_literal(run, text, from);
        for (size_t at = from; at + 1 < text.size(); at += whole(text, at).size()) {
            if (const size_t taken = bytes_of(run, text, at)) return {at, taken};
        }
        return {0, 0};
    }
    // Of a run whose first element is its longest literal.
    [[nodiscard]] std::pair<size_t, size_t> found_literal(const Run& run, const std::string& text,
                                                          size_t from) const {
        const size_t size = length(run[0]);
        const std::string literal = listed(run[0]);
        const Run others(run.begin() + 1, run.end());
        for (size_t at = from; at < text.size(); ++at) {
            while (at < text.size() && text.compare(at, size, literal) != 0) {
                at += run[0].bMB == 1 ? whole(text, at).size() : 1;
            }
            if (at >= text.size()) break;
            if (others.empty()) return {at, size};
            if (const size_t taken = bytes_of(others, text, at + size)) return {at, size + taken};
        }
        return {0, 0};
    }

    std::vector<MOLTE_WMSUBSTR> pieces_;
    bool gbk_;
};
