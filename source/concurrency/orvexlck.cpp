// Locks by name between the threads of the process.
#include <algorithm>
#include <atomic>
#include <cstring>

#include "concurrency/oxthrdop.h"
#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/list_lock.h"

using molte::here;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOrvexlck;
constexpr uint32_t kNoTable = 3501;
constexpr uint32_t kFull = 3502;
constexpr uint32_t kNulls = 3503;
constexpr uint32_t kBadHandle = 3504;
constexpr int32_t kMostSlots = 2048;

std::atomic<int32_t> slots_wanted{32};
std::atomic<ORVEX_LISTLOCK*> the_table{nullptr};

// Of who makes or ends the table.
OXCRITSECT& table_lock() {
    static molte::LastingLock lock;
    return lock.section;
}

// Null on failure, which is then already reported.
ORVEX_LISTLOCK* new_table(int32_t slots) {
    auto list = molte::allocate<ORVEX_LISTLOCK>(1);
    if (list == nullptr) return nullptr;
    auto items = molte::allocate<ORVEX_LISTLOCKITEM>(slots);
    if (items == nullptr) return nullptr;
    list[0] = {};
    ORVEX_InitCritSect(&list[0].stCrit);
    list[0].nMaxItem = slots;
    for (ORVEX_LISTLOCKITEM* item = items.get(); item != items.get() + slots; ++item) {
        *item = {};
        ORVEX_InitCritSect(&item->stCrit);
    }
    list[0].pItem = items.release();
    return list.release();
}

// The slot of a name, or one for it: of those that are free the highest, else the next; -1 when
// there is none. The table is locked.
int32_t slot_for(ORVEX_LISTLOCK* list, const char* name) {
    int32_t slot = -1;
    for (int32_t i = 0; i < list->nUsed; ++i) {
        const ORVEX_LISTLOCKITEM& item = list->pItem[i];
        if (item.nRef < 1) {
            slot = i;
        } else if (item.bNoMatch == 0 && std::strcmp(item.szName, name) == 0) {
            return i;
        }
    }
    if (slot < 0 && list->nUsed < list->nMaxItem) slot = list->nUsed++;
    return slot;
}

// Its slot then stays taken, also while the caller waits for it; -1 when there is none.
int32_t take_slot(ORVEX_LISTLOCK* list, const char* name) {
    const molte::CritGuard guard(list->stCrit);
    const int32_t slot = slot_for(list, name);
    if (slot < 0) return -1;
    ORVEX_LISTLOCKITEM& item = list->pItem[slot];
    if (item.nRef < 1) {
        item.nRef = 0;
        item.bNoMatch = 0;
        std::strcpy(item.szName, name);
    }
    ++item.nRef;
    return slot;
}

// Whether the handle is a lock of the calling thread.
bool is_held(const ORVEX_LISTLOCK* list, const ORVEX_LISTLOCKHANDLE& handle) {
    return handle.nIndex >= 0 && handle.nIndex < list->nMaxItem && handle.pList == list &&
           molte::holds(list->pItem[handle.nIndex].stCrit);
}

}  // namespace

// ---- The table ----

int32_t ORVEX_LOCK_GetListLockCnt(void) {
    return slots_wanted;
}

int32_t ORVEX_LOCK_SetListLockCnt(int32_t /*nUnused*/, int32_t nCount) {
    slots_wanted = std::min(nCount, kMostSlots);
    return 1;
}

int32_t ORVEX_LOCK_ListLockInit(void) {
    if (the_table != nullptr) return 1;
    const molte::CritGuard guard(table_lock());
    if (the_table != nullptr) return 1;
    the_table = new_table(slots_wanted);
    return the_table != nullptr ? 1 : kModule.trace(here());
}

int32_t ORVEX_LOCK_ListLockFree(void) {
    const molte::CritGuard guard(table_lock());
    ORVEX_LISTLOCK* const list = the_table.exchange(nullptr);
    if (list == nullptr) return 0;
    ORVEX_DestroyCritSect(&list->stCrit);
    for (int32_t i = 0; i < list->nMaxItem; ++i) ORVEX_DestroyCritSect(&list->pItem[i].stCrit);
    ORVEX_free(list->pItem);
    ORVEX_free(list);
    return 1;
}

// ---- Locks ----

int32_t ORVEX_LOCK_LockItem(ORVEX_LISTLOCKHANDLE* pHandle, int32_t /*nUnused1*/,
                            int32_t /*nUnused2*/, int32_t /*nUnused3*/, const char* pszName) {
    if (pHandle == nullptr || pszName == nullptr) {
        return kModule.fail_text(here(), kNulls, SystemError::runtime,
                                 "Function parameters have null values");
    }
    // Cut to what a slot holds, two names could be one.
    if (strnlen(pszName, ORVEX_LISTLOCK_NAME_SIZE) == ORVEX_LISTLOCK_NAME_SIZE) {
        return kModule.fail(here(), molte::kBadArgument);
    }
    if (ORVEX_LOCK_ListLockInit() < 1) return kModule.trace(114);
    ORVEX_LISTLOCK* const list = the_table;
    const int32_t slot = take_slot(list, pszName);
    if (slot < 0) return kModule.fail(here(), kFull, SystemError::platform);
    *pHandle = {list, slot};
    return ORVEX_EnterCritSect(&list->pItem[slot].stCrit);
}

int32_t ORVEX_LOCK_UnLockItem(ORVEX_LISTLOCKHANDLE* pHandle) {
    ORVEX_LISTLOCK* const list = the_table;
    if (list == nullptr) return kModule.fail(here(), kNoTable, SystemError::platform);
    if (pHandle == nullptr || !is_held(list, *pHandle)) return kModule.fail(here(), kBadHandle);
    const molte::CritGuard guard(list->stCrit);
    ORVEX_LISTLOCKITEM& item = list->pItem[pHandle->nIndex];
    --item.nRef;
    if (item.nRef < 1 && list->nUsed == pHandle->nIndex + 1) --list->nUsed;
    ORVEX_LeaveCritSect(&item.stCrit);
    pHandle->nIndex = -1;
    return 1;
}
