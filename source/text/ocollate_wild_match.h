// What a pattern is made of: how characters are read and compared, and the elements that take one.
#pragma once

#include <cstring>
#include <type_traits>

#include "data/oxstring.h"
#include "text/oxpinyin_readings.h"

namespace molte::wild {

struct SingleBytes {
    static constexpr bool kWhole = false;
    static Character first(const char* text) {
        const auto byte = static_cast<unsigned char>(*text);
        return {byte, byte != 0 ? 1 : 0};
    }
};

struct WholeCharacters {
    static constexpr bool kWhole = true;
    static Character first(const char* text) { return first_character(text); }
};

// Routines. equal_to(b) is what may be asked about many characters.
struct ByCode {
    int32_t operator()(int32_t a, int32_t b) const { return a - b; }
    auto equal_to(int32_t b) const {
        return [b](int32_t a) { return a == b; };
    }
};

struct WithoutCase {
    int32_t operator()(int32_t a, int32_t b) const { return capital_of(a) - capital_of(b); }
    auto equal_to(int32_t b) const {
        return [capital = capital_of(b)](int32_t a) { return capital_of(a) == capital; };
    }
};

// Tells only whether two are equal.
template <int32_t kMode>
struct ByReading {
    int32_t operator()(int32_t a, int32_t b) const { return equal_to(b)(a) ? 0 : 1; }
    auto equal_to(int32_t b) const { return pinyin::Alike(b, kMode); }
};
using ByReadingText = ByReading<MOLTE_HZPY_VARIANT_B>;

// The caller's, which may be seen at work.
struct Foreign {
    OCOLL_CHARCMP routine;
    int32_t operator()(int32_t a, int32_t b) const { return routine(a, b); }
    auto equal_to(int32_t b) const {
        return [routine = routine, b](int32_t a) { return routine(a, b) == 0; };
    }
};

inline const char* behind_run(const char* pattern, char c) {
    while (*pattern == c) ++pattern;
    return pattern;
}

inline const char* behind_optional(const char* pattern) {
    while (*pattern == '*' || *pattern == '.') ++pattern;
    return pattern;
}

// Whether nothing is left in the pattern that needs a character.
inline bool all_optional(const char* pattern) {
    return *behind_optional(pattern) == '\0';
}

// The elements of a pattern that take one character of text.
template <typename Glyphs, typename Single, typename Double>
class Elements {
 public:
    static constexpr bool kWhole = Glyphs::kWhole;

    Elements(Single single, Double both) : single_(single), double_(both) {}

    static const char* next(const char* text) { return text + Glyphs::first(text).size; }

    // The first place that the head of the pattern may match, if that is easily found: a literal's.
    // Null when there is none in the text.
    const char* find(const char* text, const char* pattern) const {
        const Character element = Glyphs::first(pattern);
        if (element.size == 2) return find_if<2>(text, double_.equal_to(element.value));
        if (is_special(*pattern)) return text;
        if constexpr (std::is_same_v<Single, ByCode> && !kWhole) {
            return std::strchr(text, element.value);
        }
        return find_if<1>(text, single_.equal_to(element.value));
    }

    // Passes over an element of the pattern and a character of the text, which must not be at its
    // end, if they match.
    bool take(const char*& text, const char*& pattern) const {
        const Character c = Glyphs::first(text);
        const Character element = Glyphs::first(pattern);
        bool matched = true;
        switch (element.value) {
            case '?':
                break;
            case '\\':
                matched = differs(c, ++pattern);
                break;
            case '[':
                matched = in_class(c, ++pattern);
                break;
            default:
                matched = same(c, element);
        }
        if (!matched) return false;
        text += c.size;
        pattern = next(pattern);
        return true;
    }

 private:
    static bool is_special(char c) {
        return c == '*' || c == '.' || c == '?' || c == '[' || c == '\\';
    }

    template <int32_t kSize, typename Predicate>
    static const char* find_if(const char* text, Predicate wanted) {
        for (;;) {
            const Character c = Glyphs::first(text);
            if (c.size == kSize && wanted(c.value)) return text;
            if (c.size == 0) return nullptr;
            text += c.size;
        }
    }

    bool same(Character c, Character element) const {
        if (c.size != element.size) return false;
        return (element.size == 1 ? single_(c.value, element.value)
                                  : double_(c.value, element.value)) == 0;
    }

    // The inverted escape: meant.
    bool differs(Character c, const char* escaped) const {
        const Character element = Glyphs::first(escaped);
        return c.size == 1 && element.size == 1 && single_(c.value, element.value) != 0;
    }

    static const char* end_of_class(const char* at) {
        while (*at != '\0' && *at != ']') at = next(at);
        return at;
    }

    // Takes the pattern from behind "[" to the "]" of a class that holds the character.
    bool in_class(Character c, const char*& pattern) const {
        const char* at = pattern;
        const bool negated = *at == '^';
        if (negated) ++at;
        if (*at == ']' || c.size != 1) return false;
        // Of a class without end no routine is asked.
        if (std::is_same_v<Single, Foreign> && *end_of_class(at) == '\0') return false;
        bool hit = false;
        for (; *at != ']' && !hit; ++at) {
            if (Glyphs::first(at).size != 1) return false;  // also at the end of the pattern
            if (at[1] != '-') {
                hit = single_(c.value, byte(*at)) == 0;
                continue;
            }
            if (at[2] == ']' || Glyphs::first(at + 2).size != 1) return false;
            hit = between(c.value, at[0], at[2]);
            at += 2;
        }
        pattern = end_of_class(at);
        return *pattern != '\0' && hit != negated;
    }

    bool between(int32_t value, char low, char high) const {
        return single_(value, byte(low)) >= 0 && single_(value, byte(high)) < 1;
    }

    static int32_t byte(char c) { return static_cast<unsigned char>(c); }

    [[no_unique_address]] Single single_;
    [[no_unique_address]] Double double_;
};

}  // namespace molte::wild
