// The named object file: making and opening it, and moving its blocks between chains. What looks
// odd here is what programs of the system live with; the public header tells it.
#include <algorithm>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "core/owners.h"
#include "data/oxdatcnv.h"
#include "moltelib/byte_field.h"
#include "moltelib/file.h"
#include "moltelib/named_object_file.h"
#include "platform/files.h"

using molte::Decimal;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOnobfile;
constexpr uint32_t kNoFreeBlock = 295;
constexpr uint32_t kBadHead = 302;
constexpr uint32_t kBadBlockSize = 430;
constexpr uint32_t kBadFileSize = 431;
constexpr char kMagic[] = "namedfileobject";
constexpr int32_t kHeadSize = sizeof(NOBF_FILEHEAD);
constexpr int32_t kMapSize = sizeof(NOBF_MAP);
constexpr int32_t kDefaultBlockSize = 32768;
constexpr int32_t kDefaultExpansion = 8;
constexpr int32_t kNone = -1;
constexpr int32_t kMaxNumber = std::numeric_limits<int32_t>::max();
constexpr int64_t kMaxPosition = std::numeric_limits<int64_t>::max();

static_assert(sizeof kMagic == sizeof(NOBF_FILEHEAD::szMagic));

int32_t number_in(const uint8_t* field) {
    return static_cast<int32_t>(Char4To_uint4(field));
}
void put_number(int32_t number, uint8_t* field) {
    uint4ToChar4(static_cast<uint32_t>(number), field);
}

bool is_open(const NOBF_FILE* file) {
    return file != nullptr && file->pHandle != nullptr;
}
bool has_map(const NOBF_FILE* file) {
    return is_open(file) && file->pMap != nullptr;
}

// The file of an object in memory.
NOBF_FILE* file_of(NOBF_OBJECT* object) {
    return object != nullptr ? reinterpret_cast<NOBF_MEMOBJECT*>(object)->pFile : nullptr;
}

int32_t fail_block_size(int32_t line, int32_t size) {
    return kModule.fail(line, kBadBlockSize, SystemError::none,
                        "block size=%d must be multiple of %d", size, kMapSize);
}

int32_t write_new_file(const char* name, int32_t block_size) {
    const molte::Handle file(ORVEX_HFILE_OpenMode(name, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!file) return kModule.trace(here());
    NOBF_MAP map;
    NOBF_InitFileMap(&map);
    put_number(block_size, map.nBlockSize);
    if (ORVEX_HFILE_Write(file.get(), &map, kMapSize) != kMapSize) return kModule.trace(here());
    return 1;
}

// The number of blocks counts a head of 32 bytes, though blocks begin behind the map. So a file of
// a map and whole blocks is refused. This is meant.
int32_t count_blocks(NOBF_FILE* file) {
    const int64_t count =
        std::min<int64_t>((file->nFileLen - kHeadSize) / file->nBlockSize, kMaxNumber);
    const int64_t expected = count * file->nBlockSize + kHeadSize;
    if (expected != file->nFileLen) {
        return kModule.fail(here(), kBadFileSize, SystemError::none,
                            "file size not valid expected=%s actual=%s", Decimal(expected).text(),
                            Decimal(file->nFileLen).text());
    }
    file->nBlockCount = static_cast<int32_t>(count);
    return 1;
}

int32_t open_steps(const char* name, NOBF_FILE* file) {
    file->pMap = molte::allocate<NOBF_MAP>(1).release();
    if (file->pMap == nullptr) return kModule.trace(here());
    *file->pMap = {};
    file->pHandle = ORVEX_HFILE_Open(name, ORVEX_OPEN_UPDATE);
    if (file->pHandle == nullptr) return kModule.trace(here());
    file->nFileLen = ORVEX_HFILE_Size(file->pHandle);
    if (file->nFileLen < 0) return kModule.trace(here());
    if (file->nFileLen < kHeadSize) {
        return kModule.fail_text(here(), molte::kTooLong, SystemError::none, name);
    }
    if (NOBF_ReadRawData(file, 0, file->pMap, kMapSize) < 0) return kModule.trace(here());
    if (NOBF_IsValidFileMap(file->pMap) == 0) return kModule.trace(here());
    file->nBlockSize = number_in(file->pMap->nBlockSize);
    if (file->nBlockSize < 1 || file->nBlockSize % kMapSize != 0) {
        return fail_block_size(here(), file->nBlockSize);
    }
    return count_blocks(file);
}

// The steps of an operation, which alone adds its line to the history of one that fails.

// Reads the head of a block, has it changed by CHANGE(head), and writes it back.
template <typename Change>
bool change_head(NOBF_FILE* file, int32_t index, Change change) {
    NOBF_BLOCKHEAD head{};
    if (NOBF_ReadBlockHead(file, index, &head) < 0) return false;
    change(head);
    return NOBF_SaveBlockHead(file, index, &head) > 0;
}

// From the last of the new blocks upward, so on behind the file, until a write fails or there are
// no more numbers. This is meant.
bool write_new_heads(NOBF_FILE* file, int32_t last) {
    int32_t next = kNone;
    for (int64_t at = last; at <= kMaxNumber; ++at) {
        const auto index = static_cast<int32_t>(at);
        const bool is_first = index == file->nBlockCount;
        NOBF_BLOCKHEAD head{};
        put_number(index, head.nIndex);
        put_number(next, head.nNext);
        put_number(is_first ? number_in(file->pMap->stFree.nLastBlock) : index - 1, head.nPrevious);
        if (NOBF_SaveBlockHead(file, index, &head) < 0) return false;
        next = index;
    }
    return true;
}

bool link_new_blocks(NOBF_FILE* file, int32_t last) {
    NOBF_OBJECT& free_chain = file->pMap->stFree;
    const int32_t old_last = number_in(free_chain.nLastBlock);
    const auto lead_on = [file](NOBF_BLOCKHEAD& head) {
        put_number(file->nBlockCount, head.nNext);
    };
    if (old_last != kNone && !change_head(file, old_last, lead_on)) return false;
    put_number(last, free_chain.nLastBlock);
    put_number(last + 1, free_chain.nBlockCount);
    if (number_in(free_chain.nFirstBlock) == kNone) {
        put_number(file->nBlockCount, free_chain.nFirstBlock);
    }
    return NOBF_SaveRawData(file, 0, file->pMap, kMapSize) > 0;
}

bool take_out(NOBF_FILE* file, NOBF_OBJECT* object, int32_t block, int64_t position) {
    NOBF_BLOCKHEAD removed{};
    if (NOBF_ReadBlockHead(file, block, &removed) < 0) return false;
    const int32_t next = number_in(removed.nNext);
    const int32_t previous = number_in(removed.nPrevious);
    // The successor's head goes back as it came. This is meant.
    const auto as_it_is = [](NOBF_BLOCKHEAD&) {};
    const auto lead_on = [next](NOBF_BLOCKHEAD& head) { put_number(next, head.nNext); };
    if (next == kNone) {
        put_number(previous, object->nLastBlock);
    } else if (!change_head(file, next, as_it_is)) {
        return false;
    }
    if (previous == kNone) {
        put_number(next, object->nFirstBlock);
    } else if (!change_head(file, previous, lead_on)) {
        return false;
    }
    DecrementChar4(object->nBlockCount);
    return NOBF_SaveRawData(file, position, object, sizeof *object) > 0;
}

bool put_in(NOBF_FILE* file, NOBF_OBJECT* object, int32_t where, int32_t block, int64_t position) {
    int32_t previous = where;
    int32_t next = kNone;
    if (where == -1) {
        previous = number_in(object->nLastBlock);
    } else if (where < 0) {
        next = number_in(object->nFirstBlock);
    }
    // The next is taken from the head that was just changed, and compared with 0. Both are meant.
    const auto follow = [block, &next](NOBF_BLOCKHEAD& head) {
        put_number(block, head.nNext);
        next = block;
    };
    const auto go_before = [block](NOBF_BLOCKHEAD& head) { put_number(block, head.nPrevious); };
    if (previous >= 0 && !change_head(file, previous, follow)) return false;
    if (next != 0 && !change_head(file, next, go_before)) return false;

    NOBF_BLOCKHEAD head{};
    std::memcpy(head.abyChainId, object->abyChainId, sizeof head.abyChainId);
    put_number(block, head.nIndex);
    put_number(next, head.nNext);
    put_number(previous, head.nPrevious);
    if (NOBF_SaveBlockHead(file, block, &head) < 0) return false;
    if (previous < 0) put_number(block, object->nFirstBlock);
    if (next < 0) put_number(block, object->nLastBlock);
    IncrementChar4(object->nBlockCount);
    return NOBF_SaveRawData(file, position, object, sizeof *object) > 0;
}

}  // namespace

int32_t NOBF_InitFileHead(void* pHead) {
    if (pHead == nullptr) return kModule.fail(here(), kBadArgument);
    NOBF_FILEHEAD head{};
    put_number(kHeadSize, head.nHeadSize);
    std::memcpy(head.szMagic, kMagic, sizeof kMagic);
    std::memcpy(pHead, &head, sizeof head);
    return 1;
}

int32_t NOBF_IsValidFileHead(const void* pHead) {
    const auto* head = static_cast<const NOBF_FILEHEAD*>(pHead);
    if (head != nullptr && number_in(head->nHeadSize) == kHeadSize &&
        std::memcmp(head->szMagic, kMagic, sizeof kMagic) == 0) {
        return 1;
    }
    kModule.fail(here(), kBadHead);
    return 0;
}

int32_t NOBF_InitNamedObject(NOBF_OBJECT* pObject, const char* pszName) {
    if (pObject == nullptr) return kModule.fail(here(), kBadArgument);
    *pObject = {};
    if (pszName != nullptr) {
        std::memcpy(pObject->szName, pszName, strnlen(pszName, NOBF_NAME_SIZE - 1));
    }
    put_number(kNone, pObject->nFirstBlock);
    put_number(kNone, pObject->nLastBlock);
    return 1;
}

int32_t NOBF_InitFileMap(NOBF_MAP* pMap) {
    if (pMap == nullptr) return kModule.fail(here(), kBadArgument);
    *pMap = {};
    NOBF_InitFileHead(&pMap->stHead);
    NOBF_InitNamedObject(&pMap->stFree, nullptr);
    return NOBF_InitNamedObject(&pMap->stSecond, nullptr);
}

int32_t NOBF_IsValidFileMap(const NOBF_MAP* pMap) {
    return NOBF_IsValidFileHead(pMap);
}

int64_t NOBF_CalcBlockOffset(const NOBF_FILE* pFile, int32_t nIndex) {
    if (pFile == nullptr) return kModule.fail(here(), kBadArgument);
    return int64_t{pFile->nBlockSize} * nIndex + kMapSize;
}

int32_t NOBF_CreateFile(const char* pszName, int32_t nBlockSize) {
    const int64_t wanted = nBlockSize < kMapSize ? kDefaultBlockSize : nBlockSize;
    const int64_t size = (wanted + kMapSize - 1) / kMapSize * kMapSize;
    if (pszName == nullptr) {
        kModule.fail(here(), kBadArgument);
    } else if (size > kMaxNumber) {
        fail_block_size(here(), nBlockSize);
    } else if (write_new_file(pszName, static_cast<int32_t>(size)) < 0) {
        _unlink(pszName);
    }
    return 0;  // whether it worked or not
}

int32_t NOBF_OpenFile(const char* pszName, NOBF_FILE* pFile) {
    if (pFile == nullptr) return kModule.fail(here(), kBadArgument);
    *pFile = {};
    if (open_steps(pszName, pFile) > 0) return 1;
    NOBF_CloseFile(pFile);
    return -1;
}

int32_t NOBF_CloseFile(NOBF_FILE* pFile) {
    if (pFile == nullptr) return 1;
    ORVEX_free(pFile->pMap);
    ORVEX_HFILE_Close(&pFile->pHandle);
    *pFile = {};
    return 1;
}

int32_t NOBF_SaveRawData(NOBF_FILE* pFile, int64_t nPos, const void* pData, int32_t nLen) {
    if (!is_open(pFile) || nLen < 0) return kModule.fail(here(), kBadArgument);
    if (ORVEX_HFILE_Seek(pFile->pHandle, nPos, SEEK_SET) < 0) return kModule.trace(here());
    return ORVEX_HFILE_Write(pFile->pHandle, pData, nLen) == nLen ? 1 : kModule.trace(here());
}

int32_t NOBF_ReadRawData(NOBF_FILE* pFile, int64_t nPos, void* pData, int32_t nLen) {
    if (!is_open(pFile) || nLen < 0) return kModule.fail(here(), kBadArgument);
    if (ORVEX_HFILE_Seek(pFile->pHandle, nPos, SEEK_SET) < 0) return kModule.trace(here());
    return ORVEX_HFILE_Read(pFile->pHandle, pData, nLen) == nLen ? 1 : kModule.trace(here());
}

int32_t NOBF_SaveBlockHead(NOBF_FILE* pFile, int32_t nIndex, const NOBF_BLOCKHEAD* pHead) {
    if (!is_open(pFile) || pHead == nullptr) return kModule.fail(here(), kBadArgument);
    const int64_t place = NOBF_CalcBlockOffset(pFile, nIndex);
    return NOBF_SaveRawData(pFile, place, pHead, sizeof *pHead) > 0 ? 1 : kModule.trace(here());
}

int32_t NOBF_ReadBlockHead(NOBF_FILE* pFile, int32_t nIndex, NOBF_BLOCKHEAD* pHead) {
    if (!is_open(pFile) || pHead == nullptr) return kModule.fail(here(), kBadArgument);
    const int64_t place = NOBF_CalcBlockOffset(pFile, nIndex);
    return NOBF_ReadRawData(pFile, place, pHead, sizeof *pHead) > 0 ? 1 : kModule.trace(here());
}

int32_t NOBF_Expand(NOBF_FILE* pFile, int32_t nBlocks) {
    if (!has_map(pFile)) return kModule.fail(here(), kBadArgument);
    const int64_t count = nBlocks < 1 ? kDefaultExpansion : nBlocks;
    const int64_t last = pFile->nBlockCount + count - 1;
    const int64_t added = count * pFile->nBlockSize;
    if (pFile->nBlockCount < 0 || last >= kMaxNumber || pFile->nFileLen > kMaxPosition - added) {
        return kModule.fail(here(), kBadArgument);
    }
    if (ORVEX_HFILE_ChangeSize(pFile->pHandle, pFile->nFileLen + added) < 0) {
        return kModule.trace(here());
    }
    const auto last_number = static_cast<int32_t>(last);
    const bool done = write_new_heads(pFile, last_number) && link_new_blocks(pFile, last_number);
    return done ? 1 : kModule.trace(here());
}

int32_t NOBF_RemoveFromLink(NOBF_FILE* pFile, NOBF_OBJECT* pObject, int32_t nBlock,
                            int64_t nObjectPos) {
    if (!is_open(pFile) || pObject == nullptr) return kModule.fail(here(), kBadArgument);
    return take_out(pFile, pObject, nBlock, nObjectPos) ? 1 : kModule.trace(here());
}

int32_t NOBF_InsertToLink(NOBF_FILE* pFile, NOBF_OBJECT* pObject, int32_t nWhere, int32_t nBlock,
                          int64_t nObjectPos) {
    if (!is_open(pFile) || pObject == nullptr) return kModule.fail(here(), kBadArgument);
    return put_in(pFile, pObject, nWhere, nBlock, nObjectPos) ? 1 : kModule.trace(here());
}

// Objects are stored at position 0, over the head of the file. This is meant.

int32_t NOBF_AllocBlock(NOBF_OBJECT* pObject) {
    NOBF_FILE* const file = file_of(pObject);
    if (!has_map(file)) return kModule.fail(here(), kBadArgument);
    NOBF_OBJECT& free_chain = file->pMap->stFree;
    const auto is_empty = [&] { return number_in(free_chain.nFirstBlock) == kNone; };
    if (is_empty()) NOBF_Expand(file, kDefaultExpansion);
    if (is_empty()) return kModule.fail(here(), kNoFreeBlock);
    const int32_t block = number_in(free_chain.nFirstBlock);
    if (NOBF_RemoveFromLink(file, &free_chain, block, 0) < 0) return kModule.trace(here());
    if (NOBF_InsertToLink(file, pObject, -1, block, 0) < 0) return kModule.trace(here());
    return 1;
}

int32_t NOBF_FreeBlock(NOBF_OBJECT* pObject, int32_t nBlock) {
    NOBF_FILE* const file = file_of(pObject);
    if (!has_map(file)) return kModule.fail(here(), kBadArgument);
    if (NOBF_RemoveFromLink(file, pObject, nBlock, 0) < 0) return kModule.trace(here());
    NOBF_OBJECT& free_chain = file->pMap->stFree;
    if (NOBF_InsertToLink(file, &free_chain, -1, nBlock, 0) < 0) return kModule.trace(here());
    return 1;
}

int32_t NOBF_AddRow(void) {
    return 0;
}
int32_t NOBF_ReadRow(void) {
    return 0;
}
int32_t NOBF_SaveRow(void) {
    return 0;
}
int32_t NOBF_AddNamedObject(void) {
    return 0;
}
int32_t NOBF_DelNamedObject(void) {
    return 0;
}
int32_t NOBF_GetNamedObject(void) {
    return 0;
}
int32_t NOBF_Shrink(void) {
    return 1;
}
