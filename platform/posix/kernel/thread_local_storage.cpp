#include "platform/thread_local_storage.h"

#include <pthread.h>
#include <climits>

#include "platform/last_error.h"

namespace {

bool succeeded(int system_error) {
    if (system_error == 0) return true;
    SetLastError(platform::error_number(system_error));
    return false;
}

}  // namespace

DWORD TlsAlloc() {
    pthread_key_t key = 0;
    if (pthread_key_create(&key, nullptr) == 0) return key;
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return TLS_OUT_OF_INDEXES;
}

BOOL TlsFree(DWORD key) {
    return succeeded(pthread_key_delete(key)) ? TRUE : FALSE;
}

void* TlsGetValue(DWORD key) {
    if (key >= PTHREAD_KEYS_MAX) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    SetLastError(ERROR_SUCCESS);
    return pthread_getspecific(key);
}

BOOL TlsSetValue(DWORD key, void* value) {
    return succeeded(pthread_setspecific(key, value)) ? TRUE : FALSE;
}
