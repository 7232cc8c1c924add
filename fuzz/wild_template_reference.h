// The language of moltelib/wild_template.h once more: patterns parsed into plain strings, and
// matched by the steps of its rules.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "wild_match_reference.h"

class TemplateReference {
 public:
    TemplateReference(const std::string& pattern, bool gbk) : pattern_(pattern), gbk_(gbk) {
        while (error_ == 0 && at_ < pattern_.size()) parse_piece();
    }
    [[nodiscard]] int32_t error() const { return error_; }

    // As described_template() tells it of the library's.
    [[nodiscard]] std::string described() const {
        std::string all;
        for (const Piece& piece : pieces_) {
            all += piece.kind;
            for (const Element& element : piece.run) {
                all += std::string("(") + element.kind + (element.negate ? "^" : "") +
                       (element.mb ? "m" : "") + std::to_string(element.text.size()) + ":" +
                       (element.kind == '?' ? "" : element.text) + ")";
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
                s = behind(piece.run, text, s);
            } else if (piece.kind == '.') {
                s = behind_optional(pieces_[++i].run, text, s);
            } else {
                ++i;
                s = behind_found(pieces_[i].run, text, start_of_search(i, end, s));
            }
            if (s == kNone) return false;
        }
        return pieces_.empty() || s == end;
    }

 private:
    struct Element {
        char kind = 0;  // '?', '[', or 'a' for a literal
        bool negate = false;
        bool mb = false;
        std::string text;  // of '?' so many of them
    };
    using Run = std::vector<Element>;
    struct Piece {
        char kind;  // '*', '.', or 'r' for a run of elements
        Run run;
    };
    static constexpr size_t kNone = std::string::npos;

    [[nodiscard]] std::string whole(const std::string& text, size_t at) const {
        return text.substr(at, wild_char(text.c_str() + at, gbk_).length == 2 ? 2 : 1);
    }
    [[nodiscard]] bool lists(const std::string& characters, const std::string& c) const {
        size_t i = 0;
        while (i < characters.size() && whole(characters, i) != c) i += whole(characters, i).size();
        return i < characters.size();
    }

    // The bytes that a run takes at a position, 0 for no match.
    [[nodiscard]] size_t bytes_of(const Run& run, const std::string& text, size_t from) const {
        size_t at = from;
        for (const Element& element : run) {
            if (at >= text.size()) return 0;
            if (element.kind == 'a') {
                if (text.compare(at, element.text.size(), element.text) != 0) return 0;
                at += element.text.size();
            } else if (element.kind == '[') {
                const std::string c = whole(text, at);
                if (lists(element.text, c) == element.negate) return 0;
                at += c.size();
            }
            for (size_t i = 0; element.kind == '?' && i < element.text.size(); ++i) {
                if (at + 1 >= text.size()) return 0;
                at += whole(text, at).size();
            }
        }
        return at - from;
    }

    // The position behind a run that stands at this one.
    [[nodiscard]] size_t behind(const Run& run, const std::string& text, size_t at) const {
        const size_t taken = bytes_of(run, text, at);
        return taken > 0 ? at + taken : kNone;
    }
    [[nodiscard]] size_t behind_optional(const Run& run, const std::string& text, size_t s) const {
        for (int skipped = 0; skipped < 2 && s < text.size(); ++skipped) {
            const size_t place = behind(run, text, s);
            if (place != kNone) return place;
            s += whole(text, s).size();
        }
        return kNone;
    }
    // The same of the first place from a position on, which is the only one for a run whose longest
    // literal isn't in front. One that is in front is looked for byte by byte, whatever characters
    // it would cut, unless it has two-byte characters of its own.
    [[nodiscard]] size_t behind_found(const Run& run, const std::string& text, size_t at) const {
        const auto length = [](const Element& e) { return e.kind == 'a' ? e.text.size() : 0; };
        const auto longest = std::max_element(
            run.begin(), run.end(),
            [&](const Element& a, const Element& b) { return length(a) < length(b); });
        if (longest != run.begin()) return behind(run, text, at);
        const Element& first = run[0];
        while (at + 1 < text.size()) {
            const size_t place = behind(run, text, at);
            if (place != kNone) return place;
            const bool stands_here = text.compare(at, length(first), first.text) == 0;
            const bool by_bytes = first.kind == 'a' && (stands_here || !first.mb);
            at += by_bytes ? 1 : whole(text, at).size();
        }
        return kNone;
    }
    // Where the run behind a star is looked for: behind the last star of a pattern only what lies
    // so far from the end as the rest is long.
    [[nodiscard]] size_t start_of_search(size_t i, size_t end, size_t s) const {
        size_t length = 0;
        for (; i < pieces_.size(); ++i) {
            if (pieces_[i].kind == '*') return s;
            for (const Element& element : pieces_[i].run) length += element.text.size();
        }
        return end - std::min(end, length);
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
        for (; element.kind == '?' && next() == '?'; ++at_) element.text += '?';
        if (element.kind == '[') parse_class(element);
        while (element.kind == 'a' && error_ == 0 && !next_in("*.?[")) {
            if (next() == '\\') ++at_;
            take_char(element, 422);
        }
        return element;
    }
    // Takes a character, its code; a lead byte with nothing behind is the error.
    int32_t take_char(Element& element, int32_t error) {
        const WildChar c = wild_char(pattern_.c_str() + at_, gbk_);
        if (gbk_ && c.length == 1 && c.code >= 0x81 && c.code <= 0xFE) error_ = error;
        element.mb = element.mb || c.length == 2;
        const size_t size = c.length == 2 ? 2 : 1;
        element.text.append(pattern_.c_str() + at_, size);
        at_ += size;
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
