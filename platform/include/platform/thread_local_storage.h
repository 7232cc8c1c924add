// A word per thread and key. A new key reads null in every thread, also when its number was in use
// before. Nothing is called at the end of a thread: what its words point to stays.
#pragma once

#include "platform/types.h"

#if !defined(_WIN32)

constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFF;

// A key, or TLS_OUT_OF_INDEXES with ERROR_NOT_ENOUGH_MEMORY. There are at least 64.
DWORD TlsAlloc();
// False with ERROR_INVALID_PARAMETER for a number that is no key. On POSIX the keys are those of
// pthread_key_create: one made by that is freed as well.
BOOL TlsFree(DWORD key);
// The calling thread's word, null before the first TlsSetValue. Since null says nothing about
// success, this call also sets the last error: to 0, or to ERROR_INVALID_PARAMETER for a number
// that can't be a key.
void* TlsGetValue(DWORD key);
// False with ERROR_INVALID_PARAMETER for a number that can't be a key, ERROR_NOT_ENOUGH_MEMORY.
BOOL TlsSetValue(DWORD key, void* value);

#endif
