#include <cstring>

#include "excuses.h"
#include "moltelib/program_version.h"

MOLTE_PROGRAM_VERSION(1, 2, 3, 4)

FAMILY(application) {
    char text[512];
    GIVES(MOLTE_GetCommandLine(text, sizeof text), std::strstr(text, "faults") != nullptr);
    GIVES(MOLTE_Win_GetExeName(text, sizeof text), std::strstr(text, "faults") != nullptr);
    GIVES(MOLTE_GetAppName(text, sizeof text) - 1, std::strstr(text, "faults") != nullptr);
    bring_up();
    RIGHT(FAULTY(MOLTE_GetCorpInfo(1))[0] != '\0');
    RIGHT(FAULTY(MOLTE_ImagePrtItemName(1, 1)) != nullptr);
    ORVEX_BASE_ReleaseVar();
}

FAMILY(application_version) {
    char path[512];
    MOLTE_Win_GetExeName(path, sizeof path);
    char text[MOLTE_APPVERSION_TEXT_SIZE];
    GIVES(MOLTE_GetAppVerString(path, text), std::strcmp(text, "1.2.3.4") == 0);
}

FAMILY(clock) {
    const int64_t before = FAULTY(MOLTE_HiResoTickCount());
    RIGHT(FAULTY(ORVEX_SleepMilli(2)) == 1);
    RIGHT(FAULTY(MOLTE_HiResoTickToSec(MOLTE_HiResoTickCount() - before)) >= 0.002);
}

FAMILY(network_address) {
    MOLTE_MACLIST present;
    const int32_t count = MOLTE_UTIL_GetMacAddress(&present);
    MOLTE_MACLIST list;
    int32_t found = 0;
    GIVES(found = MOLTE_UTIL_GetMacAddress(&list), found == count);
}

FAMILY(plugin) {
    OXHANDLE module = nullptr;
    if (DID(module = OX_DLL_Open("odlogger64.dll", 0))) {
        void* seen = nullptr;
        if (DID(seen = OX_DLL_GetProc(module, "Logger_Seen")))
            std::strcpy(static_cast<char*>(seen), "x");
        DID(OX_DLL_Close(module));
    }
    module = OX_DLL_Open("odlogger64.dll", 0);
    RIGHT(module != nullptr && OX_DLL_Close(module) == 1);
}

FAMILY(system_info) {
    bring_up();
    char name[256];
    GIVES(ORVEX_GetLogonUserName(name, sizeof name), name[0] != '\0');
    GIVES(ORVEX_GetComputerName(name, sizeof name), name[0] != '\0');
    ORVEX_SYSINFO system{};
    GIVES(ORVEX_GetSysInfo(&system), system.nCpuCount > 0);
    MOLTE_COMPUTERINFO computer;
    DID(MOLTE_GetComputerInfo(&computer));
    MOLTE_PROCESSINFO process{};
    uint4ToChar4(static_cast<uint32_t>(MOLTE_GetProcessID()), process.nProcessId);
    DID(MOLTE_GetProcessInfo(&process));
    ORVEX_BASE_ReleaseVar();
}

FAMILY(uuid) {
    uint8_t first[ORVEX_UUID_SIZE] = {};
    uint8_t second[ORVEX_UUID_SIZE] = {};
    if (DID(ORVEX_UUID_Gen(first)) && DID(ORVEX_UUID_Gen(second))) {
        RIGHT(ORVEX_UUID_IsEmpty(first) == 0 && ORVEX_UUID_IsEqual(first, second) == 0);
    }
}
