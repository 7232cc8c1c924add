#include "../../source/system/os_type.h"
#include "support/test.h"

namespace {

TEST(SystemInfo, NamesOfSystems) {
    const std::pair<int32_t, Text> names[] = {{-1, "Unkown"},    {0, "Unkown"},    {1, "Win95"},
                                              {5, "WinNT3.51"},  {9, "Unkown"},    {11, "Unix"},
                                              {15, "Win2003R2"}, {19, "Windows8"}, {20, "Unkown"}};
    for (const auto& [type, name] : names) EXPECT_STREQ(MOLTE_OsType2String(type), name);
    const Text classes[] = {"Unix", "Windows", "Unknown"};
    for (int32_t i = 0; i < 3; ++i) EXPECT_STREQ(MOLTE_OsClass2String(i), classes[i]);
}

TEST(SystemInfo, TypeFromTheVersionOfWindows) {
    constexpr bool kStation = true;
    constexpr bool kServer = false;
    const struct {
        uint32_t platform, major, minor;
        bool workstation;
        int32_t type;
    } cases[] = {
        {0, 3, 1, kStation, 6},  {1, 4, 0, kStation, 1},   {1, 4, 10, kStation, 2},
        {1, 5, 0, kStation, 8},  {2, 10, 0, kStation, 19}, {2, 7, 0, kServer, 19},
        {2, 6, 0, kStation, 14}, {2, 6, 0, kServer, 16},   {2, 6, 1, kServer, 17},
        {2, 6, 1, kStation, 18}, {2, 6, 2, kServer, 18},   {2, 5, 0, kStation, 4},
        {2, 5, 1, kStation, 12}, {2, 5, 2, kServer, 13},   {2, 4, 0, kServer, 3},
        {2, 3, 51, kStation, 5}, {2, 3, 50, kStation, 7},  {2, 2, 0, kStation, 7},
        {3, 6, 1, kStation, 8},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(molte::windows_type(c.platform, c.major, c.minor, c.workstation), c.type)
            << c.platform << ' ' << c.major << '.' << c.minor;
    }
#if defined(_WIN32)
    EXPECT_NE(ORVEX_GetOsType(), 11);
#else
    EXPECT_EQ(ORVEX_GetOsType(), 11);
#endif
}

TEST(SystemInfo, ComputerNameIsCutToTheBuffer) {
    char name[64];
    char narrow[4];
    wchar_t wide[64];
    ASSERT_EQ(ORVEX_GetComputerName(name, sizeof name), 1);
    ASSERT_GT(std::strlen(name), 0U);
    EXPECT_EQ(ORVEX_GetComputerNameWithOpt(narrow, 3, 0), 1);
    EXPECT_EQ(std::string(narrow), std::string(name).substr(0, 2));
    EXPECT_EQ(ORVEX_GetComputerNameWithOpt(narrow, 1, 0), 1);
    EXPECT_STREQ(narrow, "");
    ASSERT_EQ(ORVEX_GetComputerNameW(wide, 64), 1);
    EXPECT_EQ(std::wstring(wide), std::wstring(name, name + std::strlen(name)));
    EXPECT_EQ(ORVEX_GetComputerName(nullptr, 5), -1);
    EXPECT_EQ(ORVEX_GetComputerNameWithOptW(nullptr, 5, 1), -1);
    EXPECT_EQ(error_of(ORVEX_GetComputerName(name, 0)), "50 oxsysutl");
}

}  // namespace
