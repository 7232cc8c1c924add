#include "platform/thread_local_storage.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "platform/last_error.h"

namespace {

void* word(std::uintptr_t value) {
    return reinterpret_cast<void*>(value);
}

TEST(ThreadLocalStorage, EachThreadHasItsOwnWord) {
    const DWORD key = TlsAlloc();
    ASSERT_NE(key, DWORD{TLS_OUT_OF_INDEXES});
    EXPECT_EQ(TlsGetValue(key), nullptr);
    EXPECT_NE(TlsSetValue(key, word(1)), FALSE);
    std::thread([&] {
        EXPECT_EQ(TlsGetValue(key), nullptr);
        EXPECT_NE(TlsSetValue(key, word(2)), FALSE);
        EXPECT_EQ(TlsGetValue(key), word(2));
    }).join();
    EXPECT_EQ(TlsGetValue(key), word(1));
    EXPECT_NE(TlsFree(key), FALSE);
}

// 64 fit a thread's own record on Windows; beyond, the words are elsewhere.
TEST(ThreadLocalStorage, ManyKeysHoldDifferentWords) {
    std::set<DWORD> keys;
    while (keys.size() < 100) {
        const DWORD key = TlsAlloc();
        if (key == TLS_OUT_OF_INDEXES) break;
        ASSERT_TRUE(keys.insert(key).second);
        ASSERT_NE(TlsSetValue(key, word(key + 1000U)), FALSE);
    }
    EXPECT_GE(keys.size(), 64U);
    for (const DWORD key : keys) {
        EXPECT_EQ(TlsGetValue(key), word(key + 1000U));
        EXPECT_NE(TlsFree(key), FALSE);
    }
}

TEST(ThreadLocalStorage, AKeyUsedAgainReadsNull) {
    DWORD key = TlsAlloc();
    std::thread([&] {
        TlsSetValue(key, word(1));
        for (int round = 0; round < 100; ++round) {
            TlsFree(key);
            key = TlsAlloc();
            ASSERT_EQ(TlsGetValue(key), nullptr) << round;
            TlsSetValue(key, word(1));
        }
    }).join();
    EXPECT_EQ(TlsGetValue(key), nullptr);
    TlsFree(key);
}

TEST(ThreadLocalStorage, TheLastErrorTellsANullWordFromABadKey) {
    const DWORD key = TlsAlloc();
    SetLastError(5);
    EXPECT_EQ(TlsGetValue(key), nullptr);
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_NE(TlsFree(key), FALSE);
    EXPECT_EQ(TlsFree(key), FALSE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});

    SetLastError(5);
    EXPECT_EQ(TlsGetValue(TLS_OUT_OF_INDEXES), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    SetLastError(5);
    EXPECT_EQ(TlsSetValue(TLS_OUT_OF_INDEXES, nullptr), FALSE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

}  // namespace
