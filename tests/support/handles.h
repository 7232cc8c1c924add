// Kernel objects, with or without a name, and handles of them that close themselves.
#pragma once

#include <string>
#include <vector>

#include "platform/kernel_objects.h"
#include "support/pinned.h"

class Handle : public Pinned {
 public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    ~Handle() { CloseHandle(handle_); }
    operator HANDLE() const { return handle_; }  // NOLINT: for the calls under test

 private:
    HANDLE handle_;
};

struct Handles : Pinned, std::vector<HANDLE> {
    using vector::vector;
    ~Handles() {
        for (HANDLE handle : *this) CloseHandle(handle);
    }
    [[nodiscard]] DWORD wait(bool all, DWORD limit) const {
        return WaitForMultipleObjects(static_cast<DWORD>(size()), data(), all, limit);
    }
};

inline HANDLE automatic(bool signalled = false, const std::string& name = "") {
    return CreateEventA(nullptr, FALSE, signalled, name.c_str());
}
inline HANDLE manual(bool signalled = false, const std::string& name = "") {
    return CreateEventA(nullptr, TRUE, signalled, name.c_str());
}
inline HANDLE mutex(bool owned = false, const std::string& name = "") {
    return CreateMutexA(nullptr, owned, name.c_str());
}
inline HANDLE semaphore(LONG count, LONG most, const std::string& name = "") {
    return CreateSemaphoreA(nullptr, count, most, name.c_str());
}
inline DWORD wait_for(HANDLE object, DWORD limit = 0) {
    return WaitForSingleObject(object, limit);
}
