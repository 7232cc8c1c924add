// The program files that a version is read from.
#include "frame.h"

void try_input(std::string_view input) {
    MOLTE_APPVERSION version;
    char text[MOLTE_APPVERSION_TEXT_SIZE];
    ORVEX_Err_ClearError();
    const bool read = MOLTE_GetAppVersion(file_of(input), &version) == 1;
    must(GetRvexErrNo() == (read ? 0U : 273U));
    if (read) MOLTE_AppVersionToString(&version, text);
}
