// Texts of error numbers, reports of programs, and the monitor.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "configuration/rcxmlpro.h"
#include "core/modules.h"
#include "moltelib/error.h"
#include "platform/system.h"

namespace {

constexpr const char* kModuleName = molte::kOrvexerr.name();
constexpr size_t kMaxData = 255;
constexpr uint8_t kRunTimeError = 1;

char last_text[256];  // what RvexErrPrintf kept
int32_t monitor_errors;
int32_t monitor_messages;
ORVEX_MONITORFUN monitor;

// Shows the kept text, also after an error that has a text of its own. This is meant.
void show_error() {
    if (monitor_errors == 0) return;
    char text[sizeof last_text + 32];
    std::snprintf(text, sizeof text, "PU-RVEX ERROR :> %s", last_text);
    monitor(text);
}

}  // namespace

const char* GetRVEXErrStrByErrno(uint32_t nErrNo) {
    const char* const text = molte::RCXML_GetString(nErrNo);
    return text != nullptr ? text : "Unknown";
}

const char* ORVEX_Err_GetErrString(uint32_t nErrNo) {
    return GetRVEXErrStrByErrno(nErrNo);
}

const char* GetRvexErrStr(void) {
    return GetRVEXErrStrByErrno(GetRvexErrNo());
}

int32_t SetRvexErrNo(uint32_t nErrNo) {
    ORVEX_Err_Set(nErrNo, static_cast<uint32_t>(errno), kModuleName, 502, 0, nullptr,
                  kRunTimeError);
    show_error();
    return 0;
}

int32_t SetRvexErr(uint32_t nErrNo, const char* szText) {
    const auto number = static_cast<uint32_t>(errno);
    const size_t length = szText != nullptr ? strnlen(szText, kMaxData) : 0;
    ORVEX_Err_Set(nErrNo, number, kModuleName, 543, static_cast<uint8_t>(length), szText,
                  kRunTimeError);
    show_error();
    return 0;
}

int32_t RvexErrPrintf(const char* szFormat, ...) {
    std::memset(last_text, 0, sizeof last_text);
    if (szFormat != nullptr) {
        va_list arguments;
        va_start(arguments, szFormat);
        std::vsnprintf(last_text, sizeof last_text, szFormat, arguments);
        va_end(arguments);
    }
    show_error();
    return 0;
}

int32_t RvexMessage(const char* szFormat, ...) {
    if (monitor_messages == 0 || szFormat == nullptr) return 0;
    char text[1024];
    va_list arguments;
    va_start(arguments, szFormat);
    std::vsnprintf(text, sizeof text, szFormat, arguments);
    va_end(arguments);
    monitor(text);
    return 0;
}

int32_t SetRvexMonitorStatus(int32_t bErr, int32_t bMsg, ORVEX_MONITORFUN pfnMonitor) {
    monitor = pfnMonitor != nullptr ? pfnMonitor : ORVEX_MSGSHOWFUN;
    monitor_errors = bErr;
    monitor_messages = bMsg;
    return 1;
}

int32_t ORVEX_MSGSHOWFUN(const char* pszText) {
    return MessageBoxA(nullptr, pszText, "", MB_OK);
}
