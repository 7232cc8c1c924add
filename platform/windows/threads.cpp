#include "platform/threads.h"

namespace platform {

bool thread_lives(DWORD number) {
    HANDLE thread = OpenThread(SYNCHRONIZE | THREAD_QUERY_LIMITED_INFORMATION, FALSE, number);
    if (thread == nullptr) return false;
    const bool lives = GetProcessIdOfThread(thread) == GetCurrentProcessId() &&
                       WaitForSingleObject(thread, 0) == WAIT_TIMEOUT;
    CloseHandle(thread);
    return lives;
}

}  // namespace platform
