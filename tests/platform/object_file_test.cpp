// The files that stand for named objects, where there are such files.
#if !defined(_WIN32)
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/kernel_objects.h"
#include "platform/last_error.h"
#include "support/child_process.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

// The first bytes of an event's file: mark, version, type, length; then its state.
const std::string kHead = std::string("KOBJECT\n") + std::string("\1\0\0\0\1\0\0\0", 8) +
                          std::string("\x40\0\0\0\0\0\0\0", 8);
const std::string kState = std::string(40, '\0');

class ObjectFile : public testing::Test {
 protected:
    ObjectFile() { use(folder_.str()); }

    static void use(const std::string& folder) {
        setenv("MOLTELIB_OBJECT_FOLDER", folder.c_str(), 1);
    }
    static HANDLE create(const char* name = "thing") {
        return CreateEventA(nullptr, TRUE, TRUE, name);
    }
    static HANDLE open() { return OpenEventA(EVENT_ALL_ACCESS, FALSE, "thing"); }
    [[nodiscard]] bool exists() const { return fs::exists(fs::symlink_status(folder_ / "=thing")); }

    TempFolder folder_;
};

TEST_F(ObjectFile, BeginsWithMarkVersionTypeAndLength) {
    HANDLE event = create();
    const std::string bytes = read_bytes(folder_ / "=thing");
    EXPECT_EQ(bytes.substr(0, kHead.size()), kHead);
    EXPECT_EQ(bytes.substr(kHead.size(), 4), std::string("\1\0\0\0", 4));  // signalled
    EXPECT_EQ(bytes.size(), kHead.size() + kState.size());
    struct stat status {};
    ASSERT_EQ(stat((folder_ / "=thing").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    CloseHandle(event);
    EXPECT_FALSE(exists());
}

TEST_F(ObjectFile, OfOtherContentIsRefusedAndLeftAlone) {
    std::string other_version = kHead + kState;
    other_version[8] = 2;
    const std::string contents[] = {"",
                                    "x",
                                    std::string(64, 'x'),
                                    kHead,
                                    kHead + kState.substr(1),
                                    kHead + kState + "x",
                                    other_version,
                                    std::string(100000, '\0')};
    for (const std::string& content : contents) {
        folder_.write("=thing", content);
        for (HANDLE (*call)() : {+[] { return create(); }, +[] { return open(); }}) {
            SetLastError(0);
            EXPECT_EQ(call(), nullptr) << content.size();
            EXPECT_EQ(GetLastError(), ERROR_INVALID_DATA) << content.size();
        }
        EXPECT_EQ(read_bytes(folder_ / "=thing"), content);
    }
}

TEST_F(ObjectFile, ThatIsNoFileOfOursIsRefused) {
    const std::string path = folder_ / "=thing";
    folder_.write("elsewhere", kHead + kState);
    const std::function<void()> makers[] = {
        [&] { fs::create_symlink(folder_ / "elsewhere", path); },
        [&] { fs::create_directory(path); }, [&] { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }};
    for (const auto& make : makers) {
        make();
        EXPECT_EQ(create(), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
        EXPECT_EQ(open(), nullptr);
        EXPECT_TRUE(exists());
        fs::remove(path);
    }
}

TEST_F(ObjectFile, ThatNobodyHasOpenIsStale) {
    folder_.write("=thing", kHead + std::string("\0\0\0\0", 4) + kState.substr(4));
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(exists());

    folder_.write("=thing", kHead + kState);
    HANDLE event = create();
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);  // signalled, as the old one wasn't
    CloseHandle(event);
}

CHILD_ROLE(leave_open) {
    if (CreateEventA(nullptr, FALSE, FALSE, "thing") == nullptr) return 1;
    tell_parent("open");
    return hear_parent() == "end" ? 0 : 1;
}

TEST_F(ObjectFile, OfAnObjectLeftOpenGoesWithItsProcess) {
    ChildProcess child("leave_open");
    EXPECT_EQ(child.read_line(), "open");
    EXPECT_TRUE(exists());
    child.send_line("end");
    EXPECT_EQ(child.wait(), 0);
    EXPECT_FALSE(exists());
}

TEST_F(ObjectFile, HasAFolderThatOnlyTheUserWritesIn) {
    const std::string folder = folder_ / "new";
    use(folder);
    HANDLE event = create();
    ASSERT_NE(event, nullptr);
    CloseHandle(event);
    struct stat status {};
    ASSERT_EQ(stat(folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);

    ASSERT_EQ(chmod(folder.c_str(), 0770), 0);
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    use(folder_ / "no/such");
    EXPECT_EQ(create(), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
}

TEST_F(ObjectFile, KeepsOddNamesInItsFolder) {
    for (const char* name : {".", "..", "../thing", "/", "a/b", "=", "\xB0\xA1", "new\nline"}) {
        HANDLE event = create(name);
        EXPECT_NE(event, nullptr) << name;
        EXPECT_NE(GetLastError(), ERROR_ALREADY_EXISTS) << name;
        CloseHandle(event);
    }
}

}  // namespace
#endif
