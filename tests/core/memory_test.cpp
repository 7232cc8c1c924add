#include "support/test.h"

namespace {

TEST(Memory, MallocReportsWhatItCannotGive) {
    void* block = ORVEX_release_malloc(100);
    ASSERT_NE(block, nullptr);
    std::memset(block, 0xFF, 100);
    ORVEX_free(block);
    ORVEX_free(nullptr);
    EXPECT_EQ(error_of(ORVEX_release_malloc(-1)), "20 oxsysutl Size=-1");
    EXPECT_EQ(error_line_of_this_thread(), 1382);
    EXPECT_STREQ(ORVEX_GetErrData()->szSysErr, std::strerror(ENOMEM));
}

TEST(Memory, ReallocGrowsByItemsAndZeroesTheNewOnes) {
    void* data = nullptr;
    int32_t capacity = -5;
    const auto bytes = [&data](size_t size) { return std::string(static_cast<char*>(data), size); };
    ASSERT_EQ(ORVEX_release_realloc(&data, 8, &capacity, 0), 1);
    EXPECT_EQ(capacity, 16);
    EXPECT_EQ(bytes(128), std::string(128, '\0'));
    std::memset(data, 'x', 128);
    ASSERT_EQ(ORVEX_release_realloc(&data, 8, &capacity, 3), 1);
    EXPECT_EQ(capacity, 19);
    EXPECT_EQ(bytes(152), std::string(128, 'x') + std::string(24, '\0'));

    void* const before = data;
    capacity = INT32_MAX;
    EXPECT_EQ(ORVEX_release_realloc(&data, 8, &capacity, 16), -1);
    EXPECT_EQ(capacity, INT32_MAX);
    EXPECT_EQ(data, before);
    EXPECT_EQ(error_of_this_thread(), "20 oxsysutl Size O=17179869176 S=128");
    EXPECT_EQ(error_line_of_this_thread(), 1324);
    EXPECT_EQ(ORVEX_release_realloc(&data, 0, &capacity, 1), -1);
    EXPECT_EQ(error_of(ORVEX_release_realloc(&data, 8, nullptr, 1)), "50 oxsysutl");
    ThreadFreeMemory(data);

    data = nullptr;  // a capacity without a block: all of it is new
    capacity = 4;
    ASSERT_EQ(ORVEX_release_realloc(&data, 1, &capacity, 4), 1);
    EXPECT_EQ(bytes(8), std::string(8, '\0'));
    ORVEX_CONVBAR_FreeMem(data);
}

}  // namespace
