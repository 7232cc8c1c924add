// The binary error log: its file, adding to it and retrieving from it.
#include "moltelib/binary_error_log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "core/above.h"
#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/array.h"
#include "moltelib/byte_field.h"
#include "moltelib/clock.h"
#include "moltelib/date_time.h"
#include "moltelib/file.h"
#include "moltelib/state.h"
#include "platform/files.h"

namespace {

constexpr auto kModule = molte::kOxerrlog;
using molte::kBadArgument;
constexpr uint32_t kBadLog = 298;
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

int32_t write_new_file(const char* path, int64_t blocks) {
    const molte::Handle file(ORVEX_HFILE_Create(path, ORVEX_MODE_OWNER));
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

constexpr uint8_t kKind = 1;
constexpr int32_t kOpenTries = 10;
constexpr size_t kPathSize = 256;
constexpr int32_t kEntriesAtOnce = 64;
constexpr int32_t kKiB = 1024;
constexpr int32_t kTextKiB = 512;
constexpr int32_t kTextGrowthKiB = 128;

// An open log that closes itself.
class OpenLog {
 public:
    OpenLog() = default;
    ~OpenLog() { BERRLOG_CloseFile(&file_); }
    OpenLog(const OpenLog&) = delete;
    OpenLog& operator=(const OpenLog&) = delete;
    [[nodiscard]] bool open(const char* path) { return BERRLOG_OpenFile(path, &file_) > 0; }
    [[nodiscard]] BERRLOG_FILE* get() { return &file_; }
    [[nodiscard]] BERRLOG_FILEMAP* map() { return file_.pMap; }

 private:
    BERRLOG_FILE file_{};
};

// How much of LENGTH bytes at OFFSET lies inside a block.
int64_t part_inside(uint32_t offset, uint32_t length) {
    return std::clamp<int64_t>(BERRLOG_BLOCK_SIZE - int64_t{offset}, 0, length);
}

// ---- Adding ----

// Makes a log under a name of its own first: of those who find none at the same time, one names its
// file, and nobody meets one that is half made or empties one that holds an entry.
int32_t make_log(const char* path) {
    const auto name = molte::allocate<char>(static_cast<int64_t>(std::strlen(path)) + 64);
    if (name == nullptr) return -1;
    if (ORVEX_UTIL_TempFNFromFN(path, name.get(), "berr") >= 0 &&
        BERRLOG_CreateFile(name.get(), 0) >= 0) {
        if (platform::rename_file(name.get(), path) == 0) return 1;
        _unlink(name.get());
    }
    // What fails now is told of the log itself.
    return _access(path, 0) == 0 ? 1 : BERRLOG_CreateFile(path, 0);
}

// On Windows a file can't be opened in the moment in which it gets its name.
bool open_when_named(const char* path, OpenLog* log) {
    for (int32_t tries = 0; tries < kOpenTries; ++tries) {
        if (log->open(path)) return true;
        if (errno != EACCES) return false;
        ORVEX_SleepMilli(1);
    }
    return false;
}

// The next block, from its beginning. The handle counts no blocks, so this is always block 0: a
// full block is begun again at the same place. This is meant.
void begin_block_again(OpenLog* log, BERRLOG_BLOCK* block, int32_t* number) {
    *block = {};
    if (++*number < log->get()->nBlockCount) return;
    *number = 0;
    log->map()->bWrapped = 1;
}

// The text lies LENGTH bytes behind the base, over whatever is there, entries included. This is
// meant; what would run past the block is left out.
void put_entry(BERRLOG_BLOCK* block, const char* text, int32_t length, int64_t sequence) {
    const uint32_t index = Char4To_uint4(block->nEntryCount);
    const uint32_t offset = Char4To_uint4(block->nDataPos) + static_cast<uint32_t>(length);
    uint4ToChar4(index + 1, block->nEntryCount);
    BERRLOG_ENTRY entry{};
    entry.nKind = kKind;
    uint4ToChar4(static_cast<uint32_t>(ORVEX_Time()), entry.tTime);
    uint4ToChar4(offset, entry.nOffset);
    uint4ToChar4(static_cast<uint32_t>(length), entry.nLen);
    uint8ToChar8(static_cast<uint64_t>(sequence), entry.n64Seq);
    block->astEntry[index] = entry;
    const int64_t kept = part_inside(offset, static_cast<uint32_t>(length));
    if (kept > 0) {
        std::memcpy(reinterpret_cast<char*>(block) + offset, text, static_cast<size_t>(kept));
    }
}

int32_t add_entry(const char* path, const char* text, int32_t length) {
    const auto block = molte::allocate<BERRLOG_BLOCK>(1);
    if (block == nullptr) return kModule.trace(205);
    if (_access(path, 0) != 0 && make_log(path) < 0) return kModule.trace(208);
    OpenLog log;
    if (!open_when_named(path, &log)) return kModule.trace(210);
    auto number = static_cast<int32_t>(Char4To_uint4(log.map()->nCurBlock));
    if (BERRLOG_ReadBlock(log.get(), number, block.get()) < 0) return kModule.trace(213);
    if (BERRLOG_UTIL_CanHoldLog(block.get(), &length) == 0) {
        begin_block_again(&log, block.get(), &number);
    }
    const int64_t sequence = log.get()->n64Seq;
    put_entry(block.get(), text, length, sequence);
    if (BERRLOG_SaveBlock(log.get(), number, block.get()) < 0) return kModule.trace(242);
    // The map was never read, so this writes zeros over the head. This is meant.
    uint8ToChar8(static_cast<uint64_t>(sequence) + 1, log.map()->n64NextSeq);
    if (BERRLOG_SaveRawData(log.get(), 0, log.map(), sizeof(BERRLOG_FILEMAP)) < 0) {
        return kModule.trace(245);
    }
    return 0;
}

// ---- Retrieving ----

// The entries and texts found so far.
class Found {
 public:
    Found() = default;
    ~Found() { PA_Release(&entries_); }
    Found(const Found&) = delete;
    Found& operator=(const Found&) = delete;

    [[nodiscard]] int32_t make() {
        if (PA_Init(&entries_, sizeof(BERRLOG_ENTRY), kEntriesAtOnce) < 0) {
            return kModule.trace(274);
        }
        entries_.nGrowBy = kEntriesAtOnce;
        text_ = molte::allocate<char>(int64_t{kTextKiB} * kKiB);
        return text_ != nullptr ? 1 : kModule.trace(277);
    }
    [[nodiscard]] int32_t add(const BERRLOG_BLOCK& block, const BERRLOG_ENTRY& entry) {
        if (PA_Append(&entries_, &entry) < 0) return kModule.trace(294);
        const uint32_t offset = Char4To_uint4(entry.nOffset);
        const int64_t length = part_inside(offset, Char4To_uint4(entry.nLen));
        if (length == 0) return 1;
        if (!reserve(length)) return kModule.trace(303);
        std::memcpy(text_.get() + used_, reinterpret_cast<const char*>(&block) + offset,
                    static_cast<size_t>(length));
        used_ += length;
        return 1;
    }
    [[nodiscard]] int32_t count() const { return entries_.nCount; }
    [[nodiscard]] char* release_text() { return text_.release(); }

 private:
    [[nodiscard]] bool reserve(int64_t length) {
        const int64_t missing = used_ + length - int64_t{kibs_} * kKiB;
        if (missing <= 0) return true;
        const int64_t added = (missing + kKiB - 1) / kKiB + kTextGrowthKiB;
        void* text = text_.release();
        const int32_t result =
            ORVEX_release_realloc(&text, kKiB, &kibs_, static_cast<int32_t>(added));
        text_.reset(static_cast<char*>(text));
        return result > 0;
    }

    PA entries_{};
    molte::Heap<char> text_;
    int32_t kibs_ = kTextKiB;
    int64_t used_ = 0;
};

// Takes the entries of a block up to the first that is too old. 1 when all were taken, 0 when one
// was too old, -1.
int32_t take_entries(const BERRLOG_BLOCK& block, uint32_t oldest, Found* found) {
    const uint32_t count = Char4To_uint4(block.nEntryCount);
    for (uint32_t i = 0; i < count; ++i) {
        if (i == BERRLOG_ENTRIES_MAX) return kModule.fail(molte::here(), kBadLog);
        if (Char4To_uint4(block.astEntry[i].tTime) < oldest) return 0;
        if (found->add(block, block.astEntry[i]) < 0) return -1;
    }
    return 1;
}

// The number behind the last block of a walk is that of no block, and so the end of the file ends a
// walk that meets no entry too old: the read fails there. This is meant.
int32_t walk(OpenLog* log, BERRLOG_BLOCK* block, uint32_t oldest, Found* found) {
    const bool wrapped = log->map()->bWrapped != 0;
    const int32_t blocks = log->get()->nBlockCount;
    auto number = static_cast<int32_t>(Char4To_uint4(log->map()->nCurBlock));
    for (;;) {
        if (BERRLOG_ReadBlock(log->get(), number, block) < 0) return kModule.trace(287);
        const int32_t all = take_entries(*block, oldest, found);
        if (all < 0) return -1;
        number += wrapped ? -1 : 1;
        if (wrapped && number < 0) number = blocks - 1;
        if (all == 0 && number != blocks) return 1;
    }
}

int32_t collect(const char* path, uint32_t oldest, Found* found) {
    if (found->make() < 0) return -1;
    const auto block = molte::allocate<BERRLOG_BLOCK>(1);
    if (block == nullptr) return kModule.trace(279);
    OpenLog log;
    if (!log.open(path)) return kModule.trace(280);
    return walk(&log, block.get(), oldest, found);
}

// ---- The log of the installation ----

// Made once and never deleted. Nobody enters it: the lock on the file excludes.
MOLTE_CRIT log_section;

}  // namespace

// ---- The file of the binary error log ----

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
    kModule.fail(28, kBadLog);
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

// ---- Adding to the binary error log and retrieving from it ----

int32_t BERRLOG_AddLog(const char* pszPath, const char* pszText, int32_t nLen) {
    if (pszPath == nullptr || pszText == nullptr || nLen < 0) {
        kModule.fail(molte::here(), kBadArgument);
        return 0;
    }
    add_entry(pszPath, pszText, nLen);
    return 0;
}

int32_t BERRLOG_RetrLog(const char* pszPath, BERRLOG_ENTRY** ppEntries, char** ppszText,
                        const BERRLOG_FILTER* pFilter) {
    if (ppEntries == nullptr || ppszText == nullptr || pFilter == nullptr) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    *ppEntries = nullptr;
    *ppszText = nullptr;
    Found found;
    if (collect(pszPath, Char4To_uint4(pFilter->tTime), &found) < 0) return -1;
    if (found.count() > 0) *ppszText = found.release_text();
    return found.count();
}

int32_t MOLTE_BERRLOG_PathFileName(char* pszDst) {
    if (pszDst == nullptr) return kModule.fail(molte::here(), kBadArgument);
    if (molte::log_folder(pszDst) < 0) return kModule.trace(333);
    std::strcat(pszDst, "\\berrlog.dat");
    return 1;
}

int32_t MOLTE_ERRLOG_Lock(void) {
    ORVEX_ShortOpLock();
    if (log_section.bInited == 0) MOLTE_InitCrit(&log_section);
    ORVEX_ShortOpUnLock();
    return 1;
}

// The section is never entered, and leaving one that isn't held would break it.
int32_t MOLTE_ERRLOG_UnLock(void) {
    return 1;
}

int32_t MOLTE_BERRLOG_AddLog(const char* pszText, int32_t nLen) {
    if (pszText == nullptr || nLen < 1) return 0;
    char path[kPathSize];
    if (MOLTE_BERRLOG_PathFileName(path) < 0) return kModule.trace(369);
    MOLTE_ERRLOG_Lock();
    const int32_t result = BERRLOG_AddLog(path, pszText, nLen);
    MOLTE_ERRLOG_UnLock();
    return result;
}

int32_t MOLTE_BERRLOG_Retr(BERRLOG_ENTRY** ppEntries, char** ppszText,
                           const BERRLOG_FILTER* pFilter) {
    char path[kPathSize];
    if (MOLTE_BERRLOG_PathFileName(path) < 0) return kModule.trace(385);
    MOLTE_ERRLOG_Lock();
    const int32_t result = BERRLOG_RetrLog(path, ppEntries, ppszText, pFilter);
    MOLTE_ERRLOG_UnLock();
    return result;
}
