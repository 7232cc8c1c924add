// Compiling wildcard templates.
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/wild_template.h"
#include "platform/code_page.h"

namespace {

constexpr auto kModule = molte::kOcollate;
using molte::here;

constexpr uint32_t kBadRange = 101;
constexpr uint32_t kNothingEscaped = 420;
constexpr uint32_t kHalfInClass = 421;
constexpr uint32_t kHalfInLiteral = 422;
constexpr int32_t kMostBytes = std::numeric_limits<int16_t>::max();

constexpr int32_t kPiecesAtFirst = 32;
constexpr int32_t kElementsAtFirst = 32;
constexpr int32_t kTextAtFirst = 512;

template <typename T>
T* items_of(const PA& array) {
    return static_cast<T*>(array.pData);
}

template <typename T>
bool holds(const PA& array) {
    return array.nItemSize == static_cast<int32_t>(sizeof(T));
}

// A character of a pattern. In a text a lead byte at the end is a byte like others, here a fault.
struct Source {
    int32_t size;
    bool cut;  // a lead byte with nothing behind it
};

Source source_at(const char* pattern) {
    const auto lead = static_cast<unsigned char>(*pattern);
    if (!platform::is_lead_byte(lead)) return {1, false};
    return {2, pattern[1] == '\0'};
}

// Takes the pattern byte by byte, and holds what is open: a piece, its element, that one's text.
class Compiler {
 public:
    Compiler() = default;
    ~Compiler() {
        for (int32_t i = 0; i < pieces_.nCount; ++i) {
            MOLTE_WMSUBSTR_Free(items_of<MOLTE_WMSUBSTR>(pieces_) + i);
        }
        for (int32_t i = 0; i < elements_.nCount; ++i) {
            MOLTE_WMCHAR_Free(items_of<MOLTE_WMCHAR>(elements_) + i);
        }
        PA_Release(&pieces_);
        PA_Release(&elements_);
        PA_Release(&text_);
    }
    Compiler(const Compiler&) = delete;
    Compiler& operator=(const Compiler&) = delete;

    int32_t compile(const char* pattern) {
        if (PA_Init(&pieces_, sizeof(MOLTE_WMSUBSTR), kPiecesAtFirst) < 0 ||
            PA_Init(&elements_, sizeof(MOLTE_WMCHAR), kElementsAtFirst) < 0 ||
            PA_Init(&text_, 1, kTextAtFirst) < 0) {
            return kModule.trace(here());
        }
        while (*pattern != '\0') {
            pattern = take(pattern);
            if (pattern == nullptr) return -1;
        }
        return finish_piece();
    }

    int32_t hand_over(MOLTE_WMTEMPL* templ) {
        if (pieces_.nCount == 0) return 1;
        auto pieces = molte::allocate<MOLTE_WMSUBSTR>(pieces_.nCount);
        if (pieces == nullptr) return kModule.trace(here());
        std::memcpy(pieces.get(), pieces_.pData,
                    static_cast<size_t>(pieces_.nCount) * sizeof(MOLTE_WMSUBSTR));
        *templ = {pieces_.nCount, pieces.release()};
        pieces_.nCount = 0;
        return 1;
    }

 private:
    // Takes what stands at the head of the pattern; what is behind it, null after a fault.
    const char* take(const char* pattern) {
        switch (*pattern) {
            case '*':
            case '.':
                return take_run(pattern);
            case '?':
                return take_any(pattern);
            case '[':
                return begin(MOLTE_WMCHAR_CLASS) < 0 ? nullptr : take_class(pattern + 1);
            default:
                return take_literal(pattern);
        }
    }

    const char* take_run(const char* pattern) {
        if (piece_.nType == MOLTE_WMSUBSTR_FIXED && finish_piece() < 0) return nullptr;
        if (*pattern == '*') {
            piece_.nType = MOLTE_WMSUBSTR_ANY;
        } else if (piece_.nType == 0) {
            piece_.nType = MOLTE_WMSUBSTR_OPTIONAL;
        }
        return pattern + 1;
    }

    const char* take_any(const char* pattern) {
        const bool goes_on = element_.nType == MOLTE_WMCHAR_ANY && element_.nLen < kMostBytes;
        if (!goes_on && begin(MOLTE_WMCHAR_ANY) < 0) return nullptr;
        ++element_.nLen;
        return pattern + 1;
    }

    const char* take_literal(const char* pattern) {
        if (*pattern == '\\') ++pattern;  // what is behind it counts, even the terminator: meant
        const Source c = source_at(pattern);
        const bool goes_on =
            element_.nType == MOLTE_WMCHAR_LITERAL && text_.nCount + c.size <= kMostBytes;
        if (!goes_on && begin(MOLTE_WMCHAR_LITERAL) < 0) return nullptr;
        if (c.cut) return fault(kModule.fail(here(), kHalfInLiteral));
        if (add(pattern, c.size) < 0) return nullptr;
        return *pattern != '\0' ? pattern + c.size : pattern;
    }

    const char* take_class(const char* pattern) {
        if (*pattern == '^') {
            element_.bNegate = 1;
            ++pattern;
        }
        int32_t last = 0;  // the first byte of the character before, from which a range goes on
        while (*pattern != '\0' && *pattern != ']') {
            if (*pattern == '-') {
                if (add_range(last, byte(pattern[1])) < 0) return nullptr;
                last = byte(pattern[1]) + 1;
                pattern += 2;
                continue;
            }
            if (*pattern == '\\' && *++pattern == '\0') {
                return fault(kModule.fail(here(), kNothingEscaped));
            }
            const Source c = source_at(pattern);
            if (c.cut) {
                return fault(
                    kModule.fail_text(here(), kHalfInClass, molte::SystemError::none, "bad hz"));
            }
            if (add(pattern, c.size) < 0) return nullptr;
            last = byte(*pattern);
            pattern += c.size;
        }
        return *pattern == ']' ? pattern + 1 : pattern;
    }

    // Adds what is above one character, up to another: nothing when that is not above it.
    int32_t add_range(int32_t from, int32_t to) {
        const int32_t type = MOLTE_UTIL_CharType(from);
        if (type == 0 || type != MOLTE_UTIL_CharType(to)) return kModule.fail(here(), kBadRange);
        for (int32_t c = from + 1; c <= to; ++c) {
            const char text = static_cast<char>(c);
            if (add(&text, 1) < 0) return -1;
        }
        return 1;
    }

    int32_t add(const char* text, int32_t size) {
        if (size == 2) element_.bMB = 1;
        for (int32_t i = 0; i < size; ++i) {
            if (PA_Append(&text_, text + i) < 0) return kModule.trace(here());
        }
        return 1;
    }

    // Begins an element of the fixed run, which it begins as well unless it has.
    int32_t begin(int32_t type) {
        const int32_t result =
            piece_.nType == MOLTE_WMSUBSTR_FIXED ? finish_element() : finish_piece();
        if (result < 0) return -1;
        piece_.nType = MOLTE_WMSUBSTR_FIXED;
        element_.nType = type;
        return 1;
    }

    int32_t finish_element() {
        const int32_t result = MOLTE_UTIL_FinWmChar(&elements_, &element_, &text_);
        return result < 0 ? kModule.trace(here()) : result;
    }

    int32_t finish_piece() {
        if (finish_element() < 0) return -1;
        const int32_t result = MOLTE_UTIL_FinSubStr(&pieces_, &elements_, &piece_);
        return result < 0 ? kModule.trace(here()) : result;
    }

    static int32_t byte(char c) { return static_cast<unsigned char>(c); }
    static const char* fault(int32_t) { return nullptr; }

    PA pieces_{};
    PA elements_{};
    PA text_{};
    MOLTE_WMSUBSTR piece_{};
    MOLTE_WMCHAR element_{};
};

}  // namespace

int32_t MOLTE_CompileTempl(const char* pszPattern, MOLTE_WMTEMPL* pTempl) {
    if (pTempl != nullptr) *pTempl = {};
    if (pszPattern == nullptr || pTempl == nullptr)
        return kModule.fail(here(), molte::kBadArgument);
    Compiler compiler;
    if (compiler.compile(pszPattern) < 0) return -1;
    return compiler.hand_over(pTempl);
}

int32_t MOLTE_UTIL_FinWmChar(PA* pChars, MOLTE_WMCHAR* pCur, PA* pText) {
    if (pChars == nullptr || pCur == nullptr || pText == nullptr) {
        return kModule.fail(here(), molte::kBadArgument);
    }
    if (pCur->nType == 0) return 0;
    if (!holds<MOLTE_WMCHAR>(*pChars) || !holds<char>(*pText) || pText->nCount > kMostBytes) {
        return kModule.fail(here(), molte::kBadArgument);
    }
    if (pText->nCount > 0) {
        const auto size = static_cast<size_t>(pText->nCount);
        auto text = molte::allocate<char>(pText->nCount + 1);
        if (text == nullptr) return kModule.trace(here());
        std::memcpy(text.get(), pText->pData, size);
        text[size] = '\0';
        pCur->pText = text.release();
        pCur->nLen = static_cast<int16_t>(size);
        pText->nCount = 0;
    }
    if (PA_Append(pChars, pCur) < 0) {
        MOLTE_WMCHAR_Free(pCur);
        return kModule.trace(here());
    }
    *pCur = {};
    return 1;
}

int32_t MOLTE_UTIL_FinSubStr(PA* pPieces, PA* pChars, MOLTE_WMSUBSTR* pCur) {
    if (pPieces == nullptr || pChars == nullptr || pCur == nullptr) {
        return kModule.fail(here(), molte::kBadArgument);
    }
    if (pCur->nType == 0) return 0;
    if (!holds<MOLTE_WMSUBSTR>(*pPieces) || !holds<MOLTE_WMCHAR>(*pChars)) {
        return kModule.fail(here(), molte::kBadArgument);
    }
    if (pCur->nType == MOLTE_WMSUBSTR_FIXED && pChars->nCount > 0) {
        auto elements = molte::allocate<MOLTE_WMCHAR>(pChars->nCount);
        if (elements == nullptr) return kModule.trace(here());
        std::memcpy(elements.get(), pChars->pData,
                    static_cast<size_t>(pChars->nCount) * sizeof(MOLTE_WMCHAR));
        pCur->nChar = pChars->nCount;
        pCur->pChar = elements.release();
        pChars->nCount = 0;
    }
    if (PA_Append(pPieces, pCur) < 0) {
        MOLTE_WMSUBSTR_Free(pCur);
        return kModule.trace(here());
    }
    *pCur = {};
    return 1;
}

int32_t MOLTE_UTIL_CharType(int32_t c) {
    if (c >= 'a' && c <= 'z') return 1;
    if (c >= 'A' && c <= 'Z') return 2;
    return c >= '0' && c <= '9' ? 3 : 0;
}
