#include "support/test.h"

namespace {

TEST(IntegerResource, CountsUnitsAndWaitsForThem) {
    MOLTE_INTRESOURCE resource;
    EXPECT_EQ(error_of(MOLTE_INTRESOURCE_Init(&resource, -1)), "50 oxthrdop");
    EXPECT_EQ(MOLTE_INTRESOURCE_Init(&resource, 2), 1);
    EXPECT_EQ(error_of(MOLTE_INTRESOURCE_Free(&resource)), "101 oxthrdop");
    std::atomic<int> inside{0};
    in_threads(5, [&](int) {
        for (int n = 0; n < 500; ++n) {
            ASSERT_EQ(MOLTE_INTRESOURCE_Get(&resource, -1), 1);
            EXPECT_LE(++inside, 2);
            --inside;
            MOLTE_INTRESOURCE_Free(&resource);
        }
    });
    EXPECT_EQ(MOLTE_INTRESOURCE_Get(&resource, 0) + MOLTE_INTRESOURCE_Get(&resource, 0), 2);
    EXPECT_EQ(MOLTE_INTRESOURCE_Get(&resource, 0), 0);
    ORVEX_EVENT_TimeWaitInMilliSecond(resource.hFreeEvent, 1);  // a signal of those above
    const auto begin = steady_clock::now();
    EXPECT_EQ(MOLTE_INTRESOURCE_Get(&resource, 1), 0);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(900));
    g_stBv.bStopAll = 1;
    EXPECT_EQ(MOLTE_INTRESOURCE_Get(&resource, -1), 0);
    MOLTE_INTRESOURCE_Release(&resource);
}

}  // namespace
