// Memory with a name, and files in such memory.
#include <algorithm>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "files/ofilemap.h"
#include "moltelib/event.h"
#include "moltelib/shared_memory.h"
#include "platform/file_mapping.h"

using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxshmem;
constexpr uint32_t kNotMade = 259;
constexpr uint32_t kNoView = 260;
constexpr uint32_t kNotOpened = 261;
constexpr uint32_t kNotSet = 288;

using Word = uint32_t;  // in front of a file's data

// Of the whole, and at least that much.
int32_t view(MOLTE_FMAP* map, int64_t least, const char* name) {
    map->pView = MapViewOfFile(map->hMapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    if (map->pView != nullptr && platform::view_size(map->pView) >= static_cast<uint64_t>(least)) {
        return 1;
    }
    if (map->pView != nullptr) SetLastError(ERROR_INSUFFICIENT_BUFFER);
    kModule.fail_text(here(), kNoView, SystemError::platform, name);
    MOLTE_SHMEM_Release(map);
    return -1;
}

HANDLE create_block(int64_t size, const char* name) {
    if (size < 1) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const auto bytes = static_cast<uint64_t>(size);
    return CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                              static_cast<DWORD>(bytes >> 32), static_cast<DWORD>(bytes), name);
}

// Of a file with that much data; -1 for what can't be.
int64_t block_size(int64_t length) {
    constexpr int64_t kWord = sizeof(Word);
    const bool possible = length >= 0 && length <= std::numeric_limits<int64_t>::max() - kWord;
    return possible ? length + kWord : -1;
}

struct Block : MOLTE_FMAP {
    Block() : MOLTE_FMAP{} {}
    ~Block() { MOLTE_SHMEM_Release(this); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
};

// What the word tells, as far as it can be: a process that wrote it may have been another kind.
int32_t length_of(const Block& block) {
    Word word = 0;
    std::memcpy(&word, block.pView, sizeof word);
    const uint64_t room = platform::view_size(block.pView) - sizeof word;
    constexpr uint64_t kMost = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::min({uint64_t{word}, room, kMost}));
}

}  // namespace

// ---- Blocks ----

int32_t MOLTE_SHMEM_Create(MOLTE_FMAP* pMap, int64_t nSize, const char* pszName) {
    if (pMap == nullptr) return kModule.fail(here(), kBadArgument);
    *pMap = {};
    pMap->hMapping = create_block(nSize, pszName);
    if (pMap->hMapping != nullptr) return view(pMap, nSize, pszName);
    return kModule.fail_text(here(), kNotMade, SystemError::platform, pszName);
}

int32_t MOLTE_SHMEM_Open(MOLTE_FMAP* pMap, const char* pszName) {
    if (pMap == nullptr) return kModule.fail(here(), kBadArgument);
    *pMap = {};
    pMap->hMapping = OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, pszName);
    if (pMap->hMapping != nullptr) return view(pMap, 0, pszName);
    return kModule.fail_text(here(), kNotOpened, SystemError::platform, pszName);
}

int32_t MOLTE_SHMEM_Release(MOLTE_FMAP* pMap) {
    return MOLTE_FMAP_Unmap(pMap);
}

// ---- Files in memory ----

int32_t MOLTE_MTEMPF_SaveBinFile(MOLTE_FMAP* pMap, const char* pszName, const void* pData,
                                 int64_t nLen) {
    if (pMap == nullptr || pszName == nullptr || (pData == nullptr && nLen > 0)) {
        return kModule.fail(here(), kBadArgument);
    }
    *pMap = {};
    const auto name = molte::mapping_name(pszName);
    if (name == nullptr || MOLTE_SHMEM_Create(pMap, block_size(nLen), name.get()) < 1) {
        return kModule.trace(here());
    }
    auto* const block = static_cast<uint8_t*>(pMap->pView);
    const auto word = static_cast<Word>(std::strlen(name.get()));  // of the name: it is meant
    if (nLen > 0) std::memcpy(block + sizeof word, pData, static_cast<size_t>(nLen));
    std::memcpy(block, &word, sizeof word);
    return 1;
}

int32_t MOLTE_MTEMPF_ReadBinFile(const char* pszName, uint8_t** ppBuf, int32_t* pnLen) {
    if (pszName == nullptr || ppBuf == nullptr || pnLen == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    *ppBuf = nullptr;
    *pnLen = 0;
    const auto name = molte::mapping_name(pszName);
    Block block;
    if (name == nullptr || MOLTE_SHMEM_Open(&block, name.get()) < 1) return kModule.trace(here());
    const int32_t length = length_of(block);
    auto bytes = molte::allocate<uint8_t>(length);
    if (bytes == nullptr) return kModule.trace(here());
    std::memcpy(bytes.get(), static_cast<const uint8_t*>(block.pView) + sizeof(Word),
                static_cast<size_t>(length));
    *ppBuf = bytes.release();
    *pnLen = length;
    return length;
}

int32_t MOLTE_MTEMPF_WaitFileToRead(const char* pszEvent, int32_t nSeconds) {
    if (pszEvent == nullptr) return kModule.fail(here(), kBadArgument);
    OXHANDLE event = ORVEX_EVENT_Create(pszEvent);
    if (event != nullptr) ORVEX_EVENT_TimeWait(event, nSeconds);
    ORVEX_EVENT_Release(event);
    return 1;  // whatever the wait said: the saver removes the file in any case
}

int32_t MOLTE_MTEMPF_SetFileReadFlag(const char* pszEvent) {
    OXHANDLE event = ORVEX_EVENT_Open(pszEvent);
    if (event == nullptr) return 1;
    if (SetEvent(event) == 0) kModule.fail(here(), kNotSet, SystemError::platform);
    ORVEX_EVENT_Release(event);
    return 1;
}

int32_t MOLTE_MTEMPF_RemoveFile(MOLTE_FMAP* pMap) {
    return MOLTE_FMAP_Unmap(pMap);
}
