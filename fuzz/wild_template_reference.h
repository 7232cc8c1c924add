// The language of moltelib/wild_template.h once more: patterns parsed into plain strings, and
// matched by the steps of its rules.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "wild_match_reference.h"

class TemplateReference {
 public:
    struct Element {
        char kind = 0;  // '?', '[', or 'a' for a literal
        bool negate = false;
        bool mb = false;
        std::string text;
        size_t count = 0;  // of '?'; else the bytes of the text
    };
    using Run = std::vector<Element>;
    struct Piece {
        char kind;  // '*', '.', or 'r' for a run of elements
        Run run;
    };
    static constexpr size_t kNone = std::string::npos;

    TemplateReference(const std::string& pattern, bool gbk) : pattern_(pattern), gbk_(gbk) {
        while (error_ == 0 && at_ < pattern_.size()) parse_piece();
    }
    [[nodiscard]] int32_t error() const { return error_; }
    [[nodiscard]] const std::vector<Piece>& pieces() const { return pieces_; }

    // As described_template() tells it of the library's.
    [[nodiscard]] std::string described() const {
        std::string all;
        for (const Piece& piece : pieces_) {
            all += piece.kind;
            for (const Element& element : piece.run) {
                all += std::string("(") + element.kind + (element.negate ? "^" : "") +
                       (element.mb ? "m" : "") + std::to_string(element.count) + ":" +
                       element.text + ")";
            }
        }
        return all;
    }

    // Texts come with their terminator; a position behind that is one where nothing matches.
    [[nodiscard]] bool matches(const std::string& text) const {
        const size_t end = text.size() - 1;
        size_t s = 0;
        for (size_t i = 0; i < pieces_.size(); ++i) {
            const Piece& piece = pieces_[i];
            if (i + 1 == pieces_.size()) {
                return piece.kind != 'r' || (s <= end && bytes_of(piece.run, text, s) == end - s);
            }
            if (piece.kind == 'r') {
                const size_t taken = bytes_of(piece.run, text, s);
                s = taken > 0 ? s + taken : kNone;
            } else if (piece.kind == '.') {
                s = behind_optional(pieces_[++i].run, text, s);
            } else {
                const size_t from = is_last_star(++i) ? end - std::min(end, length_from(i)) : s;
                const auto [place, taken] = found(pieces_[i].run, text, from);
                s = taken > 0 ? place + taken : kNone;
            }
            if (s == kNone) return false;
        }
        return pieces_.empty() || s == end;
    }

    // The place of a run from a position on, and the bytes it takes there, 0 for none.
    [[nodiscard]] std::pair<size_t, size_t> found(const Run& run, const std::string& text,
                                                  size_t from) const {
        size_t longest = kNone;
        for (size_t i = 0; i < run.size(); ++i) {
            if (run[i].kind != 'a') continue;
            if (longest == kNone || run[i].count > run[longest].count) longest = i;
        }
        if (longest != kNone && longest > 0) return {from, bytes_of(run, text, from)};
        if (longest == 0) return found_literal(run, text, from);
        for (size_t at = from; at + 1 < text.size(); at += whole(text, at).size()) {
            if (const size_t taken = bytes_of(run, text, at)) return {at, taken};
        }
        return {0, 0};
    }

    // The bytes that a run takes at a position, 0 for no match.
    [[nodiscard]] size_t bytes_of(const Run& run, const std::string& text, size_t from) const {
        size_t at = from;
        for (const Element& element : run) {
            if (at >= text.size()) return 0;
            if (element.kind == 'a') {
                if (text.compare(at, element.count, element.text) != 0) return 0;
                at += element.count;
            } else if (element.kind == '[') {
                const std::string c = whole(text, at);
                if (lists(element.text, c) == element.negate) return 0;
                at += c.size();
            }
            for (size_t i = 0; element.kind == '?' && i < element.count; ++i) {
                if (at + 1 >= text.size()) return 0;
                at += whole(text, at).size();
            }
        }
        return at - from;
    }

 private:
    [[nodiscard]] std::string whole(const std::string& text, size_t at) const {
        return text.substr(at, wild_char(text.c_str() + at, gbk_).length == 2 ? 2 : 1);
    }
    [[nodiscard]] bool lists(const std::string& characters, const std::string& c) const {
        for (size_t i = 0; i < characters.size(); i += whole(characters, i).size()) {
            if (whole(characters, i) == c) return true;
        }
        return false;
    }
    [[nodiscard]] bool is_last_star(size_t i) const {
        while (i < pieces_.size() && pieces_[i].kind != '*') ++i;
        return i == pieces_.size();
    }
    [[nodiscard]] size_t length_from(size_t i) const {
        size_t length = 0;
        for (; i < pieces_.size(); ++i) {
            for (const Element& element : pieces_[i].run) length += element.count;
        }
        return length;
    }
    [[nodiscard]] size_t behind_optional(const Run& run, const std::string& text, size_t s) const {
        for (int skipped = 0; skipped < 2 && s < text.size(); ++skipped) {
            const size_t taken = bytes_of(run, text, s);
            if (taken > 0) return s + taken;
            s += whole(text, s).size();
        }
        return kNone;
    }
    // Of a run whose first element is its longest literal.
    [[nodiscard]] std::pair<size_t, size_t> found_literal(const Run& run, const std::string& text,
                                                          size_t from) const {
        const Element& literal = run[0];
        const Run others(run.begin() + 1, run.end());
        for (size_t at = from; at < text.size(); ++at) {
            while (at < text.size() && text.compare(at, literal.count, literal.text) != 0) {
                at += literal.mb ? whole(text, at).size() : 1;
            }
            if (at >= text.size()) break;
            if (others.empty()) return {at, literal.count};
            if (const size_t taken = bytes_of(others, text, at + literal.count)) {
                return {at, literal.count + taken};
            }
        }
        return {0, 0};
    }

    // ---- Parsing; next() is the terminator at the end of the pattern and behind it ----

    [[nodiscard]] char next() const { return at_ < pattern_.size() ? pattern_[at_] : '\0'; }
    [[nodiscard]] bool next_in(const char* set) const {
        return next() == '\0' || strchr(set, next()) != nullptr;
    }
    void parse_piece() {
        Piece piece{'r', {}};
        for (; next() == '*' || next() == '.'; ++at_) {
            if (piece.kind != '*') piece.kind = next();
        }
        while (error_ == 0 && piece.kind == 'r' && !next_in("*.")) {
            piece.run.push_back(parse_element());
        }
        pieces_.push_back(piece);
    }
    Element parse_element() {
        Element element;
        element.kind = next_in("?[") ? next() : 'a';
        if (element.kind == '?') {
            for (; next() == '?'; ++at_) ++element.count;
            return element;
        }
        if (element.kind == '[') parse_class(element);
        while (element.kind == 'a' && error_ == 0 && !next_in("*.?[")) {
            if (next() == '\\') ++at_;
            take_char(element, 422);
        }
        element.count = element.text.size();
        return element;
    }
    // Takes a character, its code; a lead byte with nothing behind is the error.
    int32_t take_char(Element& element, int32_t error) {
        const WildChar c = wild_char(pattern_.c_str() + at_, gbk_);
        if (gbk_ && c.length == 1 && c.code >= 0x81 && c.code <= 0xFE) error_ = error;
        element.mb = element.mb || c.length == 2;
        element.text.append(pattern_.c_str() + at_, c.length == 2 ? 2 : 1);
        at_ += c.length == 2 ? 2 : 1;
        return c.code;
    }
    void parse_class(Element& element) {
        ++at_;
        element.negate = next() == '^';
        if (element.negate) ++at_;
        int32_t previous = 0;
        while (error_ == 0 && !next_in("]")) {
            if (next() == '-') {
                previous = take_range(element, previous);
                continue;
            }
            if (next() == '\\') ++at_;
            if (next() == '\0') {
                error_ = 420;
            } else {
                previous = take_char(element, 421);
            }
        }
        if (next() == ']') ++at_;
    }
    // The range from low, which is taken already; one above its end.
    int32_t take_range(Element& element, int32_t low) {
        const int32_t high = static_cast<uint8_t>(pattern_.c_str()[at_ + 1]);
        at_ += 2;
        if (type_of(low) == 0 || type_of(low) != type_of(high)) error_ = 101;
        for (int32_t c = low + 1; c <= high; ++c) element.text += static_cast<char>(c);
        return high + 1;
    }
    static int type_of(int32_t c) {
        return c >= 'a' && c <= 'z' ? 1 : c >= 'A' && c <= 'Z' ? 2 : c >= '0' && c <= '9' ? 3 : 0;
    }

    std::string pattern_;
    bool gbk_;
    size_t at_ = 0;
    int32_t error_ = 0;
    std::vector<Piece> pieces_;
};

// The library's template in the same words; "!" where its fields contradict each other.
inline std::string described_template(const MOLTE_WMTEMPL& templ) {
    std::string all;
    for (int32_t i = 0; i < templ.nSubStr; ++i) {
        const MOLTE_WMSUBSTR& piece = templ.pSubStr[i];
        if (piece.nType < 1 || piece.nType > 3) return "!";
        all += " *.r"[piece.nType];
        if ((piece.pChar != nullptr) != (piece.nType == 3)) all += '!';
        for (int32_t k = 0; k < piece.nChar; ++k) {
            const MOLTE_WMCHAR& element = piece.pChar[k];
            if (element.nType < 1 || element.nType > 3 || element.nLen < 0) return "!";
            const bool has_text = element.nType != MOLTE_WMCHAR_ANY && element.nLen > 0;
            if ((element.pText != nullptr) != has_text) all += '!';
            all += std::string("(") + " ?[a"[element.nType] + (element.bNegate == 1 ? "^" : "") +
                   (element.bMB == 1 ? "m" : "") + std::to_string(element.nLen) + ":";
            if (has_text) all.append(element.pText, static_cast<size_t>(element.nLen));
            if (has_text && element.pText[element.nLen] != '\0') all += '!';
            all += ')';
        }
    }
    return all;
}
