// Bring-up and tear-down.
#include <atomic>
#include <cstring>
#include <string_view>

#include "concurrency/oxthrdop.h"
#include "configuration/rcxmlpro.h"
#include "core/modules.h"
#include "core/orvexerr_identity.h"
#include "core/otxthook.h"
#include "moltelib/application.h"
#include "moltelib/application_version.h"
#include "moltelib/array.h"
#include "moltelib/clock.h"
#include "moltelib/error_log.h"
#include "moltelib/file.h"
#include "moltelib/language.h"
#include "moltelib/parameter_registry.h"
#include "moltelib/pinyin.h"
#include "moltelib/state.h"
#include "moltelib/text_hook.h"
#include "moltelib/thread_data.h"
#include "moltelib/thread_list.h"
#include "platform/system.h"
#include "platform/threads.h"

namespace {

constexpr auto kModule = molte::kMoltevar;

constexpr uint32_t kDefaultErrorMask = 8200;  // error flag and text error log
constexpr int32_t kFirstListenBacklog = 100;  // until its parameter is read

// The number of the thread that brings the library up, 0 while none does. This is no lock: one
// would stay held when that thread is ended, and in a process that is forked meanwhile.
std::atomic<uint32_t> builder{0};

bool is_up() {
    return std::atomic_ref(g_stBv.nInitCount).load(std::memory_order_acquire) != 0;
}

// Others may print already.
void allow_output() {
    std::atomic_ref(g_stBv.bOutputMsg).store(1, std::memory_order_relaxed);
    std::atomic_ref(g_stBv.nPrintErrorMask).store(kDefaultErrorMask, std::memory_order_relaxed);
    std::atomic_ref(g_stBv.nPrintInfoMask).store(0, std::memory_order_relaxed);
}

// The short lock and the first values come before it, for a thread that sees the count raised goes
// on at once.
void raise_count() {
    MOLTE_InitCrit(&g_stBv.stShortOpLock);
    g_stBv.bErrLogEnabled = 1;
    g_stBv.bBackupErrLogFile = 1;
    g_stBv.nListenBacklogCnt = kFirstListenBacklog;
    std::atomic_ref(g_stBv.nInitCount).fetch_add(1, std::memory_order_release);
}

int32_t make_line_buffer_list() {
    return PA_Init(&g_stBv.stLineBufList, sizeof(void*), 4);
}

// Registered once in a process, however often the library comes up: an exit list never shrinks.
void close_hooks_at_exit() {
    static const bool registered = platform::at_exit([] { ORVEX_BASE_AtExit(); });
    static_cast<void>(registered);
}

void name_program() {
    if (g_stBv.szAppName[0] != '\0') return;
    MOLTE_GetAppName(g_stBv.szAppName, sizeof g_stBv.szAppName);
    const std::string_view path(g_stBv.szAppName);
    const std::string_view name = path.substr(path.find_last_of("\\/:") + 1);
    std::memset(g_stBv.szAppShortName, 0, sizeof g_stBv.szAppShortName);
    name.copy(g_stBv.szAppShortName, sizeof g_stBv.szAppShortName - 1);
}

// A program need not have a version.
void version_program() {
    if (g_stBv.szAppVersion[0] != '\0' || g_stBv.szAppName[0] == '\0') return;
    MOLTE_GetAppVerString(g_stBv.szAppName, g_stBv.szAppVersion);
}

void measure_program() {
    OXSTAT64 state{};
    const bool known = ORVEX_FileStatByFileName(g_stBv.szAppName, &state) >= 0;
    g_stBv.nAppFileSize = known ? static_cast<int32_t>(state.st_size) : 0;
}

// All steps behind the count: a failure here is final.
int32_t bring_up_rest() {
    if (OTXTHOOK_Init() < 0) return kModule.trace(388);
    if (make_line_buffer_list() < 0) return kModule.trace(389);
    close_hooks_at_exit();
    name_program();
    version_program();
    measure_program();
    if (MOLTE_PARAMADM_Init(&g_stBv.stParamAdm) < 0) return kModule.trace(410);
    if (OXLANG_Init() < 0) return kModule.trace(413);
    if (MOLTE_PARAM_Init() < 0) return kModule.trace(415);
    MOLTE_InitCrit(&g_stBv.stCounterLock);
    molte::RCXML_Init();  // without texts an error reads "Unknown"
    return 1;
}

// Up to the count nothing enters a lock that a program may hold: every thread waits as long. The
// host name comes behind it, since a report of its failure would.
int32_t bring_up() {
    allow_output();
    if (MOLTE_THDATA_Init() < 0) return kModule.trace(373);
    MOLTE_THREADLIST_Init(&g_stBv.stThreadList);
    raise_count();
    molte::remember_host_name();
    return bring_up_rest();
}

// Makes this thread the builder in the place of none, or of one that is gone.
bool become_builder(uint32_t self) {
    uint32_t other = builder.load();
    if (other != 0 && platform::thread_lives(other)) return false;
    return builder.compare_exchange_strong(other, self);
}

// Who holds a lock that bring-up may enter must not wait for it. All others that it enters are held
// for moments and never around a call of it.
bool must_not_wait() {
    return molte::holds(molte::hooks::list_lock().stCrit) || molte::holds(molte::time_lock());
}

void release_state() {
    PA_Release(&g_stBv.stLineBufList);
    MOLTE_PARAMADM_Release(&g_stBv.stParamAdm);
    MOLTE_ReleaseCrit(&g_stBv.stCounterLock);
    MOLTE_THDATA_FreeData();
    MOLTE_THDATA_Destroy();
    MOLTE_THREADLIST_Release(&g_stBv.stThreadList);
    MOLTE_ReleaseCrit(&g_stBv.stShortOpLock);
    std::atomic_ref(g_stBv.nInitCount).store(0, std::memory_order_release);
}

}  // namespace

int32_t ORVEX_BASE_InitVar(void) {
    const uint32_t self = ORVEX_THREAD_GetCurID();
    while (!is_up() || builder.load() != 0) {
        if (builder.load() == self) return 0;  // from within
        if (become_builder(self)) {
            const int32_t result = is_up() ? 0 : bring_up();
            builder = 0;
            return result;
        }
        if (is_up() && must_not_wait()) return 0;
        ORVEX_SleepMilli(1);
    }
    return 0;
}

int32_t ORVEX_BASE_ReleaseVar(void) {
    ORVEX_ERRLOG_LogEx(ORVEX_ERRLOG_CLOSE, nullptr);
    OTXTHOOK_Release();
    if (is_up()) release_state();
    MOLTE_HZPY_Release(&g_stPinYin);
    molte::RCXML_Release();
    return 1;
}

int32_t ORVEX_BASE_AtExit(void) {
    return OTXTHOOK_Release();
}
