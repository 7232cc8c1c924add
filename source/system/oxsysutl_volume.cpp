// Kinds of file systems.
#include <algorithm>
#include <iterator>

#include "core/modules.h"
#include "data/character.h"
#include "moltelib/byte_field.h"
#include "moltelib/system_info.h"
#include "platform/code_page.h"
#include "platform/machine.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysutl;
using molte::kBadArgument;
constexpr uint32_t kFailed = 101;

constexpr struct FileSystem {
    const char* name;
    int32_t type;
} kFileSystems[] = {{"FAT16", 1}, {"FAT32", 2}, {"NTFS", 3}, {"JFS", 10}, {"JFS2", 11}};

}  // namespace

const char* MOLTE_FileSystemType2Name(int32_t nType) {
    const auto* found =
        std::find_if(std::begin(kFileSystems), std::end(kFileSystems),
                     [nType](const FileSystem& system) { return system.type == nType; });
    return found != std::end(kFileSystems) ? found->name : "unknown";
}

int32_t MOLTE_FileSystemName2Type(const char* pszName) {
    if (pszName == nullptr) return kFileSystems[0].type;  // meant
    const auto* found = std::find_if(
        std::begin(kFileSystems), std::end(kFileSystems),
        [pszName](const FileSystem& s) { return platform::compare_no_case(s.name, pszName) == 0; });
    return found != std::end(kFileSystems) ? found->type : 0;
}

int32_t MOLTE_GetFileSystemInfo(const char* pszPath, MOLTE_FILESYSTEMINFO* pInfo) {
    if (pInfo == nullptr) return kModule.fail(here(), kBadArgument);
    *pInfo = {};
    uint4ToChar4(sizeof *pInfo, pInfo->nRecSize);
    if (pszPath == nullptr || pszPath[0] == '\0' || pszPath[1] == '\0') {
        return kModule.fail_text(here(), kFailed, SystemError::none, "path too short");
    }
    if (pszPath[1] != ':' || !molte::is_ascii_letter(pszPath[0])) {
        return kModule.fail_text(here(), kFailed, SystemError::none, "FORMAT ERROR");
    }
    const char root[] = {pszPath[0], ':', '\\', '\0'};
    char name[32];
    if (GetVolumeInformationA(root, nullptr, 0, nullptr, nullptr, nullptr, name, sizeof name) ==
        FALSE) {
        return kModule.fail_text(here(), kFailed, SystemError::platform, pszPath);
    }
    pInfo->nType = static_cast<uint8_t>(MOLTE_FileSystemName2Type(name));
    return 1;
}
