// The main path is set for good: who needs it unset asks in a process of his own.
#include "support/environment.h"
#include "support/scenes.h"

namespace {

std::string text_or_error(Text text) {
    return text != nullptr ? text : outcome(-1);
}

int32_t retrieve_log() {
    BERRLOG_ENTRY* entries = nullptr;
    char* text = nullptr;
    const BERRLOG_FILTER filter{};
    return MOLTE_BERRLOG_Retr(&entries, &text, &filter);
}

const Calls kCalls = {
    {"set", step_of<ORVEX_SetMainPath>},
    {"create", step_of<CreateMainPath>},
    {"init", step_of<InitMainPath>},
    {"get", step_of<[] { return text_or_error(GetMainPath()); }>},
    {"known", step_of<[] { return text_or_error(UTIL_GetMainPath()); }>},
    {"key", step_of<[](char* key) { return std::string(GetRegKeyName(key)); }>},
    {"sys_path", step_of<ORVEX_SYS_PathName>},
    {"log_path", step_of<ORVEX_LOG_PathName>},
    {"temp_path", step_of<ORVEX_TEMP_PathName>},
    {"conf_path", step_of<ORVEX_CONF_PathName>},
    {"dll_path", step_of<ORVEX_DLL_PathName>},
    {"doc_path", step_of<ORVEX_DOC_PathName>},
    {"tools_path", step_of<ORVEX_TOOLS_PathName>},
    {"remote_conf_path", step_of<ORVEX_RMTCONF_PathName>},
    {"exe_path", step_of<ORVEX_EXE_PathName>},
    {"bin_path", step_of<ORVEX_BIN_PathName>},
    {"file_of_conf", step_of<ORVEX_PARAMETER_PathFileNameByFN>},
    {"ini", step_of<[] { return text_or_error(ORVEX_PARAMETER_GetIniFileName()); }>},
    {"set_ini", step_of<ORVEX_PARAMETER_SetIniFileName>},
    {"ini_file", step_of<ORVEX_PARAMETER_PathFileName>},
    {"database_ini", step_of<[](Text name) {
         std::strncpy(g_stBv.szDbIniName, name, sizeof g_stBv.szDbIniName);
         return 1;
     }>},
    {"database_ini_file", step_of<ORVEX_DBCFG_PathFileName>},
    {"create_folders", step_of<ORVEX_SYS_CreatePath>},
    {"remove", step_of<[](Text name) { return int64_t{fs::remove(name)}; }>},
    {"value", step_of<ORVEX_PARAMETER_GetValueInt>},
    {"set_value", step_of<ORVEX_PARAMETER_SetValue>},
    {"set_servers", step_of<ORVEX_PARAMETER_SetCFGEXFServer>},
    {"delete_identity", step_of<ORVEX_PARAMETER_DelServerID>},
    {"add_to_log", step_of<MOLTE_BERRLOG_AddLog>},
    {"retrieve_log", step_of<retrieve_log>},
};

CHILD_ROLE(takes_steps) {
    for (std::string name = hear_parent(); !name.empty(); name = hear_parent()) {
        Texts step = {name};
        for (int left = std::stoi(hear_parent()); left > 0; --left) step.push_back(hear_parent());
        ORVEX_Err_ClearError();
        tell_parent(kCalls.at(name)(step));
    }
    return 0;
}

std::unique_ptr<ChildProcess> other;

std::string then(const Texts& step) {
    other->send_line(step[1]);
    other->send_line(std::to_string(step.size() - 3));
    for (size_t i = 2; i + 1 < step.size(); ++i) other->send_line(step[i]);
    return other->read_line();
}

std::string alone(const Texts& step) {
    other = std::make_unique<ChildProcess>("takes_steps");
    return then(step);
}

class UnsetMainPath : public InFolder {
 protected:
    void SetUp() override {
        set_variable("MOLTELIB_REGISTRY_FOLDER", registry_.str().c_str());
#if defined(_WIN32)
        GTEST_SKIP() << "the registry of the machine is shared with other programs here";
#endif
    }
    void TearDown() override {
        other.reset();
    }
    TempFolder registry_;
};

using MainPath = InFolder;

const std::string kUnset = fs::path(TEST_ROWS).replace_filename("unset_main_path.txt").string();
[[maybe_unused]] const bool plays =
    play_scenes<MainPath>("MainPath", TEST_ROWS, kCalls, true) &&
    play_scenes<UnsetMainPath>("UnsetMainPath", kUnset.c_str(), {{"alone", alone}, {"then", then}},
                               true);

}  // namespace
