/*
 * The hardware addresses of the machine's network adapters.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_NETWORK_ADDRESS_H
#define MOLTELIB_NETWORK_ADDRESS_H

#include "moltelib/base.h"

#define MOLTE_MAC_SIZE 6
#define MOLTE_MACLIST_MAX 10

/* 64 bytes. */
typedef struct MOLTE_MACLIST {
    uint8_t nCount; /* 0 to 10 */
    uint8_t abyReserved[3];
    uint8_t aaMac[MOLTE_MACLIST_MAX][MOLTE_MAC_SIZE];
} MOLTE_MACLIST;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_MACLIST) == 64 && offsetof(MOLTE_MACLIST, aaMac) == 4);
#endif

/*
 * Fills the list with the first 10 adapters that the system names, on Linux all but loopback that
 * have an Ethernet address; of an address longer than 6 bytes the first 6. The count, 0 if there is
 * none; -1 with error 101 ("get mac address") on failure, with error 50 for null.
 */
MOLTE_API int32_t MOLTE_UTIL_GetMacAddress(MOLTE_MACLIST* pList);

/*
 * Writes nLen bytes as "00-1A-2B-..." and returns pszDst; below 1 an empty text. Null with error 50
 * when nDstLen is less than three times nLen or less than 1, or for a null pointer.
 */
MOLTE_API char* MOLTE_UTIL_Mac2String(const uint8_t* pMac, int32_t nLen, char* pszDst,
                                      int32_t nDstLen);

#endif
