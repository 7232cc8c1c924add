// Wild matching of texts against patterns as they stand.
//
// "*" and "." leave many ways to match, and the language is defined by the recursion that tries
// them in turn. The caller's routines may be seen at work, so they are asked in that order
// (InOrder), as long as the ways are few. All else is matched by AllAtOnce, which follows the ways
// together, without recursion and in bounded time.
//
// The two agree because each leaves out only ways that can't succeed. What begins with a "*" and
// can be matched from some place of a text can be matched from any place before it too, for the "*"
// takes what is between. So the leftmost place where a "*" can be come to decides for all others:
// what is before it needn't be tried again, and behind it what follows up to the next "*" need only
// be found at its own leftmost place. (A routine is taken to answer by its arguments alone. The one
// exception of the language, "." at the end of a pattern, is TextEnd's.)
#include <type_traits>
#include <utility>

#include "core/owners.h"
#include "moltelib/wild_match.h"
#include "text/ocollate_wild_match.h"

using namespace molte::wild;

namespace {

// What is all optional behind a "*" matches what is left of a text. But one "." at the end of the
// pattern takes no double-byte character, so that only a text that ends before the "*" might match.
template <typename Language>
class TextEnd {
 public:
    bool is_matched(const char* text, const char* behind_star) {
        const bool one_dot = behind_star[0] == '.' && behind_star[1] == '\0';
        return !one_dot || !is_double_byte(text);
    }

 private:
    // Asked for any place of the text, walked through only once: a "no" ends the match.
    bool is_double_byte(const char* text) {
        if (!Language::kWhole || double_) return double_;
        const char* last = text;
        for (; *text != '\0'; text = Language::next(text)) last = text;
        double_ = last[1] != '\0';
        return double_;
    }

    bool double_ = false;
};

// The recursion as the language is defined, as far as it can lead anywhere.
template <typename Language>
class InOrder {
 public:
    explicit InOrder(const Language& language) : language_(language) {}

    // Whether a pattern has no more ways than can be tried one after the other.
    static bool is_for(const char* pattern) {
        constexpr int kMostWays = 12;
        int ways = 0;
        for (; *pattern != '\0' && ways <= kMostWays; ++pattern) {
            if (*pattern == '*' || *pattern == '.') ++ways;
        }
        return ways <= kMostWays;
    }

    bool match(const char* text, const char* pattern) {
        return walk(text, pattern) == Outcome::matched;
    }

 private:
    // Failed for good: a "*" was come to and failed. The way that comes to it first leads to the
    // leftmost place where it can begin, so that what is before it can't help by going on.
    enum class Outcome : uint8_t { failed, failed_for_good, matched };

    static Outcome outcome(bool matched) { return matched ? Outcome::matched : Outcome::failed; }

    Outcome walk(const char* text, const char* pattern) {
        while (*text != '\0') {
            if (*pattern == '*') return walk_anywhere(text, behind_run(pattern, '*'));
            if (*pattern == '.') {
                ++pattern;
                if (*pattern == '\0') return outcome(text[1] == '\0');  // meant, for both widths
                const Outcome without = walk(text, pattern);
                if (without != Outcome::failed) return without;
                text = Language::next(text);
                continue;
            }
            if (*pattern == '\0' || !language_.take(text, pattern)) return Outcome::failed;
        }
        return outcome(all_optional(pattern));
    }

    Outcome walk_anywhere(const char* text, const char* pattern) {
        if (all_optional(pattern)) return outcome(end_.is_matched(text, pattern));
        for (; *text != '\0'; text = Language::next(text)) {
            const Outcome there = walk(text, pattern);
            if (there != Outcome::failed) return there;
        }
        return Outcome::failed_for_good;
    }

    Language language_;
    TextEnd<Language> end_;
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
    // found further on as well.
    Outcome pass_star(const char* text, const char*& pattern) {
        const char* behind = behind_run(pattern, '*');
        pattern = behind_optional(behind);
        if (*pattern != '\0') return Outcome::behind_star;
        return end_.is_matched(text, behind) ? Outcome::matched : Outcome::failed;
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
    TextEnd<Language> end_;
};

template <typename Glyphs, typename Single, typename Double = Single>
int32_t match(const char* text, const char* pattern, Single single = {}, Double both = {}) {
    using Language = Elements<Glyphs, Single, Double>;
    if (text == nullptr || pattern == nullptr) return 0;
    if (*pattern == '\0') return 1;
    const Language language(single, both);
    if (std::is_same_v<Single, Foreign> && InOrder<Language>::is_for(pattern)) {
        return InOrder(language).match(text, pattern) ? 1 : 0;
    }
    return AllAtOnce(language).match(text, pattern) ? 1 : 0;
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
