// Matching with compiled wildcard templates, and releasing them.
//
// A negated class, and a literal that ends with a terminator, can take the terminator of the text:
// what has been passed over then ends with a zero byte, and nothing is read behind it.
#include <algorithm>
#include <cstring>
#include <limits>

#include "data/oxstring.h"
#include "moltelib/memory.h"
#include "moltelib/wild_template.h"
#include "text/find_bytes.h"

namespace {

using molte::Character;
using molte::first_character;

constexpr int64_t kNoMatch = -1;

bool is_literal_at(const MOLTE_WMCHAR& literal, const char* at) {
    const char* const text = literal.pText;
    for (int32_t i = 0; i < literal.nLen; ++i) {
        if (at[i] != text[i]) return false;
    }
    return true;
}

bool lists(const MOLTE_WMCHAR& list, Character c) {
    const auto size = static_cast<size_t>(list.nLen);
    if (list.bMB == 0) {
        return c.size == 1 && size > 0 && std::memchr(list.pText, c.value, size) != nullptr;
    }
    const char* at = list.pText;
    const char* const end = at + list.nLen;
    while (at < end && *at != '\0') {
        const Character listed = first_character(at);
        if (listed.size == c.size && listed.value == c.value) return true;
        at += listed.size;
    }
    return false;
}

// The bytes of so many characters, or kNoMatch when they aren't there.
int64_t take_any(int32_t characters, const char* text) {
    const char* at = text;
    for (; characters > 0; --characters) {
        const int32_t size = first_character(at).size;
        if (size == 0) return kNoMatch;
        at += size;
    }
    return at - text;
}

// The bytes that an element takes, or kNoMatch. The terminator is a byte that no class lists.
int64_t take_element(const MOLTE_WMCHAR& element, const char* at) {
    switch (element.nType) {
        case MOLTE_WMCHAR_LITERAL:
            return is_literal_at(element, at) ? element.nLen : kNoMatch;
        case MOLTE_WMCHAR_ANY:
            return take_any(element.nLen, at);
        case MOLTE_WMCHAR_CLASS: {
            const Character c = first_character(at);
            return lists(element, c) != (element.bNegate != 0) ? std::max(c.size, 1) : kNoMatch;
        }
        default:
            return kNoMatch;
    }
}

// Whether the terminator has been passed over.
bool is_behind_end(const char* at, const char* begin) {
    return at != begin && at[-1] == '\0';
}

// The bytes that the elements take, 0 for no match.
int64_t take_run(const MOLTE_WMCHAR* elements, int32_t count, const char* text) {
    const char* at = text;
    for (int32_t i = 0; i < count; ++i) {
        if (is_behind_end(at, text)) return 0;
        const int64_t taken = take_element(elements[i], at);
        if (taken == kNoMatch) return 0;
        at += taken;
    }
    return at - text;
}

// The first place in a text that ends at END where a literal stands and ACCEPT(place) holds, or
// null.
template <typename Accept>
const char* find_literal(const MOLTE_WMCHAR& literal, const char* at, const char* end,
                         Accept accept) {
    const auto size = static_cast<size_t>(literal.nLen);
    // A terminator as the literal's last byte is that of the text.
    const bool with_end = size > 0 && literal.pText[size - 1] == '\0';
    const char* const last = end - size + (with_end ? 1 : 0);
    if (literal.bMB == 0 && size > 0) {
        return molte::find_bytes(at, last, literal.pText, size, accept);
    }
    while (at <= last) {
        const bool hit = molte::same_bytes(at, literal.pText, size);
        if (hit && accept(at)) return at;
        // Once refused, from one byte behind, which may be the middle of a character: meant.
        at += hit ? 1 : std::max(first_character(at).size, 1);
    }
    return nullptr;
}

// The longest literal, the first one of several; -1 when there is none.
int32_t longest_literal(const MOLTE_WMCHAR* elements, int32_t count) {
    if (count == 1) return elements->nType == MOLTE_WMCHAR_LITERAL ? 0 : -1;
    int32_t longest = -1;
    for (int32_t i = 0; i < count; ++i) {
        if (elements[i].nType != MOLTE_WMCHAR_LITERAL) continue;
        if (longest < 0 || elements[i].nLen > elements[longest].nLen) longest = i;
    }
    return longest;
}

int64_t find_by_first_literal(const MOLTE_WMCHAR* elements, int32_t count, const char* text,
                              const char* end, int64_t* offset) {
    const int32_t size = elements[0].nLen;
    int64_t rest = 0;
    const char* at = find_literal(elements[0], text, end, [&](const char* place) {
        if (count == 1) return true;
        rest = place + size <= end ? take_run(elements + 1, count - 1, place + size) : 0;
        return rest != 0;
    });
    if (at == nullptr) return 0;
    *offset = at - text;
    return size + rest;
}

int64_t find_without_literal(const MOLTE_WMCHAR* elements, int32_t count, const char* text,
                             int64_t* offset) {
    for (const char* at = text; *at != '\0'; at += first_character(at).size) {
        const int64_t taken = take_run(elements, count, at);
        if (taken == 0) continue;
        *offset = at - text;
        return taken;
    }
    return 0;
}

// MOLTE_WMCHAR_StrMatch in a text that ends at END.
int64_t find_run(const MOLTE_WMCHAR* elements, int32_t count, const char* text, const char* end,
                 int64_t* offset) {
    const int32_t longest = longest_literal(elements, count);
    if (longest < 0) return find_without_literal(elements, count, text, offset);
    if (longest == 0) return find_by_first_literal(elements, count, text, end, offset);
    return take_run(elements, count, text);  // no search and no offset: meant
}

// A text being matched piece by piece.
class Match {
 public:
    Match(const MOLTE_WMSUBSTR* pieces, int32_t count, const char* text)
        : piece_(pieces), end_(pieces + count), text_(text), at_(text) {}

    bool run() {
        while (piece_ != end_) {
            if (piece_ + 1 == end_) return is_rest(*piece_);
            if (!pass_piece()) return false;
        }
        return !is_behind_end() && *at_ == '\0';
    }

 private:
    [[nodiscard]] bool is_behind_end() const { return ::is_behind_end(at_, text_); }

    // Whether the last piece takes just what is left. A "." takes any rest; and a run that takes
    // nothing, because it doesn't match, takes just an empty rest: meant, both.
    [[nodiscard]] bool is_rest(const MOLTE_WMSUBSTR& piece) const {
        if (piece.nType != MOLTE_WMSUBSTR_FIXED) return true;
        if (is_behind_end()) return false;
        const int64_t taken = take_run(piece.pChar, piece.nChar, at_);
        return !::is_behind_end(at_ + taken, at_) && at_[taken] == '\0';
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
        if (!is_any_left()) {
            at_ = text_end() - std::min<int64_t>(size_from(&run), text_end() - text_);
        } else if (is_behind_end()) {
            return false;
        }
        if (piece_ == end_ && run.nChar == 1 && run.pChar->nType == MOLTE_WMCHAR_LITERAL &&
            run.pChar->nLen > 0) {
            return pass_end(*run.pChar);
        }
        int64_t offset = 0;
        const int64_t taken = find_run(run.pChar, run.nChar, at_, text_end(), &offset);
        at_ += offset + taken;
        return taken != 0;
    }

    // The usual end of a pattern, without a search: there is one place.
    bool pass_end(const MOLTE_WMCHAR& literal) {
        at_ = text_end();
        const auto size = static_cast<size_t>(literal.nLen);
        return literal.nLen <= at_ - text_ && molte::same_bytes(at_ - size, literal.pText, size);
    }

    // The terminator, which not every match asks for.
    const char* text_end() {
        if (text_end_ == nullptr) {
            text_end_ = is_behind_end() ? at_ - 1 : at_ + std::strlen(at_);
        }
        return text_end_;
    }

    [[nodiscard]] bool is_any_left() const {
        for (const MOLTE_WMSUBSTR* piece = piece_; piece != end_; ++piece) {
            if (piece->nType == MOLTE_WMSUBSTR_ANY) return true;
        }
        return false;
    }

    [[nodiscard]] int64_t size_from(const MOLTE_WMSUBSTR* piece) const {
        int64_t size = 0;
        for (; piece != end_; ++piece) {
            for (int32_t i = 0; i < piece->nChar; ++i) size += piece->pChar[i].nLen;
        }
        return size;
    }

    bool pass(const MOLTE_WMSUBSTR& run) {
        if (is_behind_end()) return false;
        const int64_t taken = take_run(run.pChar, run.nChar, at_);
        at_ += taken;
        return taken != 0;
    }

    bool pass_character() {
        if (is_behind_end()) return false;
        const int32_t size = first_character(at_).size;
        at_ += size;
        return size != 0;
    }

    const MOLTE_WMSUBSTR* piece_;
    const MOLTE_WMSUBSTR* end_;
    const char* text_;
    const char* text_end_ = nullptr;
    const char* at_;
};

// In a place of its own, for a caller with nothing else to do leaves its registers alone.
[[gnu::noinline]] int32_t match(const MOLTE_WMSUBSTR* pieces, int32_t count, const char* text) {
    return Match(pieces, count, text).run() ? 1 : 0;
}

// Whether all is there that the counts announce. Pieces that come alone may be made by hand.
bool is_whole(const MOLTE_WMCHAR& element) {
    const bool needs_text = element.nType != MOLTE_WMCHAR_ANY && element.nLen != 0;
    return element.nLen >= 0 && (element.pText != nullptr || !needs_text);
}

bool are_whole(const MOLTE_WMCHAR* elements, int32_t count) {
    return count < 1 || (elements != nullptr && std::all_of(elements, elements + count, is_whole));
}

bool are_whole(const MOLTE_WMSUBSTR* pieces, int32_t count) {
    return std::all_of(pieces, pieces + count, [](const MOLTE_WMSUBSTR& piece) {
        return are_whole(piece.pChar, piece.nChar);
    });
}

}  // namespace

int32_t MOLTE_CompiledWildMatch(const MOLTE_WMTEMPL* pTempl, const char* pszText) {
    if (pTempl == nullptr) return 0;
    if (pTempl->nSubStr < 1) return 1;
    if (pszText == nullptr || pTempl->pSubStr == nullptr) return 0;
    return match(pTempl->pSubStr, pTempl->nSubStr, pszText);
}

int32_t MOLTE_UTIL_RecurWMatch(const MOLTE_WMSUBSTR* pPieces, int32_t n, const char* pszText) {
    if (pszText == nullptr || (pPieces == nullptr && n > 0)) return 0;
    if (n < 1) return *pszText == '\0' ? 1 : 0;
    return are_whole(pPieces, n) ? match(pPieces, n, pszText) : 0;
}

int32_t MOLTE_WMCHAR_ForewardMatch(const MOLTE_WMCHAR* pChars, int32_t n, const char* pszText) {
    if (pszText == nullptr || !are_whole(pChars, n)) return 0;
    return static_cast<int32_t>(take_run(pChars, n, pszText));
}

int32_t MOLTE_WMCHAR_StrMatch(const MOLTE_WMCHAR* pChars, int32_t n, const char* pszText,
                              int32_t* pnPos) {
    if (pszText == nullptr || !are_whole(pChars, n)) return 0;
    int64_t offset = -1;
    const int64_t taken = find_run(pChars, n, pszText, pszText + std::strlen(pszText), &offset);
    if (offset > std::numeric_limits<int32_t>::max()) return 0;
    if (pnPos != nullptr && offset >= 0) *pnPos = static_cast<int32_t>(offset);
    return static_cast<int32_t>(taken);
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
    const int32_t count = pSubStr->pChar != nullptr ? pSubStr->nChar : 0;
    for (int32_t i = 0; i < count; ++i) MOLTE_WMCHAR_Free(pSubStr->pChar + i);
    ORVEX_free(pSubStr->pChar);
    *pSubStr = {};
    return 0;
}

int32_t MOLTE_WMTEMPL_Free(MOLTE_WMTEMPL* pTempl) {
    if (pTempl == nullptr) return 0;
    const int32_t count = pTempl->pSubStr != nullptr ? pTempl->nSubStr : 0;
    for (int32_t i = 0; i < count; ++i) MOLTE_WMSUBSTR_Free(pTempl->pSubStr + i);
    ORVEX_free(pTempl->pSubStr);
    *pTempl = {};
    return 0;
}
