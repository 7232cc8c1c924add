// Mapped files.
#include "files/ofilemap.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "moltelib/file_map.h"
#include "platform/file_mapping.h"
#include "platform/files.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOfilemap;
constexpr uint32_t kNotMapped = 259;
constexpr uint32_t kNoView = 260;

// What the platform would take for something else: a descriptor that isn't open gives the handle
// that stands for memory.
DWORD why_refused(HANDLE file, int64_t offset, int64_t size) {
    if (file == INVALID_HANDLE_VALUE) return ERROR_INVALID_HANDLE;
    const bool sound =
        offset >= 0 && size >= 0 && offset <= std::numeric_limits<int64_t>::max() - size;
    return sound ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

HANDLE create_mapping(HANDLE file, int64_t offset, int64_t size, bool read_only, const char* name) {
    if (const DWORD refusal = why_refused(file, offset, size); refusal != ERROR_SUCCESS) {
        SetLastError(refusal);
        return nullptr;
    }
    const auto largest = static_cast<uint64_t>(size == 0 ? 0 : offset + size);  // 0: to the end
    return CreateFileMappingA(file, nullptr, read_only ? PAGE_READONLY : PAGE_READWRITE,
                              static_cast<DWORD>(largest >> 32), static_cast<DWORD>(largest), name);
}

}  // namespace

molte::Heap<char> molte::mapping_name(const char* name) {
    const size_t size = std::strlen(name) + 1;
    auto copy = molte::allocate<char>(static_cast<int64_t>(size));
    if (copy != nullptr) std::replace_copy(name, name + size, copy.get(), '\\', '/');
    return copy;
}

int32_t MOLTE_FMAP_Map(MOLTE_FMAP* pMap, ORVEX_HFILE* pFile, int64_t nOffset, int64_t nSize,
                       int32_t nFlags) {
    if (pMap == nullptr || pFile == nullptr) return kModule.fail(here(), molte::kBadArgument);
    *pMap = {};
    const auto name = molte::mapping_name(pFile->szFileName);
    if (name == nullptr) return kModule.trace(here());
    const bool read_only = (nFlags & MOLTE_FMAP_READONLY) != 0;
    auto* const file = reinterpret_cast<HANDLE>(pFile->fd < 0 ? -1 : _get_osfhandle(pFile->fd));
    pMap->hMapping = create_mapping(file, nOffset, nSize, read_only, name.get());
    if (pMap->hMapping == nullptr) {
        return kModule.fail(here(), kNotMapped, SystemError::platform,
                            "create file mapping error%s", pFile->szFileName);
    }
    const auto offset = static_cast<uint64_t>(nOffset);
    pMap->pView = MapViewOfFile(pMap->hMapping, read_only ? FILE_MAP_READ : FILE_MAP_WRITE,
                                static_cast<DWORD>(offset >> 32), static_cast<DWORD>(offset),
                                static_cast<size_t>(nSize));
    if (pMap->pView != nullptr) return 1;
    kModule.fail(here(), kNoView, SystemError::platform, "MAP file error%s", pFile->szFileName);
    MOLTE_FMAP_Unmap(pMap);
    return -1;
}

int32_t MOLTE_FMAP_Unmap(MOLTE_FMAP* pMap) {
    if (pMap == nullptr) return 0;
    if (pMap->pView != nullptr) UnmapViewOfFile(pMap->pView);
    if (pMap->hMapping != nullptr) CloseHandle(pMap->hMapping);
    *pMap = {};
    return 1;
}
