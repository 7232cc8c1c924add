#include "platform/thread_local_storage.h"

#include "support/common.h"
#include "support/error_if.h"

namespace {

// 64 keys fit a thread's own record on Windows; beyond, the words are elsewhere.
TEST(ThreadLocalStorage, EachThreadHasItsOwnWordForEachKey) {
    std::set<DWORD> keys;
    while (keys.size() < 100) {
        ASSERT_TRUE(keys.insert(TlsAlloc()).second);
    }
    const auto use = [&](std::uintptr_t base) {
        for (const DWORD key : keys) {
            EXPECT_EQ(TlsGetValue(key), nullptr);
            EXPECT_NE(TlsSetValue(key, reinterpret_cast<void*>(base + key)), FALSE);
        }
    };
    use(1000);
    std::thread(use, 5000).join();
    for (const DWORD key : keys) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(TlsGetValue(key)), 1000U + key);
        EXPECT_NE(TlsFree(key), FALSE);
    }
    const DWORD again = TlsAlloc();
    SetLastError(5);
    EXPECT_EQ(TlsGetValue(again), nullptr);  // not what the key's word was before
    EXPECT_EQ(GetLastError(), 0U);           // which tells a null word from a bad key
    EXPECT_NE(TlsFree(again), FALSE);
    EXPECT_EQ(error_if(TlsFree(again) == FALSE), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error_if(TlsGetValue(TLS_OUT_OF_INDEXES) == nullptr), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error_if(TlsSetValue(TLS_OUT_OF_INDEXES, nullptr) == FALSE),
              DWORD{ERROR_INVALID_PARAMETER});
}

}  // namespace
