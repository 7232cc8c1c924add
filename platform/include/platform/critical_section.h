// A lock between the threads of one process. The thread that holds it may enter again and then
// leaves as many times. Entering and leaving make no system call unless another thread is in the
// way.
//
// Each of these functions wants a section that was initialized; none reports a failure. A section
// is not to be copied or moved, and nobody may hold it when it is deleted.
#pragma once

#include "platform/types.h"

#if !defined(_WIN32)

#include <pthread.h>

struct CRITICAL_SECTION {
    pthread_mutex_t mutex;
};
// Callers keep it in a block of this size.
static_assert(sizeof(CRITICAL_SECTION) <= 64);

void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
// Only by the thread that holds the section.
void LeaveCriticalSection(CRITICAL_SECTION* section);
// Not zero when the calling thread now holds it, 0 when another does. Never waits.
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);

#endif
