#include "support/test.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include "support/systemctl.h"
#endif

namespace {

int32_t is_service(Texts words) {
    std::vector<char*> args;
    for (auto& word : words) args.push_back(word.data());
    args.push_back(nullptr);
    return ORVEX_IsRunAsService("RunAsService", static_cast<int32_t>(words.size()), args.data());
}

TEST(Service, OptionsComeBeforeTheParameter) {
    const Configured configured("RunAsService = 7\n");
    const std::pair<Texts, int32_t> rows[] = {
        {{"program"}, 7},
        {{"-notasservice"}, 7},  // the program's own name
        {{"program", "-runasservice"}, 1},
        {{"program", "x", "-runasdaemon"}, 1},
        {{"program", "-runasservice", "-notasdaemon"}, 0},
        {{"program", "-notasservice", "-runasservice"}, 0},
        {{"program", "-RunAsService", "-runasservice2", "runasservice"}, 7}};
    for (const auto& [words, result] : rows) {
        EXPECT_EQ(is_service(words), result) << testing::PrintToString(words);
    }
    EXPECT_EQ(ORVEX_IsRunAsService("RunAsService", 5, nullptr), 7);
    EXPECT_EQ(taken_error(), "");
}

TEST(Service, AParameterThatIsNoNumberIsNo) {
    const std::tuple<Text, int32_t, Text, Text> rows[] = {
        {"RunAsService = -3 times\n", -3, "", ""},
        {"RunAsService = yes\n", 0, "257 oxparam name=RunAsService val=yes", ""},
        {"RunAsService = \n", 0, "52 oxparam RunAsService", "44 oxparam"},
        {"", 0, "52 oxparam RunAsService", "44 oxparam"}};
    for (const auto& [ini, result, error, history] : rows) {
        const Configured configured(ini);
        EXPECT_EQ(is_service({"program"}), result) << ini;
        EXPECT_EQ(history_of_this_thread(), history) << ini;
        EXPECT_EQ(taken_error(), error) << ini;
    }
    ORVEX_SetMainPath("/no such folder");
    EXPECT_EQ(is_service({"program"}), 0);
    EXPECT_EQ(history_of_this_thread(), "44 oxparam");
}

TEST(Service, OneThatIsNotThere) {
    for (const auto call : {SERVICE_Exec, SERVICE_Stop}) {
        EXPECT_EQ(error_of(call("moltelib-no-such-service")),
                  "50 oxsysutl moltelib-no-such-service");
        EXPECT_EQ(error_of(call(nullptr)), "50 oxsysutl");
    }
#if defined(_WIN32)  // the emulator has that function of old, today's Windows hasn't
    const bool known =
        GetProcAddress(GetModuleHandleA("kernel32.dll"), "RegisterServiceProcess") != nullptr;
    EXPECT_EQ(ORVEX_RegisterAsService(1), known ? 1 : -1);
#else
    EXPECT_EQ(ORVEX_RegisterAsService(1), -1);
#endif
}

#if !defined(_WIN32)
uint32_t system_error() {
    return Char4To_uint4(ORVEX_GetErrData()->nSysErrNo);
}

TEST(Service, OrdersToTheManager) {
    const FakeSystemctl systemctl;
    const std::string start = "<start><--no-ask-password><--><desk.service>";
    const std::string stop = "<stop><--no-block><--no-ask-password><--><desk.service>";
    const std::string look =
        "<show><--no-pager><--property=LoadState,ActiveState><--><desk.service>";
    struct Row {
        int32_t (*call)(const char*);
        Text load, active;
        int code;
        std::string last_order;
        uint32_t error;  // of the system; 0: it worked
    };
    const Row rows[] = {{SERVICE_Exec, "loaded", "inactive", 0, start, 0},
                        {SERVICE_Exec, "loaded", "active", 0, look, 1056},
                        {SERVICE_Exec, "loaded", "deactivating", 0, look, 1056},
                        {SERVICE_Exec, "loaded", "inactive", 1, start, 31},
                        {SERVICE_Exec, "loaded", "inactive", 4, start, 5},
                        {SERVICE_Exec, "not-found", "inactive", 0, look, 1060},
                        {SERVICE_Stop, "loaded", "active", 0, stop, 0},
                        {SERVICE_Stop, "loaded", "reloading", 0, stop, 0},
                        {SERVICE_Stop, "loaded", "activating", 0, look, 1062},
                        {SERVICE_Stop, "loaded", "inactive", 0, look, 1062},
                        {SERVICE_Stop, "loaded", "active", 5, stop, 1060}};
    for (const Row& row : rows) {
        systemctl.answers(row.load, row.active, row.code);
        for (const Text name : {"desk", "desk.service"}) {
            const int32_t result = row.call(name);
            EXPECT_EQ(result, row.error == 0 ? 1 : -1) << row.last_order;
            EXPECT_EQ(systemctl.last_order(), row.last_order);
            EXPECT_EQ(system_error(), row.error) << row.last_order;
            ORVEX_Err_ClearError();
        }
    }
}

TEST(Service, NamesThatAreNoneReachNobody) {
    const FakeSystemctl systemctl;
    for (const std::string& name : {""s, "-H host"s, "--force"s, "*"s, "desk[12]"s, "a/b"s,
                                    ".service"s, std::string(248, 'x')}) {
        EXPECT_EQ(error_number_of(SERVICE_Exec(name.c_str())), 50U) << name;
        EXPECT_EQ(system_error(), 123U) << name;
    }
    EXPECT_EQ(systemctl.last_order(), "");
    // A unit of another kind is none, and a shell sees nothing of a name.
    for (const std::string& name :
         {"reboot.target"s, "a b; $(id) `id` \"'"s, std::string(247, 'x')}) {
        EXPECT_EQ(SERVICE_Exec(name.c_str()), 1);
        EXPECT_TRUE(systemctl.last_order().ends_with("<--><" + name + ".service>"));
    }
    setenv("MOLTELIB_SYSTEMCTL", "systemctl", 1);  // not an absolute path: the system's own
    EXPECT_EQ(SERVICE_Stop("moltelib-no-such-service"), -1);
    setenv("MOLTELIB_SYSTEMCTL", "/no/such/program", 1);
    EXPECT_EQ(SERVICE_Stop("desk"), -1);
    EXPECT_EQ(system_error(), 50U);
}
#endif

}  // namespace
