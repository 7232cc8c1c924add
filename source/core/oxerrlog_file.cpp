// The file of the binary error log: head, blocks, opening and closing, raw transfers.
#include <algorithm>
#include <cstring>
#include <limits>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/binary_error_log.h"
#include "moltelib/byte_field.h"
#include "moltelib/file.h"
#include "platform/files.h"

namespace {

constexpr auto kModule = molte::kOxerrlog;
using molte::kBadArgument;
constexpr uint32_t kBadHead = 298;
constexpr char kMagic[] = "erlogfileobject";
constexpr int64_t kMapSize = sizeof(BERRLOG_FILEMAP);
constexpr int64_t kDefaultSize = 1049600;
constexpr int64_t kLeastBlocks = 32;
constexpr int32_t kMostText = 8128;
constexpr int32_t kSpare = 64;
constexpr int64_t kRoom = BERRLOG_BLOCK_SIZE - int64_t{sizeof(BERRLOG_ENTRY)};
constexpr int32_t kUnlock = 0;
constexpr int32_t kWaitingLock = 1;

static_assert(sizeof kMagic == sizeof(BERRLOG_FILEHEAD::szMagic));

class HandleOwner {
 public:
    explicit HandleOwner(ORVEX_HFILE* file) : file_(file) {}
    ~HandleOwner() { ORVEX_HFILE_Close(&file_); }
    HandleOwner(const HandleOwner&) = delete;
    HandleOwner& operator=(const HandleOwner&) = delete;
    [[nodiscard]] ORVEX_HFILE* get() const { return file_; }

 private:
    ORVEX_HFILE* file_;
};

int32_t write_new_file(const char* path, int64_t blocks) {
    const HandleOwner file(ORVEX_HFILE_Create(path, ORVEX_MODE_OWNER));
    if (file.get() == nullptr) return kModule.trace(71);
    BERRLOG_FILEMAP map;
    BERRLOG_InitFileMap(&map);
    if (ORVEX_HFILE_Write(file.get(), &map, kMapSize) != kMapSize) return kModule.trace(72);
    const int64_t size = blocks * BERRLOG_BLOCK_SIZE + kMapSize;
    return ORVEX_HFILE_ChangeSize(file.get(), size) == size ? 1 : kModule.trace(79);
}

int32_t open_steps(const char* path, BERRLOG_FILE* file) {
    file->pMap = molte::allocate<BERRLOG_FILEMAP>(1).release();
    if (file->pMap == nullptr) return kModule.trace(98);
    *file->pMap = {};
    file->pFile = ORVEX_HFILE_Open(path, 0);
    if (file->pFile == nullptr) return kModule.trace(99);
    if (ORVEX_FileRecordLock(file->pFile->fd, kWaitingLock, 0, 1) < 0) return kModule.trace(100);
    file->n64FileLen = ORVEX_HFILE_Size(file->pFile);
    return file->n64FileLen >= 0 ? 1 : kModule.trace(101);
}

bool is_open(const BERRLOG_FILE* file) {
    return file != nullptr && file->pFile != nullptr;
}

}  // namespace

int32_t BERRLOG_InitFileHead(BERRLOG_FILEHEAD* pHead) {
    if (pHead == nullptr) return kModule.fail(molte::here(), kBadArgument);
    *pHead = {};
    uint4ToChar4(sizeof *pHead, pHead->nHeadSize);
    std::memcpy(pHead->szMagic, kMagic, sizeof kMagic);
    return 1;
}

int32_t BERRLOG_IsValidFileHead(const BERRLOG_FILEHEAD* pHead) {
    if (pHead != nullptr && Char4To_uint4(pHead->nHeadSize) == sizeof *pHead &&
        std::memcmp(pHead->szMagic, kMagic, sizeof kMagic) == 0) {
        return 1;
    }
    kModule.fail(28, kBadHead);
    return 0;
}

int32_t BERRLOG_InitFileMap(BERRLOG_FILEMAP* pMap) {
    if (pMap == nullptr) return kModule.fail(molte::here(), kBadArgument);
    *pMap = {};
    return BERRLOG_InitFileHead(&pMap->stHead);
}

int32_t BERRLOG_IsValidFileMap(const BERRLOG_FILEMAP* pMap) {
    return BERRLOG_IsValidFileHead(pMap != nullptr ? &pMap->stHead : nullptr);
}

int64_t BERRLOG_CalcBlockOffset(const BERRLOG_FILE* /*pFile*/, int32_t nBlock) {
    return int64_t{nBlock} * BERRLOG_BLOCK_SIZE + kMapSize;
}

int32_t BERRLOG_CreateFile(const char* pszPath, int64_t nSize) {
    const int64_t size = nSize <= kMapSize ? kDefaultSize : nSize;
    if (pszPath == nullptr || size > std::numeric_limits<int64_t>::max() - 2 * BERRLOG_BLOCK_SIZE) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    const int64_t blocks = (size + BERRLOG_BLOCK_SIZE - 1 - kMapSize) / BERRLOG_BLOCK_SIZE;
    if (write_new_file(pszPath, std::max(blocks, kLeastBlocks)) > 0) return 1;
    _unlink(pszPath);
    return -1;
}

int32_t BERRLOG_OpenFile(const char* pszPath, BERRLOG_FILE* pFile) {
    if (pFile == nullptr) return kModule.fail(molte::here(), kBadArgument);
    *pFile = {};
    if (open_steps(pszPath, pFile) > 0) return 1;
    ORVEX_HFILE_Close(&pFile->pFile);
    BERRLOG_CloseFile(pFile);
    return -1;
}

int32_t BERRLOG_CloseFile(BERRLOG_FILE* pFile) {
    if (pFile == nullptr) return 1;
    ORVEX_free(pFile->pMap);
    if (is_open(pFile)) {
        ORVEX_FileRecordLock(pFile->pFile->fd, kUnlock, 0, 1);
        ORVEX_HFILE_Close(&pFile->pFile);
    }
    *pFile = {};
    return 1;
}

int32_t BERRLOG_SaveRawData(BERRLOG_FILE* pFile, int64_t nOffset, const void* pData, int32_t nLen) {
    if (!is_open(pFile) || nLen < 0) return kModule.fail(molte::here(), kBadArgument);
    if (ORVEX_HFILE_Seek(pFile->pFile, nOffset, SEEK_SET) < 0) return kModule.trace(132);
    return ORVEX_HFILE_Write(pFile->pFile, pData, nLen) == nLen ? 1 : kModule.trace(133);
}

int32_t BERRLOG_ReadRawData(BERRLOG_FILE* pFile, int64_t nOffset, void* pData, int32_t nLen) {
    if (!is_open(pFile) || nLen < 0) return kModule.fail(molte::here(), kBadArgument);
    if (ORVEX_HFILE_Seek(pFile->pFile, nOffset, SEEK_SET) < 0) return kModule.trace(144);
    return ORVEX_HFILE_Read(pFile->pFile, pData, nLen) == nLen ? 1 : kModule.trace(145);
}

int32_t BERRLOG_ReadBlock(BERRLOG_FILE* pFile, int32_t nBlock, BERRLOG_BLOCK* pBlock) {
    return BERRLOG_ReadRawData(pFile, BERRLOG_CalcBlockOffset(pFile, nBlock), pBlock,
                               BERRLOG_BLOCK_SIZE);
}

int32_t BERRLOG_SaveBlock(BERRLOG_FILE* pFile, int32_t nBlock, const BERRLOG_BLOCK* pBlock) {
    return BERRLOG_SaveRawData(pFile, BERRLOG_CalcBlockOffset(pFile, nBlock), pBlock,
                               BERRLOG_BLOCK_SIZE);
}

int32_t BERRLOG_UTIL_CutLen(int32_t n) {
    return std::min(n, kMostText);
}

int32_t BERRLOG_UTIL_CanHoldLog(const BERRLOG_BLOCK* pBlock, int32_t* pnLen) {
    if (pBlock == nullptr || pnLen == nullptr) return kModule.fail(molte::here(), kBadArgument);
    // Both numbers come from the file: taken as they stand, a hostile one leaves no room.
    const int64_t entries = Char4To_uint4(pBlock->nEntryCount);
    const int64_t room =
        kRoom - Char4To_uint4(pBlock->nDataPos) - entries * int64_t{sizeof(BERRLOG_ENTRY)};
    if (room > int64_t{*pnLen} + kSpare) return 1;
    if (entries > 0) return 0;
    *pnLen = BERRLOG_UTIL_CutLen(*pnLen);
    return 1;
}
