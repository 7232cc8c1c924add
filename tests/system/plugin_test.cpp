#include "support/test.h"

namespace {

#if defined(_WIN32)
constexpr char kFileName[] = "odlogger64.dll";
#else
constexpr char kFileName[] = "libodlogger64.so";
#endif

std::string program_folder() {
    char path[512];
    MOLTE_GetAppName(path, sizeof path);
    return fs::path(path).parent_path().string();
}

TEST(Plugin, IsFoundByItsNamesAndCountsItsUses) {
    const std::string folder = program_folder();
    OXHANDLE first = OX_DLL_OpenW(L"odlogger64.dll", 8);
    auto* seen = static_cast<char*>(OX_DLL_GetProc(first, "Logger_Seen"));
    ASSERT_NE(seen, nullptr);
    std::strcpy(seen, "kept");
    for (const std::string& name :
         {"odlogger64.dll"s, "odlogger64"s, std::string(kFileName), folder + "\\odlogger64.dll",
          folder + "/odlogger64", folder + "\\" + kFileName}) {
        OXHANDLE module = OX_DLL_Open(name.c_str(), 0);
        EXPECT_EQ(module, first) << name;
        EXPECT_EQ(OX_DLL_Close(module), 1);
        EXPECT_STREQ(static_cast<char*>(OX_DLL_GetProc(first, "Logger_Seen")), "kept");
    }
    EXPECT_EQ(OX_DLL_Close(first), 1);
}

TEST(Plugin, FailuresAreTold) {
    const TempFolder folder;
    const std::string broken = folder.write("broken.dll", "no library at all");
    EXPECT_EQ(error_of(OX_DLL_Open("no such library", 0)), "143 oxsysop no such library");
    EXPECT_EQ(error_of(OX_DLL_Open(broken.c_str(), 0)).substr(0, 12), "143 oxsysop ");
    const std::wstring wide = L"no such library";
    const auto* bytes = reinterpret_cast<const char*>(wide.data());
    EXPECT_EQ(error_of(OX_DLL_OpenW(wide.c_str(), 0)),
              "143 oxsysop " + std::string(bytes, wide.size() * sizeof(wchar_t)));
    for (const Text none : {Text{}, ""}) EXPECT_EQ(OX_DLL_Open(none, 0), nullptr);
    EXPECT_EQ(OX_DLL_OpenW(nullptr, 0), nullptr);

    OXHANDLE module = OX_DLL_Open("odlogger64", 0);
    EXPECT_EQ(error_of(OX_DLL_GetProc(module, "Logger_Nothing")), "146 oxsysop Logger_Nothing");
    EXPECT_EQ(OX_DLL_GetProc(module, "MOLTE_OutMsg"), nullptr);  // one that it needs itself
    EXPECT_EQ(OX_DLL_GetProc(module, nullptr), nullptr);
    EXPECT_EQ(OX_DLL_GetProc(nullptr, "x"), nullptr);
    EXPECT_EQ(OX_DLL_Close(module), 1);
    EXPECT_EQ(OX_DLL_Close(nullptr), 0);
    EXPECT_EQ(error_of(OX_DLL_Close(&module)), "147 oxsysop");  // of no library
}

}  // namespace
