// The files that stand for named objects, where there are such files.
#if !defined(_WIN32)

#include "support/common.h"
#include "support/error_if.h"
#include "support/handles.h"
#include "support/unprivileged.h"

namespace {

// The first bytes of an event's file: mark, version, type, length; then its state.
const std::string kHead = std::string("KOBJECT\n\1\0\0\0\1\0\0\0\x40\0\0\0\0\0\0\0", 24);
const std::string kState = std::string(40, '\0');

class ObjectFile : public InFolder {
 protected:
    ObjectFile() { use(folder_.str()); }

    static void use(const std::string& folder) {
        setenv("MOLTELIB_OBJECT_FOLDER", folder.c_str(), 1);
    }
    static HANDLE create(const char* name = "thing") { return manual(true, name); }
    static HANDLE open() { return OpenEventA(EVENT_ALL_ACCESS, FALSE, "thing"); }
    [[nodiscard]] bool exists() const { return fs::exists(fs::symlink_status(path_)); }

    const std::string path_ = folder_ / "=thing";
};

TEST_F(ObjectFile, HasItsLayoutAndGoesWithTheLastHandle) {
    HANDLE event = create();
    EXPECT_EQ(read_bytes(path_), kHead + std::string("\1\0\0\0", 4) + kState.substr(4));
    EXPECT_EQ(fs::status(path_).permissions(), fs::perms{0600});
    CloseHandle(event);
    EXPECT_FALSE(exists());
    for (const char* name : {".", "..", "../thing", "/", "a/b", "=", "\xB0\xA1", "new\nline"}) {
        const Handle odd(create(name));
        EXPECT_NE(odd, nullptr) << name;
        EXPECT_EQ(GetLastError(), 0U) << name;
    }
}

TEST_F(ObjectFile, OfOtherContentIsRefusedAndLeftAlone) {
    std::string other_version = kHead + kState;
    other_version[8] = 2;
    for (const std::string& content :
         {std::string(), std::string(64, 'x'), kHead, kHead + kState.substr(1),
          kHead + kState + "x", other_version, std::string(100000, '\0')}) {
        folder_.write("=thing", content);
        EXPECT_EQ(error_if(create() == nullptr), ERROR_INVALID_DATA) << content.size();
        EXPECT_EQ(error_if(open() == nullptr), ERROR_INVALID_DATA) << content.size();
        EXPECT_EQ(read_bytes(path_), content);
    }
    folder_.write("elsewhere", kHead + kState);
    for (const auto& make : std::initializer_list<std::function<void()>>{
             [&] { fs::create_symlink(folder_ / "elsewhere", path_); },
             [&] { fs::create_directory(path_); },
             [&] { ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0); }}) {
        fs::remove(path_);
        make();
        EXPECT_EQ(error_if(create() == nullptr), ERROR_ACCESS_DENIED);
        EXPECT_EQ(error_if(open() == nullptr), ERROR_ACCESS_DENIED);
        EXPECT_TRUE(exists());
    }
}

TEST_F(ObjectFile, ThatNobodyHasOpenIsStale) {
    folder_.write("=thing", kHead + kState);
    EXPECT_EQ(error_if(open() == nullptr), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(exists());
    folder_.write("=thing", kHead + kState);
    const Handle event(create());
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_EQ(wait_for(event), WAIT_OBJECT_0);  // signalled, as the old one wasn't
}

TEST_F(ObjectFile, HasAFolderThatOnlyTheUserWritesIn) {
    ASSERT_NE(Handle(create()), nullptr);  // opens the common bell
    const std::string folder = folder_ / "new";
    use(folder);
    ASSERT_NE(Handle(create()), nullptr);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms{0700});
    fs::permissions(folder, fs::perms{0770});
    EXPECT_EQ(error_if(create() == nullptr), ERROR_ACCESS_DENIED);
    use(folder_ / "no/such");
    EXPECT_EQ(error_if(create() == nullptr), ERROR_PATH_NOT_FOUND);
    fs::permissions(folder_.path(), fs::perms{0755});
    const Unprivileged somebody;
    for (const std::string& name : {folder_.str(), folder_ / "mine"}) {
        use(name);
        EXPECT_EQ(error_if(create() == nullptr), ERROR_ACCESS_DENIED) << name;
    }
}

}  // namespace
#endif
