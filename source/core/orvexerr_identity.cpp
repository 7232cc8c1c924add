// Host name and environment line of the error records.
#include "core/orvexerr_identity.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "moltelib/error.h"
#include "moltelib/state.h"
#include "moltelib/system_info.h"
#include "moltelib/text.h"
#include "platform/critical_section.h"

namespace {

constexpr size_t kLineSize = 256;  // holds every line whole

constinit platform::Lock fill_lock;

bool is_set(const char* field) {
    return std::atomic_ref(const_cast<char&>(*field)).load(std::memory_order_acquire) != '\0';
}

// Other threads take a text for set once its first byte is: that one is written last.
template <size_t size>
void publish(char (&field)[size], const char* text) {
    const size_t length = strnlen(text, size - 1);
    if (length == 0) return;
    std::memcpy(field + 1, text + 1, length - 1);
    field[length] = '\0';  // a program may have emptied the field by its first byte alone
    std::atomic_ref(field[0]).store(text[0], std::memory_order_release);
}

// What the line is made of. Programs may change it at any time by writing g_stBv.
struct Inputs {
    char name[sizeof g_stBv.szAppShortName];
    char version[sizeof g_stBv.szAppVersion];
    char platform[sizeof g_stBv.szOsPlatform];
    int32_t file_size;
    uint32_t memory;
    int32_t bits;

    void load() {
        std::memcpy(name, g_stBv.szAppShortName, sizeof name);
        std::memcpy(version, g_stBv.szAppVersion, sizeof version);
        std::memcpy(platform, g_stBv.szOsPlatform, sizeof platform);
        file_size = g_stBv.nAppFileSize;
        memory = g_stBv.stSysInfo.nPhysicalMemInMB;
        bits = g_stBv.nKernelBit;
    }
    [[nodiscard]] bool current() const {
        return std::memcmp(name, g_stBv.szAppShortName, sizeof name) == 0 &&
               std::memcmp(version, g_stBv.szAppVersion, sizeof version) == 0 &&
               std::memcmp(platform, g_stBv.szOsPlatform, sizeof platform) == 0 &&
               file_size == g_stBv.nAppFileSize && memory == g_stBv.stSysInfo.nPhysicalMemInMB &&
               bits == g_stBv.nKernelBit;
    }
};

// The line of this thread, made again only when what it is made of has changed.
struct Line {
    Inputs inputs;
    char text[kLineSize];
    size_t length;  // 0: never made

    void make() {
        inputs.load();
        const int made = std::snprintf(
            text, sizeof text, "%.*s %.*s %.*s %d %d %d", static_cast<int>(sizeof inputs.name),
            inputs.name, static_cast<int>(sizeof inputs.version), inputs.version,
            static_cast<int>(sizeof inputs.platform), inputs.platform, inputs.file_size,
            static_cast<int32_t>(inputs.memory), inputs.bits);
        length = static_cast<size_t>(made);
    }
};

thread_local constinit Line own_line{};

void fill_inputs() {
    const std::lock_guard guard(fill_lock);
    std::atomic_ref bits(g_stBv.nKernelBit);
    if (bits.load(std::memory_order_relaxed) == 0) bits.store(64, std::memory_order_release);
    if (!is_set(g_stBv.szOsPlatform)) publish(g_stBv.szOsPlatform, MOLTE_UTIL_MacroOs());
}

const Line& current_line() {
    const bool filled = std::atomic_ref(g_stBv.nKernelBit).load(std::memory_order_acquire) != 0 &&
                        is_set(g_stBv.szOsPlatform);
    if (!filled) fill_inputs();
    if (own_line.length == 0 || !own_line.inputs.current()) own_line.make();
    return own_line;
}

}  // namespace

void molte::remember_host_name() {
    char name[sizeof g_stBv.szHostName];
    const bool known = ORVEX_GetComputerNameWithOpt(name, sizeof name, 1) > 0;
    const std::lock_guard guard(fill_lock);
    if (known && std::strcmp(name, g_stBv.szHostName) == 0) return;
    std::memset(g_stBv.szHostName, 0, sizeof g_stBv.szHostName);
    if (known) publish(g_stBv.szHostName, name);
}

void molte::stamp_host_name(char (&field)[sizeof ORVEX_ERRDATA::szHostName]) {
    if (is_set(g_stBv.szHostName)) {
        std::memcpy(field, g_stBv.szHostName, sizeof field);
        return;
    }
    char name[sizeof g_stBv.szHostName];
    if (ORVEX_GetComputerNameWithOpt(name, sizeof name, 0) < 0) return;
    const std::lock_guard guard(fill_lock);
    if (!is_set(g_stBv.szHostName)) publish(g_stBv.szHostName, name);
}

void molte::stamp_environment(char (&field)[sizeof ORVEX_ERRDATA::szEnv]) {
    const Line& line = current_line();
    std::memcpy(field, line.text, std::min(line.length + 1, sizeof field));
}

char* ORVEX_GetEnvString(char* szBuf, int32_t nLen) {
    const Line& line = current_line();  // fills in g_stBv, also for those who want no text
    if (szBuf != nullptr && nLen > 0) ox_snprintf(szBuf, nLen, "%s", line.text);
    return szBuf;
}
