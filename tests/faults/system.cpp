#include "moltelib/program_version.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "faults.h"

MOLTE_PROGRAM_VERSION(1, 2, 3, 4)

namespace {

// Makes a program that knows of services that are stopped, and does what it is told.
void give_systemctl() {
    given("systemctl",
          "#!/bin/sh\n[ \"$1\" != show ] || printf 'LoadState=loaded\\nActiveState=inactive\\n'\n");
    const auto program = std::filesystem::current_path() / "systemctl";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    setenv("MOLTELIB_SYSTEMCTL", program.c_str(), 1);
}

}  // namespace

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
}

FAMILY(console) {
    setsid();  // so that no terminal of the session is asked
    given("typed", "secret\n");
    RIGHT(std::freopen("typed", "r", stdin) != nullptr);
    char text[16];
    RIGHT(FAULTY(ORVEX_GetPassWord("password:", text, sizeof text)) == 6);
    const OXCONSOLEHANDLER handler = [](uint32_t) { return 1; };
    if (DID(ORVEX_WIN_SetConsoleCtrlEvent(handler, 1))) {
        RIGHT(FAULTY(ORVEX_WIN_SetConsoleCtrlEvent(handler, 0)) == 1);
    }
    RIGHT(FAULTY(ORVEX_Signal(SIGUSR1, SIG_IGN, nullptr)) == 1);
}

FAMILY(instance) {
    DID(ORVEX_CheckPreInstance("faults"));
    RIGHT(FAULTY(ORVEX_ReleaseInstance()) == 1);
    DID(ORVEX_CheckPreInstance("faults"));
}
AFTER(instance) {
    RIGHT(ORVEX_CheckPreInstance("faults") == 1 && ORVEX_ReleaseInstance() == 1);
}

FAMILY(machine_control) {
    unsetenv("DISPLAY");
    give_systemctl();
    RIGHT_OR("0 is the failure: nothing is reported", FAULTY(ORVEX_ShutDownSystem(1)) != 0);
    RIGHT(FAULTY(SYSOP_KeyEvent('A', 0, 0)) == 1);
    RIGHT(FAULTY(SYSOP_MouseEvent(ORVEX_MOUSE_MOVE, 1, 1)) == -1 && GetRvexErrNo() == 50);
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

FAMILY(service) {
    give_systemctl();
    bring_up("RunAsService = 7\n");
    DID(SERVICE_Exec("desk"));
    RIGHT(FAULTY(SERVICE_Stop("desk")) == -1 && GetRvexErrNo() == 50);
    char* none = nullptr;
    const int32_t number = FAULTY(ORVEX_IsRunAsService("RunAsService", 1, &none));
    RIGHT(number == 7 || (number == 0 && GetRvexErrNo() != 0));
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
