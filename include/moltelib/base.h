/*
 * What every header of moltelib stands on: the export macro, the types of the interface, and the
 * conventions of all its functions.
 *
 * Results. 1 is success, -1 failure, 0 "nothing done", "nothing found" or "no", unless a function
 * says otherwise; a function that returns a pointer returns null on failure. A failure leaves an
 * error record on the calling thread (moltelib/error.h).
 *
 * Nulls. A pointer must not be null unless the function, or the head of its header, says what null
 * does there.
 *
 * Ownership. What a function allocates for its caller is released with ORVEX_free
 * (moltelib/memory.h). What a caller passes in stays the caller's.
 *
 * Text. 8-bit text is in the process's multi-byte code page. Names that end in W take wide text of
 * the platform: UTF-16 on Windows, UTF-32 elsewhere. Paths are built with a backslash; a slash is
 * understood as well.
 *
 * Threads. Containers and string objects never lock; whoever shares one locks around each call.
 */
#ifndef MOLTELIB_BASE_H
#define MOLTELIB_BASE_H

#include <stddef.h>
#include <stdint.h>

#if defined(MOLTE_STATIC) /* as the packages of a static library tell the compiler */
#define MOLTE_DLL
#elif defined(_WIN32)
#if defined(MOLTE_BUILDING)
#define MOLTE_DLL __declspec(dllexport)
#else
#define MOLTE_DLL __declspec(dllimport)
#endif
#else
#define MOLTE_DLL __attribute__((visibility("default")))
#endif

#if defined(__cplusplus)
#define MOLTE_API extern "C" MOLTE_DLL
#else
#define MOLTE_API extern MOLTE_DLL
#endif

#if defined(__GNUC__)
/* The arguments of a printf-like function are checked by the compiler. */
#define MOLTE_PRINTF(format_index, first_argument) \
    __attribute__((format(printf, format_index, first_argument)))
#else
#define MOLTE_PRINTF(format_index, first_argument)
#endif

/* A thread, event, mutex or other object of the system. Null is no handle. */
typedef void* OXHANDLE;

/* A socket of the system. */
typedef uint64_t OXSOCKET;
#define OXSOCKET_INVALID UINT64_MAX

/* A bare critical section: recursive, for the threads of one process. Opaque. */
typedef struct OXCRITSECT {
    uint64_t anPlatform[8];
} OXCRITSECT;

/* A critical section that knows whether it was made. 96 bytes; all zero means not made. */
typedef struct MOLTE_CRIT {
    OXCRITSECT stCrit;
    uint8_t bInited;
    uint8_t abyReserved[31];
} MOLTE_CRIT;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_CRIT) == 96, "the size is part of the interface");
#endif

#endif
