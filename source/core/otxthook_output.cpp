// Printing: offering texts to the hooks.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/otxthook.h"
#include "moltelib/clock.h"
#include "moltelib/error.h"
#include "moltelib/thread_data.h"
#include "platform/ticks.h"

using namespace molte::hooks;

namespace {

constexpr int32_t kMessageSize = 4096;
constexpr int32_t kLoggerSize = 8192;
constexpr int32_t kKeepClass = 1;  // option: an error flag adds no class

// The mask of a message, completed.
uint32_t completed(uint32_t mask, int32_t option) {
    if ((mask & OXMSG_DESTINATION_MASK) == 0) {
        mask |= OXMSG_TO_OUTER | OXMSG_TO_OUTER_FILE;
        if ((mask & OXMSG_ERROR) != 0) mask |= OXMSG_TO_TEXT_LOG;
    }
    if ((mask & (OXMSG_DIRECTION_MASK | OXMSG_CLASS_MASK)) == 0) mask |= OXMSG_OUTER | OXMSG_INFO;
    if ((mask & OXMSG_ERROR) != 0 && (option & kKeepClass) == 0) mask |= OXMSG_ERROR_TEXT;
    return mask;
}

bool may_be_taken(uint32_t mask) {
    return agree(mask, installed_bits.load(std::memory_order_acquire));
}

// Adds a span to a sum of ticks; the whole seconds of the sum follow it. Administrators may set
// both to anything, so they stop at the ends of their types.
void add_time(int64_t span, int64_t* ticks, int32_t* seconds) {
    static const int64_t per_second = MOLTE_HiResoTickPerSec();
    if (__builtin_add_overflow(*ticks, span, ticks)) *ticks = INT64_MAX;
    int64_t rest = 0;
    const bool outside = __builtin_sub_overflow(*ticks, *seconds * per_second, &rest);
    if (!outside && rest >= 0 && rest < per_second) return;
    *seconds = static_cast<int32_t>(std::clamp<int64_t>(*ticks / per_second, INT32_MIN, INT32_MAX));
}

// Gives a text to the hooks that take it, newest first, and counts the time. The clock is read once
// between two hooks, and not at all when no hook takes the text.
template <typename Takes>
void offer(uint32_t mask, const char* text, int32_t length, Takes takes) {
    const Walk walk;
    int64_t total = 0;
    uint64_t last = 0;
    for (OTXTHOOK_NODE* node = state().pHead; node != nullptr; node = node->pNext) {
        if (!takes(*node)) continue;
        if (last == 0) last = platform::span_reading();
        node->pfnOutText(mask, node->pUserData, node->nDataSize, text, length);
        const uint64_t now = platform::span_reading();
        const int64_t span = platform::span_ticks(last, now);
        add_time(span, &node->n64TotalTicks, &node->nTotalSec);
        total += span;
        last = now;
    }
    if (last == 0 || state().bInited == 0) return;
    add_time(total, &state().n64OutputTicks, &state().nOutputSec);
}

// The length of what vsnprintf has put into a buffer.
int32_t formatted(char* text, int32_t size, const char* format, va_list arguments) {
    if (format == nullptr) format = "";
    const int length = std::vsnprintf(text, static_cast<size_t>(size), format, arguments);
    return std::clamp(length, 0, size - 1);
}

bool printing_is_on() {
    return std::atomic_ref(g_stBv.bOutputMsg).load(std::memory_order_relaxed) != 0;
}

void switch_printing(int32_t on) {
    std::atomic_ref(g_stBv.bOutputMsg).store(on, std::memory_order_relaxed);
}

uint32_t mask_of(uint32_t& field) {
    return std::atomic_ref(field).load(std::memory_order_relaxed);
}

[[gnu::format(printf, 2, 0)]] int32_t print(uint32_t mask, const char* format, va_list arguments) {
    if (!printing_is_on()) return 0;
    return MOLTE_UTIL_OutMsg(mask | MOLTE_UTIL_GetInOutMask(), format, arguments);
}

}  // namespace

int32_t OTXTHOOK_OutText(uint32_t nMask, const char* pszText, int32_t nLen, int32_t nOption) {
    if (pszText == nullptr || nLen < 1 || !ready()) return 0;
    const uint32_t mask = completed(nMask, nOption);
    if (may_be_taken(mask)) {
        offer(mask, pszText, nLen,
              [mask](const OTXTHOOK_NODE& node) { return agree(mask, node.nMask); });
    }
    return 1;
}

int32_t MOLTE_UTIL_OutMsgEx(uint32_t nMask, const char* pszFmt, va_list args, int32_t nOption) {
    if (!ready()) return 0;
    if (!may_be_taken(completed(nMask, nOption))) return 1;
    char text[kMessageSize];
    int32_t length = formatted(text, kMessageSize, pszFmt, args);
    if ((nMask & OXMSG_ERROR) != 0) {
        ORVEX_Err_sPrint(text + length, kMessageSize - length);
        length += static_cast<int32_t>(std::strlen(text + length));
    }
    OTXTHOOK_OutText(nMask, text, length, nOption);
    return 1;
}

int32_t MOLTE_UTIL_OutMsg(uint32_t nMask, const char* pszFmt, va_list args) {
    return MOLTE_UTIL_OutMsgEx(nMask, pszFmt, args, 0);
}

int32_t MOLTE_OutMsg(uint32_t nMask, const char* pszFmt, ...) {
    va_list args;
    va_start(args, pszFmt);
    const int32_t result = MOLTE_UTIL_OutMsg(nMask, pszFmt, args);
    va_end(args);
    return result;
}

int32_t MOLTE_OutMsgOldFmt(const char* pszFmt, ...) {
    va_list args;
    va_start(args, pszFmt);
    const int32_t result = MOLTE_UTIL_OutMsg(
        OXMSG_INNER | OXMSG_INFO | OXMSG_TO_INNER | OXMSG_TO_INNER_FILE, pszFmt, args);
    va_end(args);
    return result;
}

uint32_t MOLTE_UTIL_GetInOutMask(void) {
    return OXMSG_DESTINATION_MASK | (MOLTE_THDATA_IsInnerThread() != 0 ? OXMSG_INNER : OXMSG_OUTER);
}

int32_t MOLTE_UTIL_EnableOuputMsg(void) {
    switch_printing(1);
    return 1;
}

int32_t MOLTE_UTIL_DisableOutputMsg(void) {
    switch_printing(0);
    return 1;
}

int32_t MOLTE_Print(uint32_t nMask, const char* pszFmt, ...) {
    va_list args;
    va_start(args, pszFmt);
    const int32_t result = print(nMask, pszFmt, args);
    va_end(args);
    return result;
}

int32_t MOLTE_PrintInfo(const char* pszFmt, ...) {
    va_list args;
    va_start(args, pszFmt);
    const int32_t result = print(mask_of(g_stBv.nPrintInfoMask), pszFmt, args);
    va_end(args);
    return result;
}

int32_t MOLTE_PrintError(const char* pszFmt, ...) {
    va_list args;
    va_start(args, pszFmt);
    const int32_t result = print(mask_of(g_stBv.nPrintErrorMask), pszFmt, args);
    va_end(args);
    return result;
}

int32_t MOLTE_LOGGER_PrintInfo(uint32_t nLevel, uint32_t nModule, const char* pszFmt, ...) {
    if (!printing_is_on() || !ready()) return 0;
    char text[kLoggerSize];
    va_list args;
    va_start(args, pszFmt);
    const int32_t length = formatted(text, kLoggerSize, pszFmt, args);
    va_end(args);
    if (length < 1) return 0;
    const uint32_t mask =
        nModule << OXMSG_MODULE_SHIFT | (nLevel & OXMSG_LEVEL_MASK) | OXMSG_TO_LOGGER;
    offer(mask, text, length, [](const OTXTHOOK_NODE& node) { return node.bLogger != 0; });
    return 1;
}

int32_t MOLTE_NullInfoOut(const char* /*pszFmt*/, ...) {
    return 0;
}
