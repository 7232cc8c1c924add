// File packages: heads, names, and reading items.
#include "files/ofilepkg.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "data/oxdatcnv.h"
#include "moltelib/array.h"
#include "moltelib/file.h"
#include "moltelib/uuid.h"

using namespace molte::package;
using molte::Decimal;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr char kPackageMagic[] = "ORVEX-Pkg-File";
constexpr char kItemMagic[] = "PkgItem";
constexpr uint32_t kVersion = 6;
constexpr uint32_t kBadPosition = 423;
constexpr int32_t kFirstInList = 32;
constexpr int32_t kListGrowth = 8;

static_assert(sizeof kPackageMagic == sizeof(FILEPKG_HEAD::szMagic));
static_assert(sizeof kItemMagic == sizeof(FILEPKG_ITEM::szMagic));

// An item in memory, with its texts terminated.
const FILEPKG_ITEM& head_of(const uint8_t* item) {
    return *reinterpret_cast<const FILEPKG_ITEM*>(item);
}
const char* directory_of(const uint8_t* item) {
    return reinterpret_cast<const char*>(item + kItemSize);
}
const char* name_of(const uint8_t* item) {
    return directory_of(item) + Parts(head_of(item)).directory + 1;
}
void terminate(uint8_t* item) {
    const Parts parts(head_of(item));
    item[kItemSize + parts.directory] = 0;
    item[kItemSize + parts.texts() - 1] = 0;
}

bool is_empty(const char* text) {
    return text == nullptr || text[0] == '\0';
}

int32_t fail_item_size(int32_t line, int64_t size) {
    return kModule.fail(line, kTooLarge, SystemError::none, "itemsize=%s", Decimal(size).text());
}

// Gives the heads and names of a package's items in turn, through a window that takes in the items
// behind as well while those are small: one call of the system for many.
class Reader {
 public:
    Reader(ORVEX_HFILE* package, int64_t length) : package_(package), length_(length) {}

    [[nodiscard]] bool make() {
        window_ = molte::allocate<uint8_t>(kWindow);
        return window_ != nullptr;
    }
    // The item at a position, until the next call; null when its failure is reported.
    uint8_t* item_at(int64_t position) {
        uint8_t* item = bytes(position, kItemSize);
        if (item == nullptr || FILEPKG_IsItemHeadValid(&head_of(item)) == 0) return nullptr;
        const Parts parts(head_of(item));
        if (!parts.fit(length_ - position)) {
            fail_item(here());
            return nullptr;
        }
        near_ = parts.whole() <= kNear;
        const FILEPKG_ITEM head = head_of(item);
        item = bytes(position, kItemSize + parts.texts());
        if (item == nullptr) return nullptr;
        std::memcpy(item, &head, sizeof head);  // the tested one, whatever has come there since
        terminate(item);
        return item;
    }

 private:
    static constexpr int64_t kNear = 16384;
    static constexpr int64_t kAhead = 65536;
    static constexpr int64_t kFar = 512;
    static constexpr int64_t kMostTexts = 2 * (0xFFFF + 1);
    static constexpr int64_t kWindow = kItemSize + kMostTexts;

    uint8_t* bytes(int64_t position, int64_t size) {
        if (position < start_ || position + size > end_) {
            const int64_t ahead = std::min(near_ ? kAhead : kFar, length_ - position);
            const int64_t wanted = std::max(size, ahead);
            start_ = end_ = position;
            if (ORVEX_HFILE_ReadS(package_, window_.get(), position, wanted) != wanted) {
                return nullptr;
            }
            end_ += wanted;
        }
        return window_.get() + (position - start_);
    }

    ORVEX_HFILE* package_;
    int64_t length_;
    molte::Heap<uint8_t> window_;
    int64_t start_ = 0;
    int64_t end_ = 0;
    bool near_ = true;
};

int32_t list_items(ORVEX_HFILE* package, int64_t length, PA* list) {
    Reader reader(package, length);
    if (length > kHeadSize && !reader.make()) return kModule.trace(here());
    for (int64_t at = kHeadSize; at < length;) {
        const uint8_t* item = reader.item_at(at);
        if (item == nullptr) return kModule.trace(here());
        OXFILESTAT record;
        FILEPKG_UTIL_Item2FileStat(item, &record);
        if (PA_Append(list, &record) < 0) return kModule.trace(here());
        at += Parts(head_of(item)).whole();
    }
    return 1;
}

}  // namespace

namespace molte::package {

bool read_item(ORVEX_HFILE* package, int64_t position, int64_t length, FILEPKG_ITEM* item) {
    if (ORVEX_HFILE_ReadS(package, item, position, kItemSize) != kItemSize) return false;
    if (FILEPKG_IsItemHeadValid(item) == 0) return false;
    return Parts(*item).fit(length - position) || fail_item(here()) > 0;
}

}  // namespace molte::package

int32_t FILEPKG_InitFileHead(FILEPKG_HEAD* pHead) {
    if (pHead == nullptr) return kModule.fail(here(), kBadArgument);
    *pHead = {};
    uint4ToChar4(kHeadSize, pHead->nHeadSize);
    std::memcpy(pHead->szMagic, kPackageMagic, sizeof kPackageMagic);
    uint2ToChar2(kVersion, pHead->nVersion);
    return ORVEX_UUID_Gen(pHead->abyUuid);
}

int32_t FILEPKG_IsFileHeadValid(const FILEPKG_HEAD* pHead) {
    if (pHead != nullptr && Char4To_uint4(pHead->nHeadSize) == kHeadSize &&
        Char2To_uint2(pHead->nVersion) == kVersion && Char2To_uint2(pHead->nSubVersion) == 0) {
        return 1;  // whatever the text is: meant
    }
    kModule.fail(here(), kBadPackage);
    return 0;
}

int32_t FILEPKG_InitItemHead(FILEPKG_ITEM* pItem) {
    if (pItem == nullptr) return kModule.fail(here(), kBadArgument);
    *pItem = {};
    uint4ToChar4(kItemSize, pItem->nHeadSize);
    std::memcpy(pItem->szMagic, kItemMagic, sizeof kItemMagic);
    return 1;
}

int32_t FILEPKG_IsItemHeadValid(const FILEPKG_ITEM* pItem) {
    if (pItem != nullptr && Char4To_uint4(pItem->nHeadSize) == kItemSize &&
        std::memcmp(pItem->szMagic, kItemMagic, sizeof kItemMagic) == 0) {
        return 1;
    }
    fail_item(here());
    return 0;
}

int64_t FILEPKG_UTIL_ItemLen(const FILEPKG_ITEM* pItem) {
    if (pItem == nullptr) return kModule.fail(here(), kBadArgument);
    constexpr uint64_t last_bits = kAlignment - 1;
    const uint64_t sum = uint64_t{Char2To_uint2(pItem->nDirLen)} + Char2To_uint2(pItem->nNameLen) +
                         Char8To_uint8(pItem->n64DataLen) + kItemSize + 2 + last_bits;
    return static_cast<int64_t>(sum & ~last_bits);
}

int32_t FILEPKG_BuildFileName(const char* pszRoot, const char* pszDir, const char* pszName,
                              char* pszOut) {
    if (pszRoot == nullptr || pszName == nullptr || pszOut == nullptr) {
        return kModule.fail(here(), kBadArgument);
    }
    const size_t length = std::strlen(pszRoot);
    std::memmove(pszOut, pszRoot, length);
    pszOut[length] = '\\';
    return FILEPKG_BuildRelPath(pszDir, pszName, pszOut + length + 1);
}

int32_t FILEPKG_BuildRelPath(const char* pszDir, const char* pszName, char* pszOut) {
    if (pszName == nullptr || pszOut == nullptr) return kModule.fail(here(), kBadArgument);
    if (!is_empty(pszDir)) {
        const size_t length = std::strlen(pszDir);
        std::memcpy(pszOut, pszDir, length);
        pszOut[length] = '\\';
        pszOut += length + 1;
    }
    std::strcpy(pszOut, pszName);
    return 1;
}

int32_t FILEPKG_UTIL_RelPathFileName(const uint8_t* pItem, char* pszOut) {
    if (pItem == nullptr) {
        kModule.fail(here(), kBadArgument);
    } else {
        FILEPKG_BuildRelPath(directory_of(pItem), name_of(pItem), pszOut);
    }
    return 0;  // whether it worked or not
}

int32_t FILEPKG_ExtractIntoMemory(ORVEX_HFILE* pPackage, int64_t nPos, uint8_t** ppItem,
                                  int32_t bContent) {
    if (ppItem == nullptr) return kModule.fail(here(), kBadArgument);
    *ppItem = nullptr;
    if (nPos < kHeadSize) return kModule.fail(here(), kBadPosition);
    const int64_t length = ORVEX_HFILE_Size(pPackage);
    if (nPos >= length) return kModule.trace(here());
    FILEPKG_ITEM head{};
    if (ORVEX_HFILE_ReadS(pPackage, &head, nPos, kItemSize) != kItemSize) {
        return kModule.trace(here());
    }
    if (FILEPKG_IsItemHeadValid(&head) == 0) return kModule.trace(here());
    const Parts parts(head);
    if (bContent != 0 && parts.content > kMostInMemory) {
        return fail_item_size(here(), parts.content);
    }
    if (!parts.fit(length - nPos)) return fail_item(here());
    const int64_t size = bContent != 0 ? parts.whole() : kItemSize + parts.texts();
    auto item = molte::allocate<uint8_t>(size);
    if (item == nullptr) return kModule.trace(here());
    std::memcpy(item.get(), &head, sizeof head);
    const int64_t rest = size - kItemSize;
    if (ORVEX_HFILE_Read(pPackage, item.get() + kItemSize, rest) != rest) {
        return kModule.trace(here());
    }
    terminate(item.get());
    *ppItem = item.release();
    return 1;
}

int32_t FILEPKG_UTIL_Item2FileStat(const uint8_t* pItem, OXFILESTAT* pRecord) {
    if (pItem == nullptr || pRecord == nullptr) return kModule.fail(here(), kBadArgument);
    const FILEPKG_ITEM& head = head_of(pItem);
    *pRecord = {};
    const char* directory = directory_of(pItem);
    snprintf(pRecord->szName, sizeof pRecord->szName, "%s%s%s", directory,
             is_empty(directory) ? "" : "\\", name_of(pItem));
    std::memcpy(pRecord->nSize, head.n64FileSize, sizeof pRecord->nSize);
    std::memcpy(pRecord->nChangeTime, head.nChangeTime, sizeof pRecord->nChangeTime);
    std::memcpy(pRecord->nModTime, head.nModTime, sizeof pRecord->nModTime);
    std::memcpy(&pRecord->nAttr, head.abyAttr, 1);
    std::memcpy(pRecord->abyReserved1, head.abyAttr + 1, sizeof pRecord->abyReserved1);
    if (head.bDirectory != 0) pRecord->nAttr |= OXFILESTAT_DIRECTORY;
    return 1;
}

int32_t FILEPKG_GetItemList(const char* pszPackage, OXFILESTAT** ppList) {
    if (ppList == nullptr) return kModule.fail(here(), kBadArgument);
    *ppList = nullptr;
    const molte::Handle package(ORVEX_HFILE_Open(pszPackage, ORVEX_OPEN_UPDATE));
    if (!package) return kModule.trace(here());
    const int64_t length = ORVEX_HFILE_Size(package.get());
    if (length < 0) return kModule.trace(here());
    PA list;
    if (PA_Init(&list, sizeof(OXFILESTAT), kFirstInList) < 0) return kModule.trace(here());
    list.nGrowBy = kListGrowth;
    const int32_t count =
        list_items(package.get(), length, &list) > 0 ? list.nCount : kModule.trace(here());
    if (count > 0) {
        *ppList = static_cast<OXFILESTAT*>(list.pData);
    } else {
        PA_Release(&list);
    }
    return count;
}

int32_t FILEPKG_Compress(void) {
    return 0;
}
int32_t FILEPKG_AddInComment(void) {
    return 0;
}
