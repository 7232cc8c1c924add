#include "support/scenes.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include "support/systemctl.h"
#endif

namespace {

using Service = InFolder;

// What a program of these words is told, with this INI file.
std::string asked(Text ini, Text words) {
    const Configured configured(ini);
    std::istringstream line(words);
    Texts all(std::istream_iterator<std::string>(line), {});
    std::vector<char*> args;
    for (auto& word : all) args.push_back(word.data());
    args.push_back(nullptr);
    return outcome(
        ORVEX_IsRunAsService("RunAsService", static_cast<int32_t>(all.size()), args.data()));
}

constexpr bool with_lines = true;
[[maybe_unused]] const bool plays = play_scenes<Service>(
    "Service", TEST_ROWS,
    {{"main_path", step_of<ORVEX_SetMainPath>},
     {"asked", step_of<asked>},
     {"asked_without_words", step_of<[](Text ini, int32_t count) {
          const Configured configured(ini);
          return ORVEX_IsRunAsService("RunAsService", count, nullptr);
      }>},
     {"asked_again", step_of<[] { return ORVEX_IsRunAsService("RunAsService", 0, nullptr); }>}},
    with_lines);

TEST_F(Service, OneThatIsNotThere) {
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
class ServiceManager : public InFolder {
 public:
    ServiceManager() { running = this; }
    static inline ServiceManager* running = nullptr;
    const FakeSystemctl systemctl;
};

// What came of a call, the system's error, and the last order since the answers were given.
template <auto call>
std::string ordered(Text name) {
    const std::string told = outcome(call(name));
    return told + " " + std::to_string(Char4To_uint4(ORVEX_GetErrData()->nSysErrNo)) + " " +
           ServiceManager::running->systemctl.last_order();
}

[[maybe_unused]] const bool plays_manager = play_scenes<ServiceManager>(
    "ServiceManager", "system/service_manager.txt",
    {{"answers", step_of<[](Text load, Text active, int32_t code) {
          ServiceManager::running->systemctl.answers(load, active, code);
          return code;
      }>},
     {"start", step_of<ordered<SERVICE_Exec>>},
     {"stop", step_of<ordered<SERVICE_Stop>>},
     {"manager", step_of<[](Text program) { return setenv("MOLTELIB_SYSTEMCTL", program, 1); }>}},
    with_lines);
#endif

}  // namespace
