// The library's own parameters: what each is called, where its value lives, and what a setter's
// modes do to it.
#include <ctime>
#include <iterator>

#include "core/modules.h"
#include "moltelib/byte_field.h"
#include "moltelib/clock.h"
#include "moltelib/language.h"
#include "moltelib/main_path.h"
#include "moltelib/parameter_registry.h"
#include "moltelib/state.h"
#include "moltelib/system_info.h"
#include "moltelib/text.h"
#include "moltelib/text_hook.h"
#include "moltelib/thread.h"

namespace {

constexpr auto kModule = molte::kMoltevar;
using molte::kBadArgument;

int32_t set_by_index(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode,
                     int32_t /*index*/) {
    return MOLTE_PARAM_Set(item, record, mode);
}

// The kinds of value in g_stBv; a count of the machine is never beyond 31 bits.
int32_t* number(int32_t& value) {
    return &value;
}
int32_t* number(uint32_t& value) {
    return reinterpret_cast<int32_t*>(&value);
}

// One call of a setter for one parameter, and the rules that the parameters follow. Results are 1,
// or -1.
struct Call {
    MOLTE_PARAMITEM* item;
    const MOLTE_PARAMNETITEM* record;
    int32_t mode;
    const char* name;

    [[nodiscard]] bool registers() const { return mode == MOLTE_PARAM_REGISTER; }

    // Every mode counts.
    template <typename Int>
    int32_t number_always(int32_t first, Int& value) const {
        return MOLTE_PARAMADM_IntAct(item, record, mode, first, name, set_by_index, number(value));
    }
    template <size_t kSize>
    int32_t text_always(const char* first, char (&value)[kSize]) const {
        return MOLTE_PARAMADM_StrAct(item, record, mode, first, name, set_by_index, value, kSize);
    }

    // Read from the INI file at bring-up, and then fixed.
    template <typename Int>
    int32_t number_once(int32_t first, Int& value) const {
        return registers() ? number_always(first, value) : 1;
    }

    // Never changed from outside.
    int32_t fixed(uint8_t type, const void* value, int32_t room = 0) const {
        if (!registers()) return 1;
        if (value == nullptr) return -1;
        MOLTE_PARAMITEM_SetMemItem(item, name, type, set_by_index, const_cast<void*>(value));
        item->nMaxLen = room;
        return MOLTE_PARAMADM_Register(&item);
    }
    template <typename Int>
    int32_t fixed_number(Int& value) const {
        return fixed(MOLTE_PARAM_INT, number(value));
    }
    int32_t fixed_long(const int64_t& value) const { return fixed(MOLTE_PARAM_LONG, &value); }
    int32_t fixed_text(const char* value, int32_t room = 0) const {
        return fixed(MOLTE_PARAM_TEXT, value, room);
    }

    [[nodiscard]] bool takes_record() const {
        return mode == MOLTE_PARAM_FROM_NET && record != nullptr;
    }
    [[nodiscard]] int32_t number_of_record() const {
        return static_cast<int32_t>(Char4To_uint4(record->abyValue));
    }
};

int32_t detected_processors() {
    ORVEX_SYSINFO info{};
    ORVEX_GetSimpSysInfo(&info);
    return static_cast<int32_t>(info.nCpuCount);
}

int32_t set_processors(const Call& call) {
    uint32_t& count = g_stBv.stSysInfo.nCpuCount;
    const int32_t result = call.number_always(detected_processors(), count);
    if (count == 0) count = 1;
    return result;
}

int32_t set_platform(const Call& call) {
    if (call.registers()) {
        ORVEX_strncpy(g_stBv.szOsPlatform, MOLTE_UTIL_MacroOs(), sizeof g_stBv.szOsPlatform);
    }
    return call.fixed_text(g_stBv.szOsPlatform, sizeof g_stBv.szOsPlatform);
}

// A locale that the system lacks leaves its error, and is no failure here.
int32_t set_language(const Call& call) {
    if (call.takes_record()) OXLANG_LID_Set(OXLANG_KIND_DEFAULT, call.number_of_record());
    return call.fixed_number(g_stLangVar.nDefLID);
}

int32_t set_log_backup(const Call& call) {
    g_stBv.bBackupErrLogFile = 1;
    return call.number_always(1, g_stBv.bBackupErrLogFile);
}

int32_t set_text_log(const Call& call) {
    g_stBv.nDisableTxtLog = 0;
    if (call.takes_record()) {
        g_stBv.nDisableTxtLog = call.number_of_record();
        MOLTE_TXTLOG_DisableLog(g_stBv.nDisableTxtLog);
    }
    return call.fixed_number(g_stBv.nDisableTxtLog);
}

int32_t set_startup_time(const Call& call) {
    if (call.registers()) {
        const int64_t now = std::time(nullptr);
        g_stBv.nStartupTimeInt = static_cast<int32_t>(now);
        ORVEX_ctime(&now, g_stBv.szStartupTime);
    }
    return call.fixed_text(g_stBv.szStartupTime);
}

int32_t set_tick_rate(const Call& call) {
    if (call.registers()) g_stBv.n64HiResoTickPerSec = MOLTE_HiResoTickPerSec();
    return call.fixed_long(g_stBv.n64HiResoTickPerSec);
}

int32_t set_kernel_bits(const Call& call) {
    return call.number_once(64, g_stBv.nKernelBit);
}

int32_t set_debug_version(const Call& call) {
    if (call.registers()) g_stBv.bIsDebugVersion = 0;
    return call.fixed_number(g_stBv.bIsDebugVersion);
}

int32_t set_listen_backlog(const Call& call) {
    int32_t& count = g_stBv.nListenBacklogCnt;
    if (call.number_always(64, count) < 0) return -1;
    if (count == -1) {
        count = INT32_MAX;
    } else if (count < 32) {
        count = 32;
    } else if (count > 200) {
        count = 200;
    }
    return 1;
}

const char* language_name(int32_t id) {
    return OXLANG_LANGLID2Str(id);
}

const char* collation_name(int32_t id) {
    return OXLANG_COLLATE_ID2Name(id, nullptr);
}

// A parameter by its number; the line is that of the history when its setter fails.
struct Parameter {
    const char* name;
    int32_t line;
    int32_t (*set)(const Call& call);
};

constexpr Parameter kParameters[] = {
    {"DBININAME", 62,
     [](const Call& c) { return c.text_always("dbnumina.ini", g_stBv.szDbIniName); }},
    {"DefaultUserName", 68,
     [](const Call& c) { return c.text_always("orvexadm", g_stBv.szDefaultUserName); }},
    {"CpuCount", 73, set_processors},
    {"PhysicalMemInMB", 82,
     [](const Call& c) { return c.fixed_number(g_stBv.stSysInfo.nPhysicalMemInMB); }},
    {"MainPath", 89, [](const Call& c) { return c.fixed_text(GetMainPath(), 80); }},
    {"OsPlatform", 97, set_platform},
    {"OsType", 108, [](const Call& c) { return c.fixed_number(g_stBv.stSysInfo.nOsType); }},
    {"DEF_LANG", 115,
     [](const Call& c) { return c.fixed_text(language_name(g_stLangVar.nDefLID)); }},
    {"LID_Message", 122,
     [](const Call& c) { return c.fixed_text(language_name(g_stLangVar.nMsgLID)); }},
    {"LID_Time", 129,
     [](const Call& c) { return c.fixed_text(language_name(g_stLangVar.nTimeLID)); }},
    {"LID_Date", 136,
     [](const Call& c) { return c.fixed_text(language_name(g_stLangVar.nDateLID)); }},
    {"CollateID_Latin", 143,
     [](const Call& c) { return c.fixed_text(collation_name(g_stLangVar.nLatCollID)); }},
    {"CollateID_MB", 150,
     [](const Call& c) { return c.fixed_text(collation_name(g_stLangVar.nMBCollID)); }},
    {"DEF_LANG_ID", 157, set_language},
    {"BackupErrLogFile", 168, set_log_backup},
    {"Counter_ReadCount", 175, [](const Call& c) { return c.fixed_long(g_stBv.n64ReadCount); }},
    {"Counter_WriteCount", 182, [](const Call& c) { return c.fixed_long(g_stBv.n64WriteCount); }},
    {"Counter_ReadByteCount", 189,
     [](const Call& c) { return c.fixed_long(g_stBv.n64ReadByteCount); }},
    {"Counter_WriteByteCount", 196,
     [](const Call& c) { return c.fixed_long(g_stBv.n64WriteByteCount); }},
    {"DisableTxtLog", 202, set_text_log},
    {"SystemStartupTime", 215, set_startup_time},
    {"Counter_ReadTimeUsed", 222,
     [](const Call& c) { return c.fixed_long(g_stBv.n64ReadTimeUsed); }},
    {"Counter_WriteTimeUsed", 229,
     [](const Call& c) { return c.fixed_long(g_stBv.n64WriteTimeUsed); }},
    {"HiResoTickPerSec", 237, set_tick_rate},
    {"FastExpandFile", 242,
     [](const Call& c) { return c.number_always(0, g_stBv.bFastExpandFile); }},
    {"SupportException", 247,
     [](const Call& c) { return c.number_always(0, g_stBv.bSupportException); }},
    {"SupportStackTrace", 252,
     [](const Call& c) { return c.number_always(1, g_stBv.bSupportStackTrace); }},
    {"SystemStartupTimeInt", 258,
     [](const Call& c) { return c.number_once(g_stBv.nStartupTimeInt, g_stBv.nStartupTimeInt); }},
    {"ServerStartupTime", 263,
     [](const Call& c) { return c.number_always(0, g_stBv.nServerStartupTime); }},
    {"SockSafeClose", 268, [](const Call& c) { return c.number_always(0, g_stBv.bSockSafeClose); }},
    {"RefCPUSpeedInMhz", 274,
     [](const Call& c) {
         uint32_t& speed = g_stBv.stSysInfo.nRefCPUSpeedInMhz;
         return c.number_once(static_cast<int32_t>(speed), speed);
     }},
    {"KernelBit", 280, set_kernel_bits},
    {"AppVersion", 287, [](const Call& c) { return c.fixed_text(g_stBv.szAppVersion); }},
    {"IsDebugVersion", 299, set_debug_version},
    {"ListenBacklogCnt", 304, set_listen_backlog},
};

static_assert(std::size(kParameters) == 35);

}  // namespace

int32_t MOLTE_PARAM_Set(MOLTE_PARAMITEM* pItem, const MOLTE_PARAMNETITEM* pRecord, int32_t nMode) {
    if (pItem == nullptr) return kModule.fail(molte::here(), kBadArgument);
    pItem->tChanged = static_cast<uint32_t>(std::time(nullptr));
    if (pItem->nId < 0 || pItem->nId >= static_cast<int16_t>(std::size(kParameters))) return 0;
    const Parameter& parameter = kParameters[pItem->nId];
    const Call call{pItem, pRecord, nMode, parameter.name};
    return parameter.set(call) < 0 ? kModule.trace(parameter.line) : 0;
}

int32_t MOLTE_PARAM_Init(void) {
    ORVEX_GetSimpSysInfo(&g_stBv.stSysInfo);
    int16_t id = 0;
    for (MOLTE_PARAMITEM& item : g_stBv.astParam) {
        item.nId = id++;
        item.pOwner = &g_stBv;
        MOLTE_PARAM_Set(&item, nullptr, MOLTE_PARAM_REGISTER);
    }
    return 1;
}
