// Matching with compiled wildcard templates, and releasing them.
//
// A text is held by its terminator as well: END. The place in it can be one behind END, when a
// negated class or a literal has taken the terminator; nothing is read there.
#include <algorithm>
#include <cstring>

#include "data/character.h"
#include "moltelib/memory.h"
#include "moltelib/wild_template.h"

namespace {

using molte::first_character;

constexpr int64_t kNoMatch = -1;

bool is_literal_at(const MOLTE_WMCHAR& literal, const char* at, const char* end) {
    const int64_t size = literal.nLen;
    return size <= end + 1 - at &&
           (size < 1 || (*at == *literal.pText &&
                         std::memcmp(at, literal.pText, static_cast<size_t>(size)) == 0));
}

bool lists(const MOLTE_WMCHAR& list, molte::Character c) {
    if (list.nLen < 1 || c.size == 0 || (c.size == 2 && list.bMB == 0)) return false;
    if (list.bMB == 0) {
        return std::memchr(list.pText, c.value, static_cast<size_t>(list.nLen)) != nullptr;
    }
    const char* const end = list.pText + list.nLen;
    for (const char* at = list.pText; at < end;) {
        const molte::Character listed = first_character(at);
        if (listed.size == 0) return false;
        if (listed.size == c.size && listed.value == c.value) return true;
        at += listed.size;
    }
    return false;
}

// Whether the characters are there.
bool pass(int32_t characters, const char*& at, const char* end) {
    for (; characters > 0; --characters) {
        if (at >= end) return false;
        at += first_character(at).size;
    }
    return true;
}

// The bytes that an element takes, or kNoMatch. The terminator counts as a character of a byte.
int64_t take_element(const MOLTE_WMCHAR& element, const char* at, const char* end) {
    if (at > end) return kNoMatch;
    switch (element.nType) {
        case MOLTE_WMCHAR_LITERAL:
            return is_literal_at(element, at, end) ? element.nLen : kNoMatch;
        case MOLTE_WMCHAR_ANY: {
            const char* const begin = at;
            return pass(element.nLen, at, end) ? at - begin : kNoMatch;
        }
        case MOLTE_WMCHAR_CLASS: {
            const molte::Character c = first_character(at);
            return lists(element, c) != (element.bNegate != 0) ? std::max(c.size, 1) : kNoMatch;
        }
        default:
            return kNoMatch;
    }
}

// The bytes that the elements take, 0 for no match.
int64_t take_run(const MOLTE_WMCHAR* elements, int32_t count, const char* at, const char* end) {
    const char* const begin = at;
    for (int32_t i = 0; i < count; ++i) {
        const int64_t taken = take_element(elements[i], at, end);
        if (taken == kNoMatch) return 0;
        at += taken;
    }
    return at - begin;
}

// Where a literal stands first, or null.
const char* find_literal(const MOLTE_WMCHAR& literal, const char* at, const char* end) {
    if (literal.nLen < 1) return at <= end ? at : nullptr;
    if (literal.bMB == 0) {
        while (at <= end) {
            const auto room = static_cast<size_t>(end + 1 - at);
            at = static_cast<const char*>(std::memchr(at, *literal.pText, room));
            if (at == nullptr) return nullptr;
            if (is_literal_at(literal, at, end)) return at;
            ++at;
        }
        return nullptr;
    }
    for (; at <= end; at += std::max(first_character(at).size, 1)) {
        if (is_literal_at(literal, at, end)) return at;
    }
    return nullptr;
}

// The longest literal, the first one of several; -1 when there is none.
int32_t longest_literal(const MOLTE_WMCHAR* elements, int32_t count) {
    int32_t longest = -1;
    for (int32_t i = 0; i < count; ++i) {
        if (elements[i].nType != MOLTE_WMCHAR_LITERAL) continue;
        if (longest < 0 || elements[i].nLen > elements[longest].nLen) longest = i;
    }
    return longest;
}

int64_t find_by_first_literal(const MOLTE_WMCHAR* elements, int32_t count, const char* text,
                              const char* end, int32_t* offset) {
    const int32_t size = elements[0].nLen;
    for (const char* at = find_literal(elements[0], text, end); at != nullptr;
         at = find_literal(elements[0], at + 1, end)) {
        const int64_t rest = take_run(elements + 1, count - 1, at + size, end);
        if (rest == 0 && count > 1) continue;
        *offset = static_cast<int32_t>(at - text);
        return size + rest;
    }
    return 0;
}

int64_t find_without_literal(const MOLTE_WMCHAR* elements, int32_t count, const char* text,
                             const char* end, int32_t* offset) {
    for (const char* at = text; at < end; at += first_character(at).size) {
        const int64_t taken = take_run(elements, count, at, end);
        if (taken == 0) continue;
        *offset = static_cast<int32_t>(at - text);
        return taken;
    }
    return 0;
}

// MOLTE_WMCHAR_StrMatch in a text that ends at END.
int64_t find_run(const MOLTE_WMCHAR* elements, int32_t count, const char* text, const char* end,
                 int32_t* offset) {
    const int32_t longest = longest_literal(elements, count);
    if (longest < 0) return find_without_literal(elements, count, text, end, offset);
    if (longest == 0) return find_by_first_literal(elements, count, text, end, offset);
    return take_run(elements, count, text, end);  // no search and no offset: meant
}

// A text being matched piece by piece.
class Match {
 public:
    Match(const MOLTE_WMSUBSTR* pieces, int32_t count, const char* text)
        : piece_(pieces),
          behind_(pieces + count),
          text_(text),
          end_(text + std::strlen(text)),
          at_(text) {}

    bool run() {
        while (piece_ != behind_) {
            if (piece_ + 1 == behind_) return is_rest(*piece_);
            if (!pass_piece()) return false;
        }
        return at_ == end_;
    }

 private:
    // Whether the last piece takes just what is left. A "." takes any rest; and a run that takes
    // nothing, because it doesn't match, takes just an empty rest: meant, both.
    [[nodiscard]] bool is_rest(const MOLTE_WMSUBSTR& piece) const {
        return piece.nType != MOLTE_WMSUBSTR_FIXED || take(piece) == end_ - at_;
    }

    // Passes over a piece, and over the run behind it unless it is one itself.
    bool pass_piece() {
        const MOLTE_WMSUBSTR& next = piece_[1];
        switch (piece_->nType) {
            case MOLTE_WMSUBSTR_ANY:
                piece_ += 2;
                return pass_to(next);
            case MOLTE_WMSUBSTR_OPTIONAL:
                piece_ += 2;
                return pass(next) || (pass_character() && pass(next));
            default:
                return pass(*piece_++);
        }
    }

    // Behind the last "*" the run stands as near to the end as what follows leaves room for; that
    // may be before the place that has been reached: meant.
    bool pass_to(const MOLTE_WMSUBSTR& run) {
        const bool more = std::any_of(piece_, behind_, [](const MOLTE_WMSUBSTR& piece) {
            return piece.nType == MOLTE_WMSUBSTR_ANY;
        });
        if (!more) at_ = end_ - std::min<int64_t>(size_from(&run), end_ - text_);
        int32_t offset = 0;
        const int64_t taken = find_run(run.pChar, run.nChar, at_, end_, &offset);
        at_ += offset + taken;
        return taken != 0;
    }

    [[nodiscard]] int64_t size_from(const MOLTE_WMSUBSTR* piece) const {
        int64_t size = 0;
        for (; piece != behind_; ++piece) {
            for (int32_t i = 0; i < piece->nChar; ++i) size += piece->pChar[i].nLen;
        }
        return size;
    }

    [[nodiscard]] int64_t take(const MOLTE_WMSUBSTR& run) const {
        return take_run(run.pChar, run.nChar, at_, end_);
    }

    bool pass(const MOLTE_WMSUBSTR& run) {
        const int64_t taken = take(run);
        at_ += taken;
        return taken != 0;
    }

    bool pass_character() { return ::pass(1, at_, end_); }

    const MOLTE_WMSUBSTR* piece_;
    const MOLTE_WMSUBSTR* behind_;
    const char* text_;
    const char* end_;
    const char* at_;
};

}  // namespace

int32_t MOLTE_CompiledWildMatch(const MOLTE_WMTEMPL* pTempl, const char* pszText) {
    if (pTempl == nullptr) return 0;
    return pTempl->nSubStr < 1 ? 1
                               : MOLTE_UTIL_RecurWMatch(pTempl->pSubStr, pTempl->nSubStr, pszText);
}

int32_t MOLTE_UTIL_RecurWMatch(const MOLTE_WMSUBSTR* pPieces, int32_t n, const char* pszText) {
    if (pszText == nullptr || (pPieces == nullptr && n > 0)) return 0;
    if (n < 1) return *pszText == '\0' ? 1 : 0;
    return Match(pPieces, n, pszText).run() ? 1 : 0;
}

int32_t MOLTE_WMCHAR_ForewardMatch(const MOLTE_WMCHAR* pChars, int32_t n, const char* pszText) {
    if (pChars == nullptr || pszText == nullptr) return 0;
    return static_cast<int32_t>(take_run(pChars, n, pszText, pszText + std::strlen(pszText)));
}

int32_t MOLTE_WMCHAR_StrMatch(const MOLTE_WMCHAR* pChars, int32_t n, const char* pszText,
                              int32_t* pnPos) {
    if (pChars == nullptr || pszText == nullptr) return 0;
    int32_t unwanted;
    return static_cast<int32_t>(find_run(pChars, n, pszText, pszText + std::strlen(pszText),
                                         pnPos != nullptr ? pnPos : &unwanted));
}

int32_t MOLTE_WMCHAR_Free(MOLTE_WMCHAR* pChar) {
    if (pChar == nullptr) return 0;
    ORVEX_free(pChar->pText);
    pChar->pText = nullptr;
    pChar->nLen = 0;
    return 0;
}

int32_t MOLTE_WMSUBSTR_Free(MOLTE_WMSUBSTR* pSubStr) {
    if (pSubStr == nullptr) return 0;
    for (int32_t i = 0; i < pSubStr->nChar; ++i) MOLTE_WMCHAR_Free(pSubStr->pChar + i);
    ORVEX_free(pSubStr->pChar);
    *pSubStr = {};
    return 0;
}

int32_t MOLTE_WMTEMPL_Free(MOLTE_WMTEMPL* pTempl) {
    if (pTempl == nullptr) return 0;
    for (int32_t i = 0; i < pTempl->nSubStr; ++i) MOLTE_WMSUBSTR_Free(pTempl->pSubStr + i);
    ORVEX_free(pTempl->pSubStr);
    *pTempl = {};
    return 0;
}
