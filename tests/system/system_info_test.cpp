#include "../../source/system/os_type.h"
#include "support/test.h"

namespace {

TEST(SystemInfo, NamesOfSystems) {
    const char* const names[] = {
        "Unkown",   "Win95",     "Win98",   "WinNT4",    "Win2000",  "WinNT3.51", "Win31",
        "WinNT",    "Windows",   "Unkown",  "Unkown",    "Unix",     "WinXP",     "Win2003",
        "WinVista", "Win2003R2", "Win2008", "Win2008R2", "Windows7", "Windows8",  "Unkown"};
    for (int32_t type = 0; type < 21; ++type) EXPECT_STREQ(MOLTE_OsType2String(type), names[type]);
    EXPECT_STREQ(MOLTE_OsType2String(-1), "Unkown");
    EXPECT_STREQ(MOLTE_OsClass2String(0), "Unix");
    EXPECT_STREQ(MOLTE_OsClass2String(1), "Windows");
    EXPECT_STREQ(MOLTE_OsClass2String(2), "Unknown");
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
