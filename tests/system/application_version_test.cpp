// The program has a version of its own, from application_version_test_version.c.

#include "support/test.h"

namespace {

std::string own_path() {
    char path[4096] = "";
    MOLTE_Win_GetExeName(path, sizeof path);
    return path;
}

TEST(ApplicationVersion, DatesMatchFromTheWantedOneOn) {
    EXPECT_EQ(MOLTE_IsDateVerMatch(20181231, 20181231), 1);
    EXPECT_EQ(MOLTE_IsDateVerMatch(20181230, 20181231), 0);
    for (const int32_t unknown : {0, -1}) EXPECT_EQ(MOLTE_IsDateVerMatch(unknown, 20181231), 1);
}

TEST(ApplicationVersion, OfThisProgram) {
    MOLTE_APPVERSION version;
    ASSERT_EQ(MOLTE_GetAppVersion(own_path().c_str(), &version), 1);
    EXPECT_EQ(bytes_of(version), "\x00\x01\xFF\xFF\x00\x03\x9C\x40"s);
    char text[MOLTE_APPVERSION_TEXT_SIZE];
    ASSERT_EQ(MOLTE_GetAppVerString(own_path().c_str(), text), 1);
    EXPECT_STREQ(text, "1.65535.3.40000");
    const Installation installation;
    EXPECT_STREQ(g_stBv.szAppVersion, "1.65535.3.40000");
}

CHILD_ROLE(prints_version) {
    char* words[] = {const_cast<char*>("-printver"), const_cast<char*>(args[0].c_str())};
    if (UTIL_IsPrintVer(2, words) == 0) tell_parent("no");
    return 0;
}

TEST(ApplicationVersion, IsPrintedForTheExactOption) {
    for (const Text option : {"-printver", "-printvers", "-PRINTVER"}) {
        ChildProcess child("prints_version", {option});
        const bool exact = option == "-printver"s;
        EXPECT_EQ(child.read_line(), exact ? "1.65535.3.40000. 64 bit Release" : "no");
    }
    EXPECT_EQ(UTIL_IsPrintVer(0, nullptr), 0);
}

TEST(ApplicationVersion, TextAndOrder) {
    const MOLTE_APPVERSION rising[] = {{{0, 1}, {0, 2}, {0, 3}, {0, 4}},
                                       {{0, 1}, {0, 2}, {0, 3}, {0, 5}},
                                       {{0, 2}, {0, 0}, {0, 0}, {0, 0}},
                                       {{255, 255}, {255, 255}, {255, 255}, {255, 255}}};
    for (int i = 0; i < 4; ++i) {
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(MOLTE_CmpAppVersion(&rising[i], &rising[k]), (i > k) - (i < k));
        }
    }
    char text[MOLTE_APPVERSION_TEXT_SIZE];
    EXPECT_STREQ(MOLTE_AppVersionToString(&rising[3], text), "65535.65535.65535.65535");
    EXPECT_EQ((Ints{UITL_uint2Cmp(0x8000, 1), UITL_uint2Cmp(0, 0xFFFF), UITL_uint2Cmp(7, 7)}),
              (Ints{1, -1, 0}));
    MOLTE_APPVERSION version;
    for (const int32_t result : {MOLTE_CmpAppVersion(nullptr, rising), MOLTE_VER_Output(nullptr),
                                 MOLTE_GetAppVersion(nullptr, &version),
                                 MOLTE_GetAppVersion(own_path().c_str(), nullptr)}) {
        EXPECT_EQ(result, -1);
    }
    EXPECT_EQ(MOLTE_AppVersionToString(nullptr, text), nullptr);
}

TEST(ApplicationVersion, FilesWithoutOne) {
    const TempFolder folder;
    for (const std::string& path : {folder / "none", folder.write("empty", ""), folder.str(),
                                    folder.write("text", std::string(9000, 'x'))}) {
        char text[MOLTE_APPVERSION_TEXT_SIZE];
        EXPECT_EQ(error_of(MOLTE_GetAppVerString(path.c_str(), text)),
                  "273 oxsysutl " + path.substr(0, 144));
        EXPECT_EQ(history_of_this_thread(), "3573 oxsysutl");
    }
}

#if !defined(_WIN32)

// The files have two segments, and two notes in the second. Others are the fuzz target's.
TEST(ApplicationVersion, AnyElfFileIsReadAndNoneTrusted) {
    const TempFolder folder;
    for (const Text name : {"32_big", "32_little", "64_big", "64_little"}) {
        const std::string path = FUZZ_CORPUS "/program_version/"s + name;
        MOLTE_APPVERSION version;
        ASSERT_EQ(MOLTE_GetAppVersion(path.c_str(), &version), 1) << name;
        EXPECT_EQ(bytes_of(version), "\x01\x02\x03\x04\x05\x06\x07\x08");
        const std::string whole = read_bytes(path);
        for (size_t size = 0; size < whole.size(); ++size) {
            const std::string cut = folder.write("cut", whole.substr(0, size));
            EXPECT_EQ(MOLTE_GetAppVersion(cut.c_str(), &version), -1) << size;
        }
    }
}

#endif

}  // namespace
