// The companion of an installation that starts its programs again (MOLTE_UTIL_Restart):
//
//     oxrunat [nullcmd] -cmd=PROGRAM [-wait=SECONDS]
//
// It waits, starts the program without arguments and ends. It stands in the folder BIN of the
// installation, whose language and error log it uses. Exit code: 0 started, 1 not started, 2 bad
// arguments.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "moltelib.h"

namespace {

struct Order {
    std::string program;
    int32_t wait = 0;  // seconds
};

int refuse(const std::string& why) {
    std::fprintf(stderr,
                 "oxrunat: %s\n"
                 "use: oxrunat [nullcmd] -cmd=PROGRAM [-wait=SECONDS]\n"
                 "Waits, and starts the program.\n",
                 why.c_str());
    return 2;
}

// A negative number means no wait, as in MOLTE_UTIL_Restart.
bool read_seconds(const std::string& text, int32_t* seconds) {
    const size_t sign = !text.empty() && text[0] == '-' ? 1 : 0;
    const bool is_number = text.size() > sign && text.size() - sign <= 10 &&
                           text.find_first_not_of("0123456789", sign) == std::string::npos;
    if (!is_number) return false;
    const int64_t value = MOLTE_atoi64(text.c_str());
    if (value > INT32_MAX) return false;
    *seconds = value < 0 ? 0 : static_cast<int32_t>(value);
    return true;
}

// What is wrong with the arguments; empty for nothing.
std::string read_order(int argc, char** argv, Order* order) {
    constexpr std::string_view program = "-cmd=";
    constexpr std::string_view wait = "-wait=";
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool leads = i == 1 && (argument.empty() || argument == "nullcmd");
        if (leads) continue;
        if (argument.compare(0, program.size(), program) == 0) {
            order->program = argument.substr(program.size());
        } else if (argument.compare(0, wait.size(), wait) == 0) {
            if (!read_seconds(argument.substr(wait.size()), &order->wait)) {
                return "\"" + argument + "\" is no number of seconds";
            }
        } else {
            return "unknown argument \"" + argument + "\"";
        }
    }
    if (order->program.empty()) return "which program? -cmd= is missing";
    if (order->program.find('"') != std::string::npos) return "no program has a quote in its name";
    return "";
}

// The folder that BIN is in; empty where this program stands elsewhere.
std::string own_installation() {
    char path[4096];
    if (MOLTE_Win_GetExeName(path, sizeof path) < 0) return "";
    std::string installation = path;
    for (const char* name : {"oxrunat.exe", "BIN"}) {
        const size_t length = std::string_view(name).size();
        if (installation.size() <= length + 1) return "";
        const size_t at = installation.size() - length;
        const char separator = installation[at - 1];
        if (MOLTE_STR_stricmp(installation.c_str() + at, name) != 0) return "";
        if (separator != '\\' && separator != '/') return "";
        installation.resize(at - 1);
    }
    return installation;
}

// Without an installation the library is up all the same, but for its texts and its log.
void bring_up() {
    const std::string installation = own_installation();
    if (!installation.empty()) ORVEX_SetMainPath(installation.c_str());
    ORVEX_BASE_InitVar();
    ORVEX_Err_ClearError();
}

int carry_out(const Order& order) {
    ORVEX_Sleep(order.wait);
    const std::string line = "\"" + order.program + "\"";
    if (MOLTE_Exec(order.program.c_str(), line.c_str()) == 1) return 0;
    // Nobody may be at the console.
    std::fprintf(stderr, "oxrunat: %s can't be started.\n", order.program.c_str());
    ORVEX_Err_fPrint(stderr);
    ORVEX_ERRLOG_SysErrLog(("oxrunat can't start " + order.program).c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    Order order;
    const std::string wrong = read_order(argc, argv, &order);
    if (!wrong.empty()) return refuse(wrong);
    bring_up();
    const int exit_code = carry_out(order);
    ORVEX_BASE_ReleaseVar();
    return exit_code;
}
