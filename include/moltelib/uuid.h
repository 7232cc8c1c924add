/*
 * Identifiers that are unique in the world: 16 bytes, in the order of their text form. Each uuid
 * below points to 16 bytes. A null pointer is error 50, -1. All functions may be called from any
 * thread.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_UUID_H
#define MOLTELIB_UUID_H

#include "moltelib/base.h"

#define ORVEX_UUID_SIZE 16
#define ORVEX_UUID_TEXT_SIZE 37 /* of the text, with its terminator */

/*
 * A new one, by the system's generator; when that fails, by UTIL_UUID_Gen. 1. Elsewhere than on
 * Windows it is random, of version 4 (RFC 9562), and a forked child never gives its parent's.
 */
MOLTE_API int32_t ORVEX_UUID_Gen(uint8_t* pUuid);

/*
 * A new one by time and timing noise; 1. Never the same twice in a row, but it has neither version
 * nor randomness of worth. It takes until the tick counter moves (1 to 16 milliseconds), one call
 * at a time, and SEEDS the run-time's rand, which disturbs its other users.
 */
MOLTE_API int32_t UTIL_UUID_Gen(uint8_t* pUuid);

/* Writes six bytes of timing noise: NO HARDWARE ADDRESS, in spite of the name. 1. Seeds rand. */
MOLTE_API int32_t UTIL_UUID_GetHWAddress(uint8_t* pAddress);

/* 1 if all bytes are 0, else 0; 1 if the two are equal, else 0. */
MOLTE_API int32_t ORVEX_UUID_IsEmpty(const uint8_t* pUuid);
MOLTE_API int32_t ORVEX_UUID_IsEqual(const uint8_t* pA, const uint8_t* pB);

/* Writes "00112233-4455-6677-8899-AABBCCDDEEFF", in ORVEX_UUID_TEXT_SIZE bytes; 1. */
MOLTE_API int32_t ORVEX_UUID_ToString(const uint8_t* pUuid, char* pszDst);

#endif
