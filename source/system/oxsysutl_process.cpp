// Starting programs, this one again as well.
#include "moltelib/process.h"

#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/main_path.h"
#include "moltelib/state.h"
#include "moltelib/text.h"
#include "platform/processes.h"

using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysutl;
constexpr uint32_t kNotStarted = 101;

}  // namespace

int32_t MOLTE_Exec(const char* pszPath, const char* pszCommandLine) {
    if (pszPath == nullptr) return kModule.fail(here(), kBadArgument);
    const molte::Heap<char> line(ORVEX_StrDup(pszCommandLine));  // the system may write into it
    if (line == nullptr && pszCommandLine != nullptr) return kModule.trace(here());
    STARTUPINFOA start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    if (CreateProcessA(pszPath, line.get(), nullptr, nullptr, FALSE,
                       CREATE_NEW_CONSOLE | NORMAL_PRIORITY_CLASS, nullptr, nullptr, &start,
                       &process) == FALSE) {
        return kModule.fail(here(), kNotStarted, SystemError::platform, "error=%d",
                            static_cast<int>(GetLastError()));
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return 1;
}

int32_t MOLTE_UTIL_Restart(int32_t nWaitSec) {
    const char* const main_path = GetMainPath();
    if (main_path == nullptr) {
        kModule.trace(here());
        return 0;
    }
    const char* const name = g_stBv.szAppName;
    if (name[0] == '\0' || std::strchr(name, '"') != nullptr) {  // a quote would end the word
        kModule.fail_text(here(), kBadArgument, SystemError::none, name);
        return 0;
    }
    char path[256];
    char line[sizeof g_stBv.szAppName + 64];
    std::snprintf(path, sizeof path, "%s\\BIN\\oxrunat.exe", main_path);
    std::snprintf(line, sizeof line, "nullcmd  -cmd=\"%s\" -wait=%d", name, nWaitSec);
    if (MOLTE_Exec(path, line) < 0) kModule.trace(here());
    return 0;
}
