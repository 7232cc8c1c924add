// The walk through a folder of this machine, and listing by it.
#include "network/oftpbase.h"

using molte::here;
using molte::kBadArgument;
using molte::SystemError;
using molte::directory::Find;

namespace {

constexpr auto kModule = molte::kOftpbase;

}  // namespace

int32_t ORVEX_FTP_RecDo(const char* pszPath, int64_t nFirst, int64_t nSecond,
                        ORVEX_FTP_ACTION pfnAction, void* pContext) {
    if (pszPath == nullptr) return kModule.fail(here(), kBadArgument);
    const auto action = [=](const OXFILESTAT* record) {
        return pfnAction(nFirst, nSecond, record, pContext);
    };
    OXFILESTAT record{};
    if (molte::ftp::add_state(pszPath, &record) < 0) return kModule.trace(here());
    if (ORVEX_FileIsDirByMode(&record) == 0) return action(&record);

    Find find(pszPath, molte::directory::all_entries(pszPath));
    if (!find.found()) return kModule.trace(here());
    char before[molte::ftp::kFolderSize];
    if (_getcwd(before, sizeof before) == nullptr) {
        return kModule.fail(here(), molte::ftp::kNoCurrentFolder, SystemError::runtime);
    }
    const int32_t result =
        ORVEX_ChDir(pszPath) > 0 ? molte::ftp::walk(find, kModule, action) : kModule.trace(here());
    if (_chdir(before) == 0) return result;
    return kModule.fail_text(here(), molte::ftp::kNotEntered, SystemError::runtime, before);
}

int32_t ORVEX_FTP_ACTION_LIST(int64_t /*nFirst*/, int64_t /*nSecond*/, const OXFILESTAT* pRecord,
                              void* pArray) {
    if (pRecord == nullptr) return 0;
    const int32_t result = PA_SetAt(static_cast<PA*>(pArray), -1, pRecord);
    return result > 0 ? result : kModule.trace(here());
}
