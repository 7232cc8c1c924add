// The text error log.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/above.h"
#include "core/growing_text.h"
#include "core/modules.h"
#include "core/orvexerr_backup.h"
#include "core/owners.h"
#include "moltelib/date_time.h"
#include "moltelib/error.h"
#include "moltelib/error_log.h"
#include "moltelib/state.h"
#include "platform/append.h"
#include "platform/files.h"

namespace {

constexpr auto kModule = molte::kOrvexerr;
constexpr char kName[] = "errlog";
constexpr char kExtension[] = ".txt";
constexpr char kFileName[] = "\\errlog.txt";  // behind the folder
constexpr int64_t kMinSize = 0xa00000;
constexpr int64_t kTotalLimit = 0x8000000;
constexpr int32_t kOldDefaultKiB = 4096;
constexpr int32_t kOldNames = 9999;
constexpr size_t kPathSize = 256;

OXCRITSECT& log_lock() {
    static molte::LastingLock lock;
    return lock.section;
}

// The open stream and the file it writes to. Closing takes no lock, so the stream is taken out of
// its place by whoever uses it: a close in the middle of an entry finds none.
std::atomic<FILE*> open_stream{nullptr};
molte::FileNow open_file{};  // under the lock

void close_stream() {
    FILE* stream = open_stream.exchange(nullptr);
    if (stream != nullptr) std::fclose(stream);
}

// The time text changes once a second; under the lock.
void add_time(molte::GrowingText* entry) {
    static int64_t second = -1;
    static char text[26];
    const int64_t now = ORVEX_Time();
    if (now != second) {
        text[0] = '\0';
        ORVEX_ctime(&now, text);
        second = now;
    }
    entry->add(text);  // with its line feed
}

void add_head(molte::GrowingText* entry) {
    entry->add("\n======>");
    add_time(entry);
    entry->add(" ");
    entry->add_field(g_stBv.szAppName);
    entry->add("\n");
    entry->add_field(g_stBv.szAppVersion);
    entry->add(" ");
    entry->add_field(g_stBv.szStartupTime);
    entry->add(" size=");
    entry->add_number(g_stBv.nAppFileSize);
    entry->add(" cpu=");
    entry->add_number(g_stBv.stSysInfo.nCpuCount);
    entry->add(" ");
    entry->add_number(g_stBv.stSysInfo.nPhysicalMemInMB);
    entry->add("MB ");
    entry->add_field(g_stBv.szOsPlatform);
    entry->add(" ");
    entry->add_number(g_stBv.nKernelBit);
    entry->add("bit\n");
}

void add_error_record(molte::GrowingText* entry) {
    char printed[2048];
    ORVEX_Err_sPrintWithOption(printed, sizeof printed, 2);
    entry->add(printed);
}

// ---- The file ----

// The stream to write an entry to, taken out of its place; null when the log can't be opened. A
// stream whose file was removed, or renamed by another process, is given up for a new one.
FILE* take_stream(const char* path, const molte::FileNow& now) {
    FILE* stream = open_stream.exchange(nullptr);
    const bool moved =
        !now.exists || now.number != open_file.number || now.device != open_file.device;
    if (stream != nullptr && moved) {
        std::fclose(stream);
        stream = nullptr;
    }
    if (stream != nullptr) return stream;
    // What was there before counts: a file that comes in between is found out at the next entry.
    open_file = now;
    return platform::open_stream(path, "a+t");
}

void put_back(FILE* stream) {
    FILE* none = nullptr;
    if (!open_stream.compare_exchange_strong(none, stream)) std::fclose(stream);
}

void write_entry(const char* folder, int32_t code, const char* format, va_list arguments) {
    char path[kPathSize];
    const size_t folder_length = std::strlen(folder);
    std::memcpy(path, folder, folder_length);
    std::memcpy(path + folder_length, kFileName, sizeof kFileName);

    molte::FileNow now = molte::look_at(path);
    if (now.exists && now.size >= kMinSize) {
        close_stream();
        molte::turn_over({folder, kName, kExtension, kTotalLimit, kMinSize});
        now = molte::look_at(path);
    }
    FILE* stream = take_stream(path, now);
    if (stream == nullptr) return;  // a failing log must not make the caller fail
    molte::GrowingText entry;
    add_head(&entry);
    if (format != nullptr) entry.add_formatted(format, arguments);
    if (code != 0) add_error_record(&entry);
    platform::append_text(stream, entry.text(), entry.size());
    put_back(stream);
}

int32_t log_line(int32_t code, const char* text) {
    if (g_stBv.bErrLogEnabled == 0) return 0;
    return text != nullptr ? ORVEX_ERRLOG_LogEx(code, "%s\n", text)
                           : ORVEX_ERRLOG_LogEx(code, nullptr);
}

}  // namespace

int32_t ORVEX_ERRLOG_Init(void) {
    log_lock();
    return 1;
}

int32_t ORVEX_ERRLOG_Lock(void) {
    return MOLTE_EnterCrit(&log_lock());
}

int32_t ORVEX_ERRLOG_Unlock(void) {
    return MOLTE_LeaveCrit(&log_lock());
}

int32_t ORVEX_ERRLOG_GetFileName(char* pszBuf) {
    if (molte::log_folder(pszBuf) < 0) return -1;
    std::strcat(pszBuf, kFileName);
    return 1;
}

int32_t ORVEX_ERRLOG_LogEx(int32_t nCode, const char* pszFmt, ...) {
    if (g_stBv.bErrLogEnabled == 0) return 0;
    if (nCode == ORVEX_ERRLOG_CLOSE) {
        close_stream();
        return 1;
    }
    char folder[kPathSize];
    if (molte::log_folder(folder) < 0) return -1;
    const molte::CritGuard guard(log_lock());
    va_list arguments;
    va_start(arguments, pszFmt);
    write_entry(folder, nCode, pszFmt, arguments);
    va_end(arguments);
    return 1;
}

int32_t ORVEX_ERRLOG_Log(const char* pszText) {
    return log_line(0, pszText);
}

int32_t ORVEX_ERRLOG_SysErrLog(const char* pszText) {
    return log_line(1, pszText);
}

int32_t ORVEX_ERRLOG_Close(void) {
    return ORVEX_ERRLOG_LogEx(ORVEX_ERRLOG_CLOSE, nullptr);
}

int32_t ORVEX_ERRLOG_Clear(void) {
    char path[kPathSize];
    if (ORVEX_ERRLOG_GetFileName(path) < 0) return -1;
    return _unlink(path);
}

int32_t ORVEX_ERRLOG_ClearIfSizeLargerThan(int32_t nKiB) {
    char folder[kPathSize];
    if (molte::log_folder(folder) < 0) return kModule.trace(685);
    return MOLTE_BackupFile(folder, kName, kExtension, kTotalLimit, int64_t{nKiB} * 1024);
}

int32_t ORVEX_ERRLOG_ClearIfSizeLargerThan_Old(int32_t nKiB) {
    char path[kPathSize];
    if (ORVEX_ERRLOG_GetFileName(path) < 0) return -1;
    const molte::FileNow now = molte::look_at(path);
    if (!now.exists) return 0;
    if (now.size / 1024 < (nKiB < 1 ? kOldDefaultKiB : nKiB)) return 0;
    if (g_stBv.bBackupErrLogFile == 0) return _unlink(path);

    char folder[kPathSize];
    if (molte::log_folder(folder) < 0) return -1;
    char backup[2 * kPathSize];
    for (int32_t n = 0; n < kOldNames; ++n) {
        snprintf(backup, sizeof backup, "%s%cerrlog_%04d.txt", folder, '\\', n);
        if (_access(backup, 0) != 0) break;
    }
    platform::rename_file(path, backup);  // a last name that is taken stays
    return 0;
}
