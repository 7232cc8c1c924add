// Machine-wide values.
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "support/child_process.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"

namespace {

namespace fs = std::filesystem;

// An open key, closed at the end.
class Key {
 public:
    explicit Key(const std::string& path, REGSAM access = KEY_ALL_ACCESS) {
        error_ = RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, access, nullptr,
                                 &key_, &disposition_);
    }
    ~Key() {
        if (error_ == 0) RegCloseKey(key_);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    [[nodiscard]] HKEY get() const { return key_; }
    [[nodiscard]] LONG error() const { return error_; }
    [[nodiscard]] DWORD disposition() const { return disposition_; }

    [[nodiscard]] LONG set(const char* name, const std::string& text) const {
        return RegSetValueExA(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                              static_cast<DWORD>(text.size()));
    }
    // A text with its terminator, or why there is none.
    [[nodiscard]] std::string text(const char* name) const {
        char bytes[4096];
        DWORD type = 0;
        DWORD size = sizeof bytes;
        const LONG error =
            RegQueryValueExA(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(bytes), &size);
        if (error != 0) return "error " + std::to_string(error);
        return type == REG_SZ ? std::string(bytes, size) : "type " + std::to_string(type);
    }

 private:
    HKEY key_ = nullptr;
    LONG error_ = 0;
    DWORD disposition_ = 0;
};

std::string terminated(const std::string& text) {
    return text + '\0';
}

// A store of the test's own; on Windows a key of its own, removed at the end.
class Registry : public testing::Test {
 protected:
    void SetUp() override {
#if !defined(_WIN32)
        setenv("MOLTELIB_REGISTRY_FOLDER", folder_.str().c_str(), 1);
#endif
    }
    void TearDown() override {
#if defined(_WIN32)
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, base_.c_str());
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, base_.c_str());
#endif
    }

    const TempFolder folder_;
    const std::string base_ = "Software\\" + folder_.path().filename().string();
};

TEST_F(Registry, GivesWhatWasStored) {
    const Key key(base_ + "\\Options");
    ASSERT_EQ(key.error(), 0);
    EXPECT_EQ(key.disposition(), REG_CREATED_NEW_KEY);
    EXPECT_EQ(key.text("MainPath"), "error 2");
    EXPECT_EQ(key.set("MainPath", "C:\\old"), 0);
    EXPECT_EQ(key.set("Other", "stays"), 0);
    EXPECT_EQ(key.set("MainPath", terminated("C:\\prog")), 0);
    EXPECT_EQ(key.text("MainPath"), terminated("C:\\prog"));
    EXPECT_EQ(key.text("mainPATH"), terminated("C:\\prog"));
    EXPECT_EQ(key.text("Other"), terminated("stays"));
    EXPECT_EQ(key.set("", "unnamed"), 0);
    EXPECT_EQ(key.text(nullptr), terminated("unnamed"));
    EXPECT_EQ(key.set("Empty", terminated("")), 0);
    EXPECT_EQ(key.text("Empty"), terminated(""));
    const DWORD number = 0x89ABCDEF;
    const auto* bytes = reinterpret_cast<const BYTE*>(&number);
    EXPECT_EQ(RegSetValueExA(key.get(), "Number", 0, REG_DWORD, bytes, 4), 0);
    DWORD type = 0;
    DWORD found = 0;
    DWORD size = 4;
    EXPECT_EQ(RegQueryValueExA(key.get(), "Number", nullptr, &type, reinterpret_cast<BYTE*>(&found),
                               &size),
              0);
    EXPECT_EQ(type, REG_DWORD);
    EXPECT_EQ(found, number);
    EXPECT_EQ(size, 4u);

    const Key again(base_ + "\\OPTIONS\\");
    EXPECT_EQ(again.disposition(), REG_OPENED_EXISTING_KEY);
    EXPECT_EQ(again.text("MainPath"), terminated("C:\\prog"));
}

TEST_F(Registry, BytesOfATextSurvive) {
    const Key key(base_);
    for (const char* text : {"\"quoted\" \\ and \\\\", "line\r\nline\ttab", "\\x{0a} \\", "# no",
                             "= [x]", " blanks ", "%s%n"}) {
        EXPECT_EQ(key.set("a \"name\" = \\", text), 0);
        EXPECT_EQ(key.text("a \"name\" = \\"), terminated(text));
    }
}

TEST_F(Registry, SizesOfAQuery) {
    const Key key(base_);
    ASSERT_EQ(key.set("v", "1234567"), 0);
    const struct {
        bool has_data;
        DWORD room;
        LONG error;
    } rows[] = {{false, 0, 0},
                {true, 7, ERROR_MORE_DATA},
                {true, 0, ERROR_MORE_DATA},
                {true, 8, 0},
                {true, 100, 0}};
    for (const auto& row : rows) {
        char bytes[100] = "unchanged";
        DWORD size = row.room;
        auto* data = row.has_data ? reinterpret_cast<BYTE*>(bytes) : nullptr;
        EXPECT_EQ(RegQueryValueExA(key.get(), "v", nullptr, nullptr, data, &size), row.error);
        EXPECT_EQ(size, 8u) << row.room;
        EXPECT_STREQ(bytes, row.has_data && row.error == 0 ? "1234567" : "unchanged") << row.room;
    }
    BYTE byte = 0;
    EXPECT_EQ(RegQueryValueExA(key.get(), "v", nullptr, nullptr, &byte, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExA(key.get(), "v", nullptr, nullptr, nullptr, nullptr), 0);
}

TEST_F(Registry, KeysAndAccess) {
    HKEY found = nullptr;
    const auto open = [&](HKEY parent, const char* path, REGSAM access) {
        return RegOpenKeyExA(parent, path, 0, access, &found);
    };
    EXPECT_EQ(open(HKEY_LOCAL_MACHINE, base_.c_str(), KEY_READ), ERROR_FILE_NOT_FOUND);
    SetLastError(0);
    EXPECT_EQ(platform::keep_error(open(HKEY_LOCAL_MACHINE, base_.c_str(), KEY_READ)),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    const Key deep(base_ + "\\a\\b");
    ASSERT_EQ(deep.error(), 0);
    EXPECT_EQ(open(HKEY_LOCAL_MACHINE, (base_ + "\\a").c_str(), KEY_READ), 0);
    const HKEY middle = found;
    EXPECT_EQ(open(middle, "c", KEY_READ), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(open(middle, "B", KEY_READ), 0);
    const HKEY below = found;
    ASSERT_EQ(deep.set("v", "x"), 0);
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExA(below, "v", nullptr, nullptr, nullptr, &size), 0);
    const BYTE text[] = "y";
    EXPECT_EQ(RegSetValueExA(below, "v", 0, REG_SZ, text, 2), ERROR_ACCESS_DENIED);
    const Key writer(base_, KEY_SET_VALUE);
    EXPECT_EQ(writer.set("w", "1"), 0);
    EXPECT_EQ(writer.text("w"), "error 5");
    EXPECT_EQ(RegCloseKey(below), 0);
    EXPECT_EQ(RegCloseKey(middle), 0);
    EXPECT_EQ(RegQueryValueExA(below, "v", nullptr, nullptr, nullptr, &size), ERROR_INVALID_HANDLE);
    EXPECT_EQ(deep.text("v"), terminated("x"));
}

TEST_F(Registry, SpeedOfTheProcessor) {
    HKEY key = nullptr;
    const char* path = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key), 0);
    DWORD mhz[32] = {};
    DWORD type = 0;
    DWORD size = sizeof mhz;
    ASSERT_EQ(RegQueryValueExA(key, "~MHz", nullptr, &type, reinterpret_cast<BYTE*>(mhz), &size),
              0);
    EXPECT_EQ(type, REG_DWORD);
    EXPECT_EQ(size, 4u);
    EXPECT_GT(mhz[0], 100u);
    EXPECT_LT(mhz[0], 20'000u);
    EXPECT_EQ(RegQueryValueExA(key, "none", nullptr, nullptr, nullptr, nullptr),
              ERROR_FILE_NOT_FOUND);
    RegCloseKey(key);
}

CHILD_ROLE(stores_many) {
    const Key key(args[0]);
    for (int i = 0; i < 25; ++i) {
        if (key.set((args[1] + std::to_string(i)).c_str(), args[1]) != 0) return 1;
    }
    return 0;
}

TEST_F(Registry, TwoWritersLoseNothing) {
    ChildProcess one("stores_many", {base_, "one"});
    ChildProcess two("stores_many", {base_, "two"});
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(two.wait(), 0);
    const Key key(base_);
    for (int i = 0; i < 25; ++i) {
        EXPECT_EQ(key.text(("one" + std::to_string(i)).c_str()), terminated("one")) << i;
        EXPECT_EQ(key.text(("two" + std::to_string(i)).c_str()), terminated("two")) << i;
    }
}

CHILD_ROLE(stores_until_killed) {
    const Key key(args[0]);
    tell_parent("begun");
    for (unsigned i = 0;; ++i) {
        if (key.set("v", std::string(3000, i % 2 == 0 ? 'a' : 'b')) != 0) return 1;
    }
}

TEST_F(Registry, AKillLeavesTheOldOrTheNew) {
    const Key key(base_);
    ASSERT_EQ(key.set("v", std::string(3000, 'a')), 0);
    ASSERT_EQ(key.set("other", "stays"), 0);
    for (int round = 0; round < 20; ++round) {
        ChildProcess child("stores_until_killed", {base_});
        ASSERT_EQ(child.read_line(), "begun");
        std::this_thread::sleep_for(std::chrono::microseconds(700 * round));
        child.kill();
        child.wait();
        const std::string text = key.text("v");
        EXPECT_TRUE(text == terminated(std::string(3000, 'a')) ||
                    text == terminated(std::string(3000, 'b')))
            << text.size();
        EXPECT_EQ(key.text("other"), terminated("stays"));
        ASSERT_EQ(key.set("after", "free"), 0) << "the lock went with its holder";
    }
}

#if !defined(_WIN32)

TEST_F(Registry, TheFileIsPlainText) {
    const std::string file = folder_ / "registry";
    const Key key("Software\\Example\\Options");
    ASSERT_EQ(key.set("MainPath", "C:\\ex\"\n"), 0);
    const BYTE number[4] = {0x2A, 0, 0, 0};
    ASSERT_EQ(RegSetValueExA(key.get(), "Count", 0, REG_DWORD, number, 4), 0);
    ASSERT_EQ(key.set("", "u"), 0);
    EXPECT_EQ(read_bytes(file),
              "[HKEY_LOCAL_MACHINE\\Software\\Example\\Options]\n"
              "\"MainPath\"=\"C:\\\\ex\\\"\\x{0a}\"\n"
              "\"Count\"=dword:0000002a\n"
              "@=\"u\"\n");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms{0644});
}

TEST_F(Registry, AFileEditedByHand) {
    const std::string file = folder_ / "registry";
    const std::string head =
        "# ours\r\n"
        "\"stray\"=\"1\"\n"
        "[HKEY_CURRENT_USER\\Soft]\n"
        "\"v\"=\"foreign\"\n"
        "  [hkey_local_machine\\SOFT]  \r\n"
        " \"path\" = \"C:\\prog\\x\"  \r\n"
        "\"bad\"=\"open\n"
        "\"odd\"=hex:00\n"
        "\"long\"=dword:123456789\n"
        "\"n\"=dword:2A\n";
    const std::string tail = "\n# the end\n[HKEY_LOCAL_MACHINE\\Soft\\below]\n\"v\"=\"b\"";
    folder_.write("registry", head + tail);
    const Key key("Soft");
    EXPECT_EQ(key.disposition(), REG_OPENED_EXISTING_KEY);
    for (const char* name : {"stray", "v", "bad", "odd", "long", "none"}) {
        EXPECT_EQ(key.text(name), "error 2") << name;
    }
    EXPECT_EQ(key.text("PATH"), terminated("C:\\prog\\x"));
    EXPECT_EQ(key.text("n"), "type 4");
    EXPECT_EQ(Key("Soft\\Below").text("v"), terminated("b"));
    // A change leaves all else as it stands.
    EXPECT_EQ(key.set("new", "1"), 0);
    EXPECT_EQ(read_bytes(file), head + "\"new\"=\"1\"\n" + tail);
    EXPECT_EQ(Key("Soft\\Below").set("w", "2"), 0);
    EXPECT_EQ(read_bytes(file), head + "\"new\"=\"1\"\n" + tail + "\n\"w\"=\"2\"\n");
}

TEST_F(Registry, FolderThatMayNotBeWritten) {
    const Key key("Soft");
    ASSERT_EQ(key.set("v", "1"), 0);
    const std::string before = read_bytes(folder_ / "registry");
    fs::permissions(folder_.path(), fs::perms{0555});
    {
        const Unprivileged somebody;
        EXPECT_EQ(key.set("v", "2"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
        EXPECT_EQ(Key("Soft").error(), ERROR_ACCESS_DENIED);
        EXPECT_EQ(Key("New", KEY_READ).error(), ERROR_ACCESS_DENIED);
        EXPECT_EQ(Key("Soft", KEY_READ).text("v"), terminated("1"));
    }
    EXPECT_EQ(read_bytes(folder_ / "registry"), before);
}

TEST_F(Registry, FoldersAndFiles) {
    const std::string missing = folder_ / "made";
    setenv("MOLTELIB_REGISTRY_FOLDER", missing.c_str(), 1);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "a", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(fs::exists(missing)) << "reading makes nothing";
    EXPECT_EQ(Key("a").error(), 0);
    EXPECT_TRUE(fs::exists(missing + "/registry"));
    // What isn't a store is not taken for one, nor written over.
    fs::remove(missing + "/registry");
    fs::create_directory(missing + "/registry");
    EXPECT_EQ(Key("a").error(), ERROR_INVALID_DATA);
    fs::remove(missing + "/registry");
    { std::ofstream(missing + "/registry"); }
    fs::resize_file(missing + "/registry", (16 << 20) + 1);
    EXPECT_EQ(Key("a").error(), ERROR_INVALID_DATA);
}

TEST_F(Registry, Refusals) {
    HKEY key = nullptr;
    EXPECT_EQ(Key(std::string(2000, 'k')).error(), ERROR_FILENAME_EXCED_RANGE);
    EXPECT_EQ(Key("two\nlines").error(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "a", 1, KEY_READ, &key), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegOpenKeyExA(nullptr, "a", 0, KEY_READ, &key), ERROR_INVALID_HANDLE);
    const Key open("a");
    EXPECT_EQ(RegSetValueExA(open.get(), "v", 0, 3, nullptr, 0), ERROR_INVALID_PARAMETER);
    const BYTE bytes[8] = {};
    EXPECT_EQ(RegSetValueExA(open.get(), "v", 0, REG_DWORD, bytes, 8), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Key("HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0").error(),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegCloseKey(reinterpret_cast<HKEY>(uintptr_t{0x77})), ERROR_INVALID_HANDLE);
}

#endif

}  // namespace
