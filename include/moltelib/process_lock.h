/*
 * Mutexes and semaphores between processes.
 *
 * An object is a handle in a word that the caller owns and passes by address; each handle is
 * released once. Objects go by names that all processes of the user share, of at most 254 bytes:
 * an event, say, and a mutex can't have one name. With a null or empty name Create makes one that
 * is the process's own. An object lives as long as any process has it open.
 *
 * A mutex belongs to the thread that locked it, which may lock it again and unlocks it as many
 * times. Functions may be called from any thread.
 *
 * Failures are reported under module "oxipc". A null pHandle is error 50, where no other is told.
 */
#ifndef MOLTELIB_PROCESS_LOCK_H
#define MOLTELIB_PROCESS_LOCK_H

#include "moltelib/base.h"

/* ---- Mutexes ---- */

/* Makes a mutex that nobody holds, or finds the one of that name. 1, or -1 with *phMutex null and
 * error 1201, the name as data. */
MOLTE_API int32_t MOLTE_MUTEX_Create(OXHANDLE* phMutex, const char* pszName);

/* Opens one that stands; -1 with error 1202, the name as data. */
MOLTE_API int32_t MOLTE_MUTEX_Open(OXHANDLE* phMutex, const char* pszName);

/*
 * Locks: MOLTE_IPC_TimeWait by another name. MIND: after the death of the thread or process that
 * held it, the next one gets -1 WITH ERROR 1200 AND HOLDS THE MUTEX ALL THE SAME. What the mutex
 * guards may be half done: look at it, then unlock. Only MOLTE_MUTEX_Unlock tells this -1 from one
 * without the mutex: it succeeds.
 */
MOLTE_API int32_t MOLTE_MUTEX_Lock(OXHANDLE* phMutex, int32_t nSeconds);

/* 1, or -1 with error 1203 ("release mutex error") for who doesn't hold it. */
MOLTE_API int32_t MOLTE_MUTEX_Unlock(OXHANDLE* phMutex);

/* MOLTE_IPC_Release by another name. */
MOLTE_API int32_t MOLTE_MUTEX_Release(OXHANDLE* phMutex);

/* ---- Semaphores ---- */

/*
 * Makes a semaphore with nInitial units of at most nMax, or finds the one of that name as it is. 1,
 * or -1 with *phSemaphore null and error 1204, the name as data. Null pointers, AN nInitial BELOW 1
 * (one starts with at least one unit) and an nMax below nInitial are error 410.
 */
MOLTE_API int32_t MOLTE_SEMA_Create(OXHANDLE* phSemaphore, int32_t nInitial, int32_t nMax,
                                    const char* pszName);

/* Opens one that stands; -1 with error 1205, the name as data, or 1206 for null pointers. */
MOLTE_API int32_t MOLTE_SEMA_Open(OXHANDLE* phSemaphore, const char* pszName);

/* Takes a unit: MOLTE_IPC_TimeWait by another name. */
MOLTE_API int32_t MOLTE_SEMA_GetResource(OXHANDLE* phSemaphore, int32_t nSeconds);

/* Gives one back. 1, or -1 with error 1207 ("release semaphore"), as when nMax are there; 1208 for
 * null. A unit that its taker died with is not given back. */
MOLTE_API int32_t MOLTE_SEMA_FreeResource(OXHANDLE* phSemaphore);

/* MOLTE_IPC_Release by another name. */
MOLTE_API int32_t MOLTE_SEMA_Release(OXHANDLE* phSemaphore);

/* ---- Both ---- */

/*
 * Waits at most nSeconds; below 1 without end. 1 got, 0 time-out; -1 with error 409 for a null
 * pointer or handle, 1200 ("wait failed", with errno) for a wait that failed AND FOR A MUTEX THAT
 * WAS GOT FROM A DEAD HOLDER.
 */
MOLTE_API int32_t MOLTE_IPC_TimeWait(OXHANDLE* phObject, int32_t nSeconds);

/* Closes the handle, which the caller's word keeps. The system's own result: 0 is failure. A mutex
 * that is held stays held: unlock it first. */
MOLTE_API int32_t MOLTE_IPC_Release(OXHANDLE* phObject);

#endif
