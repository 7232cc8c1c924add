#include <algorithm>
#include <cstring>

#include "core/modules.h"
#include "data/oxstring.h"
#include "moltelib/memory.h"
#include "moltelib/text_search.h"
#include "platform/code_page.h"

namespace {

constexpr auto kModule = molte::kOxstring;

constexpr int32_t kMatchesToAdd = 8;

char folded(char c) {
    return static_cast<char>(platform::small_of(static_cast<unsigned char>(c)));
}
char same(char c) {
    return c;
}

// The first place of sub, read through a function of its bytes, or -1.
template <char (*read)(char)>
int32_t find(const char* text, const char* sub) {
    if (text == nullptr || sub == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    if (*sub == 0) return -1;
    for (const char* start = text; *start != 0; ++start) {
        size_t i = 0;
        while (sub[i] != 0 && read(start[i]) == read(sub[i])) ++i;
        if (sub[i] == 0) return static_cast<int32_t>(start - text);
    }
    return -1;
}

// The first place of a pattern between two places of a text, or null.
const char* find_literal(const char* from, const char* end, const char* pattern, size_t size) {
    const char* hit = std::search(from, end, pattern, pattern + size);
    return hit != end || size == 0 ? hit : nullptr;
}

int32_t add_match(OXSTR_MATCHLIST& list, int64_t start, int64_t end) {
    if (list.nCount >= list.nCapacity) {
        if (list.bCanGrow == 0) return -1;
        if (molte::grow(list.pMatch, list.nCapacity, kMatchesToAdd) < 0) {
            return kModule.trace(molte::here());
        }
    }
    list.pMatch[list.nCount++] = {static_cast<int32_t>(start), static_cast<int32_t>(end)};
    return 1;
}

// MOLTE_STR_REG_Find in a text of this length.
int32_t find_matches(const char* text, size_t length, const OXSTR_REGOBJ& reg,
                     OXSTR_MATCHLIST* matches) {
    const size_t size = strlen(reg.pszPattern);
    const char* end = text + length;
    if (static_cast<size_t>(reg.nStartOffset) > length) return 0;
    const char* from = text + reg.nStartOffset;
    for (int32_t count = 0;; ++count) {
        const char* hit = find_literal(from, end, reg.pszPattern, size);
        if (hit == nullptr) return count;
        if (matches == nullptr) return 1;
        from = hit + size;
        if (add_match(*matches, hit - text, from - text) < 0) return -1;
        if (reg.bAllMatches == 0) return 1;
    }
}

bool is_usable(const OXSTR_REGOBJ* reg) {
    return reg != nullptr && reg->pszPattern != nullptr && reg->nStartOffset >= 0;
}

// Puts the replacement in the place of a match; -1 when the object can't grow.
int32_t replace_match(OXSTR_STROBJ& object, const OXSTR_MATCH& match, const char* replacement,
                      int32_t size) {
    const int32_t extra = size - (match.nEnd - match.nStart);
    if (extra > 0 && object.nCapacity <= int64_t{object.nLen} + extra) {
        if (object.bCanGrow == 0) return -1;
        const int64_t more = ((int64_t{extra} + 15) / 16 + 8) * 16;
        if (molte::grow(object.pBuf, object.nCapacity, more) < 0) {
            return kModule.trace(molte::here());
        }
    }
    char* end = object.pBuf + match.nEnd;
    memmove(end + extra, end, static_cast<size_t>(object.nLen - match.nEnd));
    memcpy(object.pBuf + match.nStart, replacement, static_cast<size_t>(size));
    object.nLen += extra;
    return 1;
}

int32_t replace_matches(OXSTR_STROBJ& object, const OXSTR_REGOBJ& reg, bool all,
                        const char* replacement) {
    const auto size = static_cast<int32_t>(strlen(replacement));
    // A text replaced by itself would be found for ever.
    const bool once = !all || strcmp(reg.pszPattern, replacement) == 0;
    for (;;) {
        OXSTR_MATCH match{};
        OXSTR_MATCHLIST list{&match, 0, 1, 0, {}};
        const size_t length = strnlen(object.pBuf, static_cast<size_t>(object.nLen));
        if (find_matches(object.pBuf, length, reg, &list) <= 0) return 1;
        if (replace_match(object, match, replacement, size) < 0) return -1;
        if (once) return 1;
    }
}

}  // namespace

char* ox_strstr(const char* text, const char* sub) {
    return const_cast<char*>(strstr(text, sub));
}

char* ox_mbstrstr(const char* text, const char* sub) {
    return const_cast<char*>(platform::find_text(text, sub));
}

int32_t MOLTE_STR_FindSubStr(const char* text, const char* sub) {
    return find<folded>(text, sub);
}

int32_t MOLTE_STR_FindSubStrWithCase(const char* text, const char* sub) {
    return find<same>(text, sub);
}

char* MOLTE_STR_Chr(const char* s, int32_t value) {
    if (s == nullptr) return nullptr;
    for (auto c = molte::first_character(s); c.size != 0; c = molte::first_character(s)) {
        if (c.value == value) return const_cast<char*>(s);
        s += c.size;
    }
    return nullptr;
}

int32_t OXSTR_REGOBJ_Compile(OXSTR_REGOBJ*) {
    return 0;
}

int32_t OXSTR_REGOBJ_Free(OXSTR_REGOBJ* reg) {
    if (reg == nullptr) return 0;
    ORVEX_free(reg->pCompiled);
    reg->pCompiled = nullptr;
    return 0;
}

int32_t MOLTE_STR_REG_Find(const char* text, const OXSTR_REGOBJ* reg, OXSTR_MATCHLIST* matches) {
    if (text == nullptr || !is_usable(reg)) return kModule.fail(molte::here(), molte::kBadArgument);
    return find_matches(text, strlen(text), *reg, matches);
}

int32_t MOLTE_STR_REG_Replace(OXSTR_STROBJ* strObj, OXSTR_REGOBJ* reg, const char* replacement) {
    if (strObj == nullptr || strObj->pBuf == nullptr || strObj->nLen < 0 ||
        replacement == nullptr || !is_usable(reg)) {
        return kModule.fail(molte::here(), molte::kBadArgument);
    }
    const uint8_t all = reg->bAllMatches;
    reg->bAllMatches = 0;
    const int32_t result = replace_matches(*strObj, *reg, all != 0, replacement);
    // An object that can't grow leaves the flag cleared: meant.
    if (result > 0 || strObj->bCanGrow != 0) reg->bAllMatches = all;
    return result;
}
