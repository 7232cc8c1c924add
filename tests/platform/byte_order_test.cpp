#include "platform/byte_order.h"
#include "support/common.h"

TEST(ByteOrder, VectorAndPlainAgree) {
    for (size_t count = 0; count <= 40; ++count) {
        for (size_t shift = 0; shift < 4; ++shift) {  // in and out of alignment, and no byte beyond
            std::vector<uint32_t> numbers(count + 8);
            for (size_t i = 0; i < numbers.size(); ++i) {
                numbers[i] = static_cast<uint32_t>(0x01020304 + i * 0x01010101);
            }
            std::vector<uint32_t> expected = numbers;
            platform::swap_bytes(numbers.data() + shift, count);
            platform::swap_bytes_plainly(expected.data() + shift, count);
            EXPECT_EQ(numbers, expected) << count << " from " << shift;
        }
    }
    uint32_t one = 0x01020304;
    platform::swap_bytes_plainly(&one, 1);
    EXPECT_EQ(one, 0x04030201U);
}
