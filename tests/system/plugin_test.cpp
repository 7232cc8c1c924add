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

TEST(Plugin, IsFoundByItsNames) {
    const std::string folder = program_folder();
    for (const std::string& name :
         {std::string("odlogger64.dll"), std::string("odlogger64"), std::string(kFileName),
          folder + "\\odlogger64.dll", folder + "/odlogger64", folder + "\\" + kFileName}) {
        OXHANDLE module = OX_DLL_Open(name.c_str(), 0);
        ASSERT_NE(module, nullptr) << name;
        EXPECT_NE(OX_DLL_GetProc(module, "Logger_InstallHook"), nullptr);
        EXPECT_EQ(OX_DLL_Close(module), 1);
    }
    OXHANDLE wide = OX_DLL_OpenW(L"odlogger64.dll", 8);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(OX_DLL_Close(wide), 1);
}

TEST(Plugin, CountsItsUses) {
    OXHANDLE module = OX_DLL_Open("odlogger64", 0);
    ASSERT_NE(module, nullptr);
    auto* seen = static_cast<char*>(OX_DLL_GetProc(module, "Logger_Seen"));
    ASSERT_NE(seen, nullptr);
    std::strcpy(seen, "kept");
    EXPECT_EQ(OX_DLL_Open("odlogger64", 0), module);
    EXPECT_EQ(OX_DLL_Close(module), 1);
    EXPECT_STREQ(static_cast<char*>(OX_DLL_GetProc(module, "Logger_Seen")), "kept");
    EXPECT_EQ(OX_DLL_Close(module), 1);
}

TEST(Plugin, FailuresAreTold) {
    ORVEX_Err_ClearError();
    EXPECT_EQ(OX_DLL_Open("no such library", 0), nullptr);
    EXPECT_EQ(error_of_this_thread(), "143 oxsysop no such library");
    const std::wstring wide = L"no such library";
    EXPECT_EQ(OX_DLL_OpenW(wide.c_str(), 0), nullptr);
    const auto* bytes = reinterpret_cast<const char*>(wide.data());
    EXPECT_EQ(error_of_this_thread(),
              "143 oxsysop " + std::string(bytes, wide.size() * sizeof(wchar_t)));
    EXPECT_EQ(OX_DLL_Open(nullptr, 0), nullptr);
    EXPECT_EQ(OX_DLL_OpenW(nullptr, 0), nullptr);
    EXPECT_EQ(OX_DLL_Open("", 0), nullptr);

    const TempFolder folder;
    const std::string broken = folder.write("broken.dll", "no library at all");
    EXPECT_EQ(OX_DLL_Open(broken.c_str(), 0), nullptr);
    EXPECT_EQ(error_of_this_thread().substr(0, 12), "143 oxsysop ");

    OXHANDLE module = OX_DLL_Open("odlogger64", 0);
    EXPECT_EQ(OX_DLL_GetProc(module, "Logger_Nothing"), nullptr);
    EXPECT_EQ(error_of_this_thread(), "146 oxsysop Logger_Nothing");
    EXPECT_EQ(OX_DLL_GetProc(module, "MOLTE_OutMsg"), nullptr);  // one that it needs itself
    EXPECT_EQ(OX_DLL_GetProc(module, nullptr), nullptr);
    EXPECT_EQ(OX_DLL_GetProc(nullptr, "x"), nullptr);
    EXPECT_EQ(OX_DLL_Close(module), 1);
    EXPECT_EQ(OX_DLL_Close(nullptr), 0);
    EXPECT_EQ(OX_DLL_Close(&module), -1);  // of no library
    EXPECT_EQ(error_of_this_thread(), "147 oxsysop");
}

}  // namespace
