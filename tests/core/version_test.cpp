#include "moltelib/version.h"

#include "support/test.h"

namespace {

// What the build calls itself is what headers and library say.
TEST(Version, IsOne) {
    EXPECT_STREQ(MOLTELIB_VERSION, PROJECT_VERSION);
    EXPECT_STREQ(MOLTELIB_Version(), PROJECT_VERSION);
    int parts[3] = {};
    ASSERT_EQ(std::sscanf(PROJECT_VERSION, "%d.%d.%d", &parts[0], &parts[1], &parts[2]), 3);
    EXPECT_EQ(MOLTELIB_VersionNumber(), parts[0] * 10000 + parts[1] * 100 + parts[2]);
    EXPECT_EQ(MOLTELIB_VERSION_NUMBER, MOLTELIB_VersionNumber());
}

}  // namespace
