// Bar-code rules: applying them, and their file.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "core/owners.h"
#include "core/transfer.h"
#include "moltelib/barcode_rule.h"
#include "moltelib/byte_field.h"
#include "moltelib/file.h"
#include "moltelib/main_path.h"
#include "moltelib/wild_match.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOconvbar;
constexpr uint32_t kBadMagic = 301;
constexpr int32_t kCountSize = 8;  // the count and the zeros behind it
constexpr int32_t kMagicSize = sizeof(CONVBAR_FILEHEAD::szMagic);
constexpr int64_t kRuleSize = sizeof(CONVBAR_RULE);
constexpr int64_t kRulesAtOnce = 0x40000000 / kRuleSize;  // what one read or write takes
constexpr int32_t kMaxText = 1024;

// The text that operations are applied to.
struct WorkText {
    char text[kMaxText];
    int32_t length;

    [[nodiscard]] bool has(int32_t position) const { return position >= 1 && position <= length; }
};

// ---- Choosing ----

// The pattern may fill its field without a terminator. READABLE is what the text has, its
// terminator included.
bool fits(const CONVBAR_RULE& rule, const char* text, size_t readable) {
    if ((rule.nFlags & CONVBAR_RULE_WILD) != 0) {
        char pattern[CONVBAR_PATTERN_SIZE + 1] = {};
        std::memcpy(pattern, rule.szPattern, CONVBAR_PATTERN_SIZE);
        return ORVEX_WildMatch(text, pattern) > 0;
    }
    const size_t length = std::min({size_t{rule.nPatternLen}, sizeof rule.szPattern, readable});
    return std::memcmp(text, rule.szPattern, length) == 0;
}

// Null for none.
const CONVBAR_RULE* chosen_rule(const CONVBAR_RULE* rules, int32_t count, const char* text,
                                int32_t length) {
    const size_t readable =
        std::max(static_cast<size_t>(length), strnlen(text, CONVBAR_PATTERN_SIZE)) + 1;
    const CONVBAR_RULE* by_default = nullptr;
    for (const CONVBAR_RULE* rule = rules; rule != rules + count; ++rule) {
        if ((rule->nFlags & CONVBAR_RULE_OFF) != 0) continue;
        if (rule->nPatternLen == 0) {
            if (by_default == nullptr) by_default = rule;
        } else if (fits(*rule, text, readable)) {
            return rule;
        }
    }
    return by_default;
}

// ---- Operations ----

bool repeats(const CONVBAR_OP& op) {
    return (op.nFlags & CONVBAR_OP_REPEAT) != 0;
}

void remove(const CONVBAR_OP& op, int32_t wanted, WorkText* work) {
    while (work->has(op.nPos)) {
        CONVBAR_UTIL_StrDelAt(work->text, &work->length, op.nPos - 1);
        if (!repeats(op) || work->length <= wanted) return;
    }
}

void swap(const CONVBAR_OP& op, WorkText* work) {
    if (!work->has(op.nPos) || !work->has(op.nArg)) return;
    std::swap(work->text[op.nPos - 1], work->text[op.nArg - 1]);
}

void move(const CONVBAR_OP& op, WorkText* work) {
    if (!work->has(op.nPos) || !work->has(op.nArg)) return;
    const char moved = work->text[op.nPos - 1];
    CONVBAR_UTIL_StrDelAt(work->text, &work->length, op.nPos - 1);
    CONVBAR_UTIL_StrAddAt(work->text, &work->length, op.nArg - 1, moved);
}

// Whether the next operation follows.
bool insert(const CONVBAR_OP& op, int32_t wanted, WorkText* work) {
    if (op.nPos > work->length + 1) return true;
    do {
        if (work->length >= wanted) return false;  // also for position 0: meant
        if (op.nPos == 0 || work->length == kMaxText) return true;
        CONVBAR_UTIL_StrAddAt(work->text, &work->length, op.nPos - 1, static_cast<char>(op.nArg));
    } while (repeats(op));
    return true;
}

// The same.
bool apply(const CONVBAR_OP& op, int32_t wanted, WorkText* work) {
    if (op.nKind == CONVBAR_OP_DELETE) remove(op, wanted, work);
    if (op.nKind == CONVBAR_OP_SWAP) swap(op, work);
    if (op.nKind == CONVBAR_OP_MOVE) move(op, work);
    return op.nKind != CONVBAR_OP_INSERT || insert(op, wanted, work);
}

void apply(const CONVBAR_RULE& rule, int32_t wanted, WorkText* work) {
    const int32_t count = std::min<int32_t>(rule.nOpCount, CONVBAR_MAX_OPS);
    const CONVBAR_OP* op = rule.astOp;
    while (op != rule.astOp + count && apply(*op, wanted, work)) ++op;
}

// Writes the text with zeros in front of it, or without its first characters.
void fit(const WorkText& work, char* output, int32_t wanted) {
    const int32_t zeros = std::max(wanted - work.length, 0);
    const int32_t kept = wanted - zeros;
    std::memset(output, '0', static_cast<size_t>(zeros));
    std::memcpy(output + zeros, work.text + (work.length - kept), static_cast<size_t>(kept));
}

// ---- The file ----

int32_t refuse(int32_t line = __builtin_LINE()) {
    return kModule.fail(line, molte::kBadArgument);
}

// The name of the installation's file; without a main path it is traced.
bool own_file(char (&name)[256]) {
    const char* const root = UTIL_GetMainPath();
    if (root == nullptr) return kModule.trace(here()) > 0;
    std::snprintf(name, sizeof name, "%s\\CONF\\convbar.cnv", root);
    return true;
}

bool write_bytes(const molte::Descriptor& file, const void* bytes, int32_t size) {
    if (molte::write_whole(file.get(), bytes, size)) return true;
    return molte::fail_write(kModule, here(), file.get(), bytes, size) > 0;
}

bool read_bytes(const molte::Descriptor& file, void* bytes, int32_t size) {
    if (molte::read_whole(file.get(), bytes, size)) return true;
    return molte::fail_read(kModule, here(), file.get(), bytes, size) > 0;
}

// By TRANSFER(file, rules, bytes), in pieces that it can take.
template <typename Rule, typename Transfer>
bool transfer_rules(const molte::Descriptor& file, Rule* rules, int64_t count, Transfer transfer) {
    for (int64_t done = 0; done < count;) {
        const int64_t some = std::min(count - done, kRulesAtOnce);
        if (!transfer(file, rules + done, static_cast<int32_t>(some * kRuleSize))) return false;
        done += some;
    }
    return true;
}

// How many rules there are behind the head; -1 for a head that isn't right, which is reported.
int64_t read_head(const molte::Descriptor& file, const char* name) {
    CONVBAR_FILEHEAD head;
    if (!read_bytes(file, &head, kCountSize)) return -1;
    if (!read_bytes(file, head.szMagic, kMagicSize)) return -1;
    if (std::memcmp(head.szMagic, CONVBAR_MAGIC, sizeof CONVBAR_MAGIC) != 0) {
        return kModule.fail_text(here(), kBadMagic, SystemError::none, name);
    }
    const int64_t count = Char4To_uint4(head.nCount);
    const int64_t length = ORVEX_FileLen(file.get());
    if (length < 0) return kModule.trace(here());
    const int64_t size = count * kRuleSize;
    if (size > length - int64_t{sizeof head} || count > std::numeric_limits<int32_t>::max()) {
        return kModule.fail(here(), molte::kNotRead, SystemError::none, "count=%u",
                            static_cast<uint32_t>(count));
    }
    return count;
}

}  // namespace

int32_t CONVBAR_UTIL_StrAddAt(char* pszText, int32_t* pnLen, int32_t nPos, char chAdd) {
    if (pszText == nullptr || pnLen == nullptr || nPos < 0 || nPos > *pnLen) return 0;
    char* const at = pszText + nPos;
    std::memmove(at + 1, at, static_cast<size_t>(*pnLen - nPos));
    *at = chAdd;
    ++*pnLen;
    return 1;
}

int32_t CONVBAR_UTIL_StrDelAt(char* pszText, int32_t* pnLen, int32_t nPos) {
    if (pszText == nullptr || pnLen == nullptr || nPos < 0 || nPos >= *pnLen) return 0;
    char* const at = pszText + nPos;
    --*pnLen;
    std::memmove(at, at + 1, static_cast<size_t>(*pnLen - nPos));
    pszText[*pnLen] = '\0';
    return 1;
}

int32_t ORVEX_CONVBAR_Conv(const char* pszInput, int32_t nInputLen, char* pszOutput,
                           int32_t nOutputLen, const CONVBAR_RULE* pRules, int32_t nRuleCount) {
    if (pszOutput == nullptr || nOutputLen < 0) return 0;
    std::memset(pszOutput, 0, static_cast<size_t>(nOutputLen) + 1);
    if (pszInput == nullptr || pszInput[0] == '\0') return 0;
    const int32_t length = std::max(nInputLen, 0);
    const int32_t count = pRules != nullptr ? std::max(nRuleCount, 0) : 0;
    const CONVBAR_RULE* const rule = chosen_rule(pRules, count, pszInput, length);
    WorkText work;
    work.length = std::min(length, kMaxText);
    std::memcpy(work.text, pszInput, static_cast<size_t>(work.length));
    if (rule != nullptr) apply(*rule, nOutputLen, &work);
    fit(work, pszOutput, nOutputLen);
    return 0;
}

int32_t ORVEX_CONVBAR_SimpConv(const char* pszInput, char* pszOutput, int32_t nOutputLen,
                               const CONVBAR_RULES* pRules) {
    const size_t length = pszInput != nullptr ? strnlen(pszInput, kMaxText) : 0;
    const CONVBAR_RULES rules = pRules != nullptr ? *pRules : CONVBAR_RULES{};
    return ORVEX_CONVBAR_Conv(pszInput, static_cast<int32_t>(length), pszOutput, nOutputLen,
                              rules.pRule, rules.nCount);
}

int32_t ORVEX_CONVBAR_PathFileName(char* pszDst) {
    if (pszDst == nullptr) return refuse();
    if (ORVEX_CONF_PathName(pszDst) < 0) return kModule.trace(here());
    std::strcat(pszDst, "\\convbar.cnv");
    return 1;
}

int32_t ORVEX_CONVBAR_SaveAllRuleByFN(const char* pszName, const CONVBAR_RULE* pRules,
                                      int32_t nCount) {
    if (pszName == nullptr || nCount < 0 || (nCount > 0 && pRules == nullptr)) return refuse();
    ORVEX_FileChangeMode(pszName, ORVEX_MODE_OWNER, 0);  // a failure is for the open to tell
    const molte::Descriptor file(_open(pszName, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!file.valid()) {
        return kModule.fail_text(here(), molte::kNotOpened, SystemError::runtime, pszName);
    }
    CONVBAR_FILEHEAD head{};
    uint4ToChar4(static_cast<uint32_t>(nCount), head.nCount);
    std::memcpy(head.szMagic, CONVBAR_MAGIC, sizeof CONVBAR_MAGIC);
    if (!write_bytes(file, &head, kCountSize)) return -1;
    if (!write_bytes(file, head.szMagic, kMagicSize)) return -1;
    return transfer_rules(file, pRules, nCount, write_bytes) ? 1 : -1;
}

int32_t ORVEX_CONVBAR_SaveAllRule(const CONVBAR_RULE* pRules, int32_t nCount) {
    char name[256];
    if (!own_file(name)) return -1;
    return ORVEX_CONVBAR_SaveAllRuleByFN(name, pRules, nCount) < 0 ? kModule.trace(here()) : 1;
}

int32_t ORVEX_CONVBAR_GetAllRuleByFN(const char* pszName, CONVBAR_RULE** ppRules) {
    if (ppRules == nullptr) return refuse();
    *ppRules = nullptr;
    if (pszName == nullptr) return refuse();
    const molte::Descriptor file(ORVEX_FileOpenByChmod(pszName, ORVEX_OPEN_READ));
    if (!file.valid()) {
        return kModule.fail_text(here(), molte::kNotOpened, SystemError::runtime, pszName);
    }
    const int64_t count = read_head(file, pszName);
    if (count <= 0) return static_cast<int32_t>(count);
    auto rules = molte::allocate<CONVBAR_RULE>(count);
    if (rules == nullptr) return kModule.trace(here());
    if (!transfer_rules(file, rules.get(), count, read_bytes)) return -1;
    *ppRules = rules.release();
    return static_cast<int32_t>(count);
}

int32_t ORVEX_CONVBAR_GetAllRule(CONVBAR_RULE** ppRules) {
    if (ppRules == nullptr) return refuse();
    *ppRules = nullptr;
    char name[256];
    if (!own_file(name)) return -1;
    const int32_t count = ORVEX_CONVBAR_GetAllRuleByFN(name, ppRules);
    return count < 0 ? kModule.trace(here()) : count;
}
