#include "moltelib/program_version.h"

#include <unistd.h>

#include <cstring>

#include "faults.h"

MOLTE_PROGRAM_VERSION(1, 2, 3, 4)

FAMILY(application) {
    char text[512];
    GIVES(MOLTE_GetCommandLine(text, sizeof text), std::strstr(text, "faults") != nullptr);
    GIVES(MOLTE_Win_GetExeName(text, sizeof text), std::strstr(text, "faults") != nullptr);
    GIVES(MOLTE_GetAppName(text, sizeof text) - 1, std::strstr(text, "faults") != nullptr);
    bring_up();
    RIGHT(FAULTY(MOLTE_GetCorpInfo(1))[0] != '\0');
    RIGHT(FAULTY(MOLTE_ImagePrtItemName(1, 1)) != nullptr);
}

FAMILY(application_version) {
    char path[512];
    char text[MOLTE_APPVERSION_TEXT_SIZE];
    MOLTE_Win_GetExeName(path, sizeof path);
    GIVES(MOLTE_GetAppVerString(path, text), equal(text, "1.2.3.4"));
}

FAMILY(clock) {
    const int64_t before = FAULTY(MOLTE_HiResoTickCount());
    RIGHT(FAULTY(ORVEX_SleepMilli(2)) == 1);
    RIGHT(FAULTY(MOLTE_HiResoTickToSec(MOLTE_HiResoTickCount() - before)) >= 0.002);
}

FAMILY(cycle) {
    ORVEXDATETIME last;
    ORVEXDATETIME now{};
    FormatDateTime(ORVEX_Time() - 7200, &last);
    MOLTE_TC_CYCLE hourly{};
    hourly.nCycleType = MOLTE_TC_HOURLY;
    int32_t wait = -1;
    GIVES(MOLTE_TC_IsCycleReached(&last, &now, &hourly, &wait), wait == 0);
}

FAMILY(name_map) {
    bring_up();
    const MOLTE_NAMEMAP rows[] = {{"one", 1}};
    const MOLTE_NAMEMAPHEAD head{"numbers", rows, 1};
    RIGHT(FAULTY(MOLTE_NAMEMAP_Name2Val(rows, 1, "one")) == 1);
    RIGHT(FAULTY(MOLTE_NAMEMAPHEAD_Print(&head)) == 1);
    ORVEX_BASE_ReleaseVar();
}

FAMILY(network_address) {
    MOLTE_MACLIST list;
    const int32_t count = MOLTE_UTIL_GetMacAddress(&list);
    int32_t found = 0;
    GIVES(found = MOLTE_UTIL_GetMacAddress(&list), found == count);
}

FAMILY(plugin) {
    OXHANDLE module = nullptr;
    if (DID(module = OX_DLL_Open("odlogger64.dll", 0))) {
        void* seen = nullptr;
        if (DID(seen = OX_DLL_GetProc(module, "Logger_Seen"))) std::memcpy(seen, "x", 2);
        DID(OX_DLL_Close(module));
    }
    module = OX_DLL_Open("odlogger64.dll", 0);
    RIGHT(module != nullptr && OX_DLL_Close(module) == 1);
}

// What was told to be started does its work, sooner or later.
FAMILY(process) {
    const std::string touched = in_folder("touched");
    const std::string line = "touch \"" + touched + "\"";
    if (DID(MOLTE_Exec("/usr/bin/touch", line.c_str()))) {
        while (access(touched.c_str(), F_OK) != 0) ORVEX_SleepMilli(1);
    }
    RIGHT(FAULTY(MOLTE_Exec("/no such program", nullptr)) == -1);
    ORVEX_SetMainPath(in_folder(""));
    MOLTE_SetAppName("program");
    RIGHT(FAULTY(MOLTE_UTIL_Restart(0)) == 0);
}

FAMILY(service_address) {
    char first[16];
    char second[16];
    char host[16];
    int32_t port = 0;
    GIVES(MOLTE_AnalyzeService("user:secret@host:99", first, 16, second, 16, host, 16, &port),
          port == 99 && std::strcmp(second, "secret") == 0);
    uint16_t number = 0;
    GIVES(MOLTE_AnalyzeDTID("12:34", &number, &number), number == 34);
}

FAMILY(system_info) {
    bring_up();
    char name[256];
    ORVEX_SYSINFO system{};
    MOLTE_COMPUTERINFO computer;
    MOLTE_PROCESSINFO process{};
    uint4ToChar4(static_cast<uint32_t>(MOLTE_GetProcessID()), process.nProcessId);
    GIVES(ORVEX_GetLogonUserName(name, sizeof name), name[0] != '\0');
    GIVES(ORVEX_GetComputerName(name, sizeof name), name[0] != '\0');
    GIVES(ORVEX_GetSysInfo(&system), system.nCpuCount > 0);
    DID(MOLTE_GetComputerInfo(&computer));
    DID(MOLTE_GetProcessInfo(&process));
}

FAMILY(uuid) {
    uint8_t ids[2][ORVEX_UUID_SIZE] = {};
    if (DID(ORVEX_UUID_Gen(ids[0])) && DID(ORVEX_UUID_Gen(ids[1]))) {
        RIGHT(ORVEX_UUID_IsEmpty(ids[0]) == 0 && ORVEX_UUID_IsEqual(ids[0], ids[1]) == 0);
    }
}
