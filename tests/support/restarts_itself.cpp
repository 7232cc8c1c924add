// A program that asks to be started again, once: part of the test of starting programs. The
// environment names its installation, and the event that tells of the second start.
#include <cstdlib>
#include <fstream>
#include <string>

#include "moltelib.h"

int main(int argc, char** argv) {
    const char* const folder = std::getenv("RESTART_FOLDER");
    const char* const event_name = std::getenv("RESTART_EVENT");
    if (folder == nullptr || event_name == nullptr) return 2;
    const std::string starts = std::string(folder) + "/starts";
    const bool first = !std::ifstream(starts).is_open();
    std::ofstream out(starts, std::ios::app);
    out << (*argv[0] != '\0' ? argc : 0) << ' ' << MOLTE_HiResoTickCount() << '\n';
    out.close();
    if (!out) return 2;  // the test is over: no start without end
    ORVEX_SetMainPath(folder);
    ORVEX_BASE_InitVar();
    if (first) {
        MOLTE_UTIL_Restart(1);
    } else {
        OXHANDLE event = ORVEX_EVENT_Open(event_name);
        ORVEX_EVENT_Set(event);
        ORVEX_EVENT_Release(event);
    }
    ORVEX_BASE_ReleaseVar();
    return 0;
}
