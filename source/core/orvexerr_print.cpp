// Printing: error records, the texts of numbers, reports of programs, and the monitor.
#include "moltelib/error.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/above.h"
#include "core/modules.h"
#include "core/orvexerr_data.h"
#include "moltelib/byte_field.h"
#include "moltelib/date_time.h"
#include "platform/display.h"

namespace {

constexpr int32_t kBytesPerLine = 16;
constexpr int32_t kStreamBufferSize = 2048;
constexpr uint32_t kStreamOption = 2;
constexpr char kNoError[] = "No error history recorded.\r\n";

// The caller's buffer. Each piece is added while there is room and cut to what fits; the text is
// terminated after each.
class Output {
 public:
    Output(char* buffer, int32_t size) : next_(buffer), room_(static_cast<size_t>(size)) {
        *next_ = '\0';
    }

    [[gnu::format(printf, 2, 3)]] void print(const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const int length = std::vsnprintf(next_, room_, format, arguments);
        va_end(arguments);
        const size_t used = std::min(static_cast<size_t>(std::max(length, 0)), room_ - 1);
        next_ += used;
        room_ -= used;
    }

 private:
    char* next_;
    size_t room_;  // with the terminator
};

using Data = molte::ErrorData;

bool is_printable(uint8_t byte) {
    return byte >= 32 && byte < 127;
}

bool is_text(const Data& data) {
    return std::all_of(data.bytes, data.bytes + data.size, [](uint8_t byte) {
        return byte == 0 || byte >= 32 || byte == '\t' || byte == '\n' || byte == '\r';
    });
}

// "%03x  ", two groups of eight bytes in hex, and the same bytes as characters.
void dump_line(Output& out, const Data& data, int32_t offset) {
    const int32_t count = std::min(kBytesPerLine, data.size - offset);
    out.print("%03x  ", static_cast<unsigned>(offset));
    for (int32_t i = 0; i < kBytesPerLine; ++i) {
        if (i < count) {
            out.print("%02X ", data.bytes[offset + i]);
        } else {
            out.print("   ");
        }
        if (i % 8 == 7) out.print(" ");
    }
    for (int32_t i = 0; i < count; ++i) {
        const uint8_t byte = data.bytes[offset + i];
        out.print("%c", is_printable(byte) ? byte : '.');
    }
    out.print("\r\n");
}

void print_data(Output& out, const ORVEX_ERRDATA& record) {
    const Data data(record);
    if (data.size == 0) return;
    out.print("Error Data Len=%d, Data is :\r\n", data.size);
    for (int32_t offset = 0; offset < data.size; offset += kBytesPerLine) {
        dump_line(out, data, offset);
    }
    if (is_text(data)) {
        out.print("%.*s\r\n", data.size, reinterpret_cast<const char*>(data.bytes));
    }
}

void print_history(Output& out, const ORVEX_ERRDATA& record) {
    const int32_t count = std::min<int32_t>(record.nHistCount, ORVEX_ERRDATA_HISTORY_MAX);
    for (int32_t i = 0; i < count; ++i) {
        const ORVEX_ERRHIST& entry = record.astHist[i];
        const bool even = i % 2 == 0;
        out.print("(%d)L=%4d F=%12.18s%s", i, Char2To_uint2(entry.nLine), entry.szFile,
                  even ? " " : "");
        if (!even || i + 1 == count) out.print("\r\n");
    }
}

void print_number(Output& out, const ORVEX_ERRDATA& record) {
    const uint32_t number = Char4To_uint4(record.nErrNo);
    out.print("RVEX errno=%d : %s\r\n", static_cast<int32_t>(number), GetRVEXErrStrByErrno(number));
}

void print_system_error(Output& out, const ORVEX_ERRDATA& record) {
    const auto number = static_cast<int32_t>(Char4To_uint4(record.nSysErrNo));
    if (number != 0) out.print("Sys  errno=%d : %.60s\r\n", number, record.szSysErr);
    if (record.bHasSysErr != 0) {
        out.print("WinErrNo=%d\r\n", static_cast<int32_t>(Char4To_uint4(record.nWinErrNo)));
    }
}

void print_place(Output& out, const ORVEX_ERRDATA& record) {
    char time[64];
    ORVEX_DateTimeToStr(&record.stTime, time);
    out.print("SubErrNo=%d Time=%s HostName=%.16s\r\n",
              static_cast<int16_t>(Char2To_uint2(record.nSubErrNo)), time, record.szHostName);
    out.print("File name is : %.32s          Line Num  is : %d\r\n", record.szFile,
              Char2To_uint2(record.nLine));
    out.print("%.64s\r\n", record.szEnv);
}

bool has_error(const ORVEX_ERRDATA& record) {
    return Char4To_uint4(record.nErrNo) != 0;
}

void print_record(Output& out, const ORVEX_ERRDATA& record) {
    out.print("\r\n-------------------START ERROR DESCRIPTION----------------\r\n");
    print_number(out, record);
    print_system_error(out, record);
    print_place(out, record);
    print_data(out, record);
    print_history(out, record);
    out.print("-------------------END ERROR DESCRIPTION------------------\r\n");
}

// Runs one of the printers into the caller's buffer.
int32_t print_into(char* buffer, int32_t size, const ORVEX_ERRDATA* record,
                   void (*printer)(Output&, const ORVEX_ERRDATA&)) {
    if (buffer == nullptr || size < 1) return 0;
    Output out(buffer, size);
    if (record == nullptr) return 0;
    if (has_error(*record)) {
        printer(out, *record);
    } else {
        out.print("%s", kNoError);
    }
    return 1;
}

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

// ---- Printing an error record ----

int32_t ORVEX_Err_sPrintParamWithOptionEx(char* szBuf, int32_t nBufLen, const ORVEX_ERRDATA* pRec,
                                          uint32_t) {
    return print_into(szBuf, nBufLen, pRec, print_record);
}

int32_t ORVEX_Err_sPrintParamWithOption(char* szBuf, int32_t nBufLen, const ORVEX_ERRDATA* pRec,
                                        uint32_t nOption) {
    return ORVEX_Err_sPrintParamWithOptionEx(szBuf, nBufLen, pRec, nOption & ~2U);
}

int32_t ORVEX_Err_sPrintParam(char* szBuf, int32_t nBufLen, const ORVEX_ERRDATA* pRec) {
    return ORVEX_Err_sPrintParamWithOptionEx(szBuf, nBufLen, pRec, 0);
}

int32_t ORVEX_Err_sPrintWithOption(char* szBuf, int32_t nBufLen, uint32_t nOption) {
    return ORVEX_Err_sPrintParamWithOption(szBuf, nBufLen, ORVEX_GetErrData(), nOption);
}

int32_t ORVEX_Err_sPrint(char* szBuf, int32_t nBufLen) {
    return ORVEX_Err_sPrintParam(szBuf, nBufLen, ORVEX_GetErrData());
}

int32_t ORVEX_Err_sPrintSimpleWithOption(char* szBuf, int32_t nBufLen, const ORVEX_ERRDATA* pRec) {
    return print_into(szBuf, nBufLen, pRec, print_number);
}

int32_t ORVEX_Err_fPrintWithOption(FILE* fp, uint32_t nOption) {
    char text[kStreamBufferSize];
    ORVEX_Err_sPrintWithOption(text, sizeof text, nOption);
    std::fputs(text, fp != nullptr ? fp : stdout);
    return 1;
}

int32_t ORVEX_Err_fPrint(FILE* fp) {
    return ORVEX_Err_fPrintWithOption(fp, kStreamOption);
}

int32_t ORVEX_Err_PrintWithOption(uint32_t nOption) {
    return ORVEX_Err_fPrintWithOption(stdout, nOption);
}

int32_t ORVEX_Err_Print(void) {
    return ORVEX_Err_PrintWithOption(kStreamOption);
}

// ---- Texts of error numbers, reports of programs, and the monitor ----

const char* GetRVEXErrStrByErrno(uint32_t nErrNo) {
    const char* const text = molte::text_by_number(nErrNo);
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
