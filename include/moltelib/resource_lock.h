/*
 * Locks on resources that exist only as values, such as the key of a database or the SID of a
 * record, with no lock object for each. A table holds the identifiers that are locked or wanted at
 * this moment, so its cost follows their number; it grows as needed and doesn't shrink.
 *
 *     MOLTE_RESLOCK* locks = MOLTE_RESLOCK_Init(NULL, 64, 16);
 *     MOLTE_RESLOCKID id;
 *     if (MOLTE_RESLOCK_LockBySID(locks, &id, CARD, 0, sid, 0) > 0) {
 *         ...
 *         MOLTE_RESLOCK_Unlock(locks, &id);
 *     }
 *
 * A lock is of the thread that took it, and that thread gives it up. It may lock the same resource
 * again, with AN IDENTIFIER RECORD OF ITS OWN FOR EACH LOCK. Waits have no time limit, and nothing
 * orders the locks of a thread that holds one and waits for another: deadlocks are the caller's.
 *
 * Functions may be called from any thread, but for making and releasing a table. A null table,
 * identifier, key or array is error 50 and -1.
 *
 * Failures are reported under module "oreslock".
 */
#ifndef MOLTELIB_RESOURCE_LOCK_H
#define MOLTELIB_RESOURCE_LOCK_H

#include "moltelib/base.h"

#define MOLTE_RESLOCK_KEY_SIZE 36

/*
 * Names a resource, in the caller's memory, from the lock to the unlock. It is compared as bytes,
 * by default the first 48, so it is zeroed before it is filled: the two functions that fill and
 * lock do that, the two that only fill it don't.
 */
typedef struct MOLTE_RESLOCKID {
    uint8_t nResType[2];                /* big-endian, as are the next two */
    uint8_t nResSubType[2];             /* of that type */
    uint8_t n64Sid[8];                  /* for an identifier by SID */
    char szKey[MOLTE_RESLOCK_KEY_SIZE]; /* for one by key; not terminated */
    uint8_t nLen;                       /* bytes in use: 12, or 12 and those of the key */
    uint8_t bLocked;                    /* from a successful lock to the unlock */
    uint8_t abyReserved[14];
} MOLTE_RESLOCKID;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_RESLOCKID) == 64, "the layout is what is compared");
static_assert(offsetof(MOLTE_RESLOCKID, n64Sid) == 4, "the layout is what is compared");
static_assert(offsetof(MOLTE_RESLOCKID, szKey) == 12, "the layout is what is compared");
static_assert(offsetof(MOLTE_RESLOCKID, nLen) == 48, "the layout is what is compared");
static_assert(offsetof(MOLTE_RESLOCKID, bLocked) == 49, "the layout is what is compared");
#endif

/* Compares two nodes by the identifiers they begin with: negative, 0 or positive. */
typedef int (*MOLTE_RESLOCKCOMPARE)(const void* pA, const void* pB);

typedef struct MOLTE_RESLOCKNODE {
    MOLTE_RESLOCKID stId;
    MOLTE_CRIT stCrit; /* the lock proper */
    int32_t nRef;      /* holders and waiters */
    MOLTE_RESLOCKCOMPARE pfnCmp;
} MOLTE_RESLOCKNODE;

typedef struct MOLTE_RESLOCK {
    MOLTE_RESLOCKCOMPARE pfnCmp;
    MOLTE_RESLOCKNODE** ppNode;
    int32_t nCapacity;   /* slots in ppNode */
    int32_t nActive;     /* the first so many are in use, sorted by pfnCmp */
    int32_t nNode;       /* nodes allocated; those behind nActive are free */
    int32_t nPeakActive; /* the highest nActive so far */
    MOLTE_CRIT stCrit;   /* the table's lock, never held while a thread waits for a resource */
} MOLTE_RESLOCK;

/* ---- Tables ---- */

/*
 * A new table, for MOLTE_RESLOCK_Release; null on failure. pfnCmp tells which identifiers are one
 * resource; null compares the first 48 bytes. nCapacity, held to 16 to 1024, is a start and no
 * limit; nPreAlloc nodes, 8 at least and nCapacity at most, are made at once.
 */
MOLTE_API MOLTE_RESLOCK* MOLTE_RESLOCK_Init(MOLTE_RESLOCKCOMPARE pfnCmp, int32_t nCapacity,
                                            int32_t nPreAlloc);

/* Frees a table with all its nodes and clears the caller's pointer; 1, also for null and a null
 * pointer. Nobody may hold, want or give up a resource of it. */
MOLTE_API int32_t MOLTE_RESLOCK_Release(MOLTE_RESLOCK** ppLock);

/* ---- Locks ---- */

/*
 * Waits for the resource and takes it; 1, with bLocked of *pId set. -1 when memory is out, and
 * nothing is locked. nOption IS NOT LOOKED AT, here and below.
 */
MOLTE_API int32_t MOLTE_RESLOCK_Lock(MOLTE_RESLOCK* pLock, MOLTE_RESLOCKID* pId, int32_t nOption);

/*
 * Gives it up; 1, or 0 when bLocked of *pId isn't set. -1 with error 101, and "unlock error\n" as
 * an error message, when the table doesn't have the identifier; bLocked is cleared then too. The
 * same, but with bLocked as it was, when another thread holds the resource.
 */
MOLTE_API int32_t MOLTE_RESLOCK_Unlock(MOLTE_RESLOCK* pLock, MOLTE_RESLOCKID* pId);

/* Zero *pId, fill it as the functions below do, and lock. A key that is refused leaves it as it
 * was. */
MOLTE_API int32_t MOLTE_RESLOCK_LockByKey(MOLTE_RESLOCK* pLock, MOLTE_RESLOCKID* pId,
                                          int32_t nResType, int32_t nResSubType, const void* pKey,
                                          int32_t nKeyLen, int32_t nOption);
MOLTE_API int32_t MOLTE_RESLOCK_LockBySID(MOLTE_RESLOCK* pLock, MOLTE_RESLOCKID* pId,
                                          int32_t nResType, int32_t nResSubType, uint64_t n64Sid,
                                          int32_t nOption);

/* ---- Identifiers ---- */

/*
 * Write the low 16 bits of the two numbers, the key or the SID, and nLen; 1. THE REST STAYS AS IT
 * IS: the caller has zeroed *pId. A key of fewer than 0 or more than 36 bytes is error 50 and -1,
 * and nothing is written.
 */
MOLTE_API int32_t MOLTE_RESLOCKID_PackByKey(MOLTE_RESLOCKID* pId, int32_t nResType,
                                            int32_t nResSubType, const void* pKey, int32_t nKeyLen);
MOLTE_API int32_t MOLTE_RESLOCKID_PackBySID(MOLTE_RESLOCKID* pId, int32_t nResType,
                                            int32_t nResSubType, uint64_t n64Sid);

/*
 * A comparison for a table: the shorter nLen goes first, and with the same nLen so many bytes are
 * compared, 48 at most. AN EMPTY KEY AND THE SID 0 of the same type are one resource.
 */
MOLTE_API int MOLTE_RESKEYSIDLOCKID_Cmp(const void* pA, const void* pB);

/* ---- The nodes of a table ---- */

/* Makes the lock of a node; 1. */
MOLTE_API int32_t MOLTE_RESLOCKNODE_Init(MOLTE_RESLOCKNODE* pNode);

/* Deletes the lock if it was made and zeroes the node, which isn't freed; 1, also for null. */
MOLTE_API int32_t MOLTE_RESLOCKNODE_Release(MOLTE_RESLOCKNODE* pNode);

/* Compares two pointers to node pointers by pfnCmp of the first node. */
MOLTE_API int MOLTE_RESLOCKNODE_Cmp(const void* ppA, const void* ppB);

/* The index of an identifier among the first n nodes, which are sorted by pfnCmp of the first; -1
 * without an error when there is none. */
MOLTE_API int32_t MOLTE_RESLOCKNODE_Find(MOLTE_RESLOCKNODE* const* ppNode, int32_t n,
                                         const MOLTE_RESLOCKID* pId);

/* Where to insert it among them: behind all that are not greater; 0 for n below 1. */
MOLTE_API int32_t MOLTE_RESLOCKNODE_FindInsPos(MOLTE_RESLOCKNODE* const* ppNode, int32_t n,
                                               const MOLTE_RESLOCKID* pId);

#endif
