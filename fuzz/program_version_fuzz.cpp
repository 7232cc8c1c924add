// The program files that a version is read from.
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "moltelib.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const int file = memfd_create("program", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
        return 0;
    }
    MOLTE_APPVERSION version;
    char text[MOLTE_APPVERSION_TEXT_SIZE];
    ORVEX_Err_ClearError();
    const bool read = MOLTE_GetAppVersion(path.c_str(), &version) == 1;
    if (GetRvexErrNo() != (read ? 0U : 273U)) __builtin_trap();
    if (read) MOLTE_AppVersionToString(&version, text);
    return 0;
}
