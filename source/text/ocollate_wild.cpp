// Wild matching of texts against patterns as they stand.
//
// "*" and "." leave many ways to match, which recursion would try one after the other. AllAtOnce
// follows them together, in bounded time. It takes single elements by Elements.
#include <cstring>
#include <type_traits>
#include <utility>

#include "data/character.h"
#include "data/scratch.h"
#include "moltelib/wild_match.h"
#include "text/oxpinyin.h"

namespace {

using molte::Character;

struct SingleBytes {
    static constexpr bool kWhole = false;
    static Character first(const char* text) {
        const auto byte = static_cast<unsigned char>(*text);
        return {byte, byte != 0 ? 1 : 0};
    }
};

struct WholeCharacters {
    static constexpr bool kWhole = true;
    static Character first(const char* text) { return molte::first_character(text); }
};

// Routines. equal_to(b) is what may be asked about many characters.
struct ByCode {
    int32_t operator()(int32_t a, int32_t b) const { return a - b; }
    auto equal_to(int32_t b) const {
        return [b](int32_t a) { return a == b; };
    }
};

struct WithoutCase {
    int32_t operator()(int32_t a, int32_t b) const {
        return molte::capital_of(a) - molte::capital_of(b);
    }
    auto equal_to(int32_t b) const {
        return
            [capital = molte::capital_of(b)](int32_t a) { return molte::capital_of(a) == capital; };
    }
};

// Tells only whether two are equal.
template <int32_t kMode>
struct ByReading {
    int32_t operator()(int32_t a, int32_t b) const { return equal_to(b)(a) ? 0 : 1; }
    auto equal_to(int32_t b) const { return molte::pinyin::Alike(b, kMode); }
};
using ByReadingText = ByReading<MOLTE_HZPY_VARIANT_B>;

// The caller's.
struct Foreign {
    OCOLL_CHARCMP routine;
    int32_t operator()(int32_t a, int32_t b) const { return routine(a, b); }
    auto equal_to(int32_t b) const {
        return [routine = routine, b](int32_t a) { return routine(a, b) == 0; };
    }
};

const char* behind_run(const char* pattern, char c) {
    while (*pattern == c) ++pattern;
    return pattern;
}

const char* behind_optional(const char* pattern) {
    while (*pattern == '*' || *pattern == '.') ++pattern;
    return pattern;
}

// Whether nothing is left in the pattern that needs a character.
bool all_optional(const char* pattern) {
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

// The places in a text that a pattern can have come to, from left to right. They differ by the "."
// that took a character, so there is at most one more than there are ".".
class Places {
 public:
    // False when there is no memory for so many.
    bool start(const char* text, size_t dots) {
        const size_t most = dots < kOnStack ? dots + 1 : strnlen(text, dots) + 1;
        if (most > kOnStack) {
            large_ = molte::scratch<const char*>(2 * most);
            if (large_ == nullptr) return false;
            now_ = large_.get();
            spare_ = now_ + most;
        }
        now_[0] = text;
        count_ = 1;
        return true;
    }

    [[nodiscard]] bool none() const { return count_ == 0; }
    [[nodiscard]] const char* first() const { return now_[0]; }
    [[nodiscard]] const char* last() const { return now_[count_ - 1]; }

    // Moves each place by STEP(place), which may refuse: then the place is dropped.
    template <typename Step>
    void advance(Step step) {
        size_t kept = 0;
        for (size_t i = 0; i < count_; ++i) {
            const char* place = now_[i];
            if (step(place)) now_[kept++] = place;
        }
        count_ = kept;
    }

    // Adds to each place the ones up to so many characters behind it.
    template <typename Next>
    void spread(ptrdiff_t characters, Next next) {
        size_t count = 0;
        for (size_t i = 0; i < count_; ++i) {
            const char* const next_place = i + 1 < count_ ? now_[i + 1] : nullptr;
            const char* place = now_[i];
            for (ptrdiff_t n = 0; n <= characters && place != next_place; ++n) {
                spare_[count++] = place;
                if (*place == '\0') break;
                place = next(place);
            }
        }
        std::swap(now_, spare_);
        count_ = count;
    }

 private:
    static constexpr size_t kOnStack = 64;

    const char* on_stack_[2][kOnStack];
    molte::Scratch<const char*> large_;
    const char** now_ = on_stack_[0];
    const char** spare_ = on_stack_[1];
    size_t count_ = 0;
};

// What stands between two "*" is matched at its leftmost place, for if the rest can't be matched
// behind that, it can't be matched behind a later one. All ways that "." leave are followed at
// once.
template <typename Language>
class AllAtOnce {
 public:
    explicit AllAtOnce(const Language& language) : language_(language) {}

    bool match(const char* text, const char* pattern) {
        const char* star = nullptr;  // what stands behind the last "*", and where that is tried
        const char* tried = nullptr;
        for (;;) {
            switch (match_to_star(text, pattern)) {
                case Outcome::matched:
                    return true;
                case Outcome::behind_star:
                    star = pattern;
                    tried = text;
                    break;
                case Outcome::failed:
                    if (star == nullptr) return false;
                    tried = Language::next(tried);
                    pattern = star;
            }
            tried = language_.find(tried, star);
            if (tried == nullptr || *tried == '\0') return false;
            text = tried;
        }
    }

 private:
    enum class Outcome : uint8_t { matched, failed, behind_star };

    // Passes over elements and characters up to behind a "*", before which the text hasn't ended.
    Outcome match_to_star(const char*& text, const char*& pattern) {
        for (;;) {
            if (*text == '\0') return all_optional(pattern) ? Outcome::matched : Outcome::failed;
            if (*pattern == '*') return pass_star(text, pattern);
            if (*pattern == '.') return follow_all(text, pattern);
            if (!language_.take(text, pattern)) return Outcome::failed;
        }
    }

    // More "*" and "." behind a "*" are passed over too: what takes a character behind them is
    // found further on as well, and without it they match. But one "." at the end of the pattern
    // takes no double-byte character, so that only a text that ends before the "*" might match.
    Outcome pass_star(const char* text, const char*& pattern) {
        const char* behind = behind_run(pattern, '*');
        pattern = behind_optional(behind);
        if (*pattern != '\0') return Outcome::behind_star;
        const bool one_dot = pattern - behind == 1;
        return one_dot && ends_in_double_byte(text) ? Outcome::failed : Outcome::matched;
    }

    // Asked for any place of the text, walked through only once: a "no" ends the match.
    bool ends_in_double_byte(const char* text) {
        if (!Language::kWhole || double_at_end_) return double_at_end_;
        const char* last = text;
        for (; *text != '\0'; text = Language::next(text)) last = text;
        double_at_end_ = last[1] != '\0';
        return double_at_end_;
    }

    // The same as match_to_star from a "." on. The text goes to the leftmost place.
    Outcome follow_all(const char*& text, const char*& pattern) {
        Places places;
        if (!places.start(text, count_dots(pattern))) return Outcome::failed;
        while (!places.none()) {
            if (*places.last() == '\0' && all_optional(pattern)) return Outcome::matched;
            if (*pattern == '*') {
                text = places.first();
                return pass_star(text, pattern);
            }
            if (*pattern != '.') {
                take_at_each(places, pattern);
                continue;
            }
            const char* dots = pattern;
            pattern = behind_run(pattern, '.');
            const bool last = *pattern == '\0';
            places.spread(pattern - dots - (last ? 1 : 0), Language::next);
            if (last) return ends_by_dot(places.last()) ? Outcome::matched : Outcome::failed;
        }
        return Outcome::failed;
    }

    // A "." at the end of the pattern takes no double-byte character.
    static bool ends_by_dot(const char* text) { return *text == '\0' || text[1] == '\0'; }

    void take_at_each(Places& places, const char*& pattern) const {
        const char* behind = pattern;
        places.advance([&](const char*& place) {
            const char* element = pattern;
            if (*place == '\0' || !language_.take(place, element)) return false;
            behind = element;
            return true;
        });
        pattern = behind;
    }

    static size_t count_dots(const char* pattern) {
        size_t count = 0;
        for (; *pattern != '\0'; ++pattern) count += *pattern == '.' ? 1 : 0;
        return count;
    }

    Language language_;
    bool double_at_end_ = false;
};

template <typename Glyphs, typename Single, typename Double = Single>
int32_t match(const char* text, const char* pattern, Single single = {}, Double both = {}) {
    using Language = Elements<Glyphs, Single, Double>;
    if (text == nullptr || pattern == nullptr) return 0;
    if (*pattern == '\0') return 1;
    return AllAtOnce(Language(single, both)).match(text, pattern) ? 1 : 0;
}

}  // namespace

int32_t OCOLL_SB_WildMatch(const char* pszText, const char* pszPattern, OCOLL_CHARCMP cmp) {
    if (cmp == nullptr) return 0;
    return match<SingleBytes, Foreign>(pszText, pszPattern, {cmp}, {cmp});
}

int32_t OCOLL_MB_WildMatch(const char* pszText, const char* pszPattern, OCOLL_CHARCMP sbCmp,
                           OCOLL_CHARCMP dbCmp) {
    if (sbCmp == nullptr || dbCmp == nullptr) return 0;
    return match<WholeCharacters, Foreign>(pszText, pszPattern, {sbCmp}, {dbCmp});
}

int32_t ORVEX_WildMatch(const char* pszText, const char* pszPattern) {
    return match<SingleBytes, ByCode>(pszText, pszPattern);
}

int32_t ORVEX_Ci_WildMatch(const char* pszText, const char* pszPattern) {
    return match<SingleBytes, WithoutCase>(pszText, pszPattern);
}

int32_t ORVEX_MB_WildMatch(const char* pszText, const char* pszPattern) {
    return match<WholeCharacters, ByCode>(pszText, pszPattern);
}

int32_t ORVEX_MB_WildPyMatch(const char* pszText, const char* pszPattern) {
    return match<WholeCharacters, ByCode, ByReading<0>>(pszText, pszPattern);
}

int32_t ORVEX_MB_WildVarPyMatch(const char* pszText, const char* pszPattern) {
    return match<WholeCharacters, ByCode, ByReadingText>(pszText, pszPattern);
}

int32_t ORVEX_MB_Ci_WildMatch(const char* pszText, const char* pszPattern) {
    return match<WholeCharacters, WithoutCase, ByCode>(pszText, pszPattern);
}

int32_t ORVEX_MB_Ci_WildPyMatch(const char* pszText, const char* pszPattern) {
    return match<WholeCharacters, WithoutCase, ByReading<0>>(pszText, pszPattern);
}

int32_t ORVEX_MB_Ci_WildVarPyMatch(const char* pszText, const char* pszPattern) {
    return match<WholeCharacters, WithoutCase, ByReadingText>(pszText, pszPattern);
}

int32_t ORVEX_NormalizeTempl(char* pszPattern) {
    if (pszPattern == nullptr || *pszPattern == '\0') return 0;
    char* to = pszPattern;
    for (const char* from = pszPattern + 1; *from != '\0'; ++from) {
        if (*from != '*' || *to != '*') *++to = *from;
    }
    to[1] = '\0';
    return 1;
}
