#include "moltelib/memory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "moltelib.h"
#include "support/error_of.h"

namespace {

TEST(Memory, MallocReportsWhatItCannotGive) {
    void* block = ORVEX_release_malloc(100);
    ASSERT_NE(block, nullptr);
    std::memset(block, 0xFF, 100);
    ORVEX_free(block);
    ORVEX_free(nullptr);
    EXPECT_EQ(ORVEX_release_malloc(-1), nullptr);
    EXPECT_EQ(error_of_this_thread(), "20 oxsysutl Size=-1");
    EXPECT_EQ(error_line_of_this_thread(), 1382);
    EXPECT_EQ(ORVEX_GetErrData()->nSysErrNo[3], ENOMEM);
    EXPECT_EQ(ORVEX_GetErrData()->bHasSysErr, 1);
}

TEST(Memory, ReallocGrowsByItemsAndZeroesTheNewOnes) {
    void* data = nullptr;
    int32_t capacity = -5;
    ASSERT_EQ(ORVEX_release_realloc(&data, 8, &capacity, 0), 1);
    EXPECT_EQ(capacity, 16);
    auto* bytes = static_cast<uint8_t*>(data);
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 128), std::vector<uint8_t>(128));
    std::memset(bytes, 7, 128);
    ASSERT_EQ(ORVEX_release_realloc(&data, 8, &capacity, 3), 1);
    EXPECT_EQ(capacity, 19);
    bytes = static_cast<uint8_t*>(data);
    std::vector<uint8_t> expected(128, 7);
    expected.resize(152);
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 152), expected);

    void* const before = data;
    capacity = INT32_MAX;
    EXPECT_EQ(ORVEX_release_realloc(&data, 8, &capacity, 16), -1);
    EXPECT_EQ(capacity, INT32_MAX);
    EXPECT_EQ(data, before);
    EXPECT_EQ(error_of_this_thread(), "20 oxsysutl Size O=17179869176 S=128");
    EXPECT_EQ(error_line_of_this_thread(), 1324);
    ThreadFreeMemory(data);

    data = nullptr;  // a capacity without a block: all of it is new
    capacity = 4;
    ASSERT_EQ(ORVEX_release_realloc(&data, 1, &capacity, 4), 1);
    EXPECT_EQ(std::memcmp(data, "\0\0\0\0\0\0\0", 8), 0);
    ORVEX_CONVBAR_FreeMem(data);
}

TEST(Memory, ReallocRefusesBadArguments) {
    void* data = nullptr;
    int32_t capacity = 0;
    EXPECT_EQ(ORVEX_release_realloc(nullptr, 8, &capacity, 1), -1);
    EXPECT_EQ(ORVEX_release_realloc(&data, 8, nullptr, 1), -1);
    EXPECT_EQ(ORVEX_release_realloc(&data, 0, &capacity, 1), -1);
    EXPECT_EQ(ORVEX_release_realloc(&data, -8, &capacity, 1), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxsysutl");
}

TEST(Memory, TheFormerDebugNamesGiveFixedAnswers) {
    EXPECT_EQ(ORVEX_debug_realloc(), -1);
    EXPECT_EQ(ORVEX_dbg_malloc(), 0);
    EXPECT_EQ(MOLTE_DumpMemoryLeak(), 0);
    EXPECT_EQ(ORVEX_ALLOCHOOK_Install(), 1);
}

}  // namespace
