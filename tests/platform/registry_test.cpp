// Machine-wide values.
#include "platform/registry.h"

#include "support/common.h"
#include "support/error_if.h"
#include "support/unprivileged.h"

namespace {

const char* const kProcessor = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";

// A key, made when it is missing and closed at the end.
class Key {
 public:
    explicit Key(const std::string& path, REGSAM access = KEY_ALL_ACCESS)
        : error(RegCreateKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, access, nullptr,
                                &handle, &disposition)) {}
    ~Key() {
        if (error == 0) RegCloseKey(handle);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    [[nodiscard]] LONG set(const char* name, const std::string& text, DWORD type = REG_SZ) const {
        return RegSetValueExA(handle, name, 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                              static_cast<DWORD>(text.size()));
    }
    // The bytes of a value, a text's without the terminator that it must have; or why there is
    // none.
    [[nodiscard]] std::string get(const char* name) const {
        char bytes[4096];
        DWORD type = 0;
        DWORD size = sizeof bytes;
        const LONG result =
            RegQueryValueExA(handle, name, nullptr, &type, reinterpret_cast<BYTE*>(bytes), &size);
        if (result != 0) return "error " + std::to_string(result);
        if (type == REG_DWORD) return std::string(bytes, size);
        return bytes[size - 1] == '\0' ? std::string(bytes, size - 1) : "not terminated";
    }

    HKEY handle = nullptr;
    DWORD disposition = 0;
    LONG error;
};

// A store of the test's own; on Windows a key of its own, removed at the end.
class Registry : public testing::Test {
 protected:
#if defined(_WIN32)
    ~Registry() override {
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, base_.c_str());
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, base_.c_str());
    }
#else
    Registry() {
        setenv("MOLTELIB_REGISTRY_FOLDER", folder_.str().c_str(), 1);
    }
#endif

    const TempFolder folder_;
    const std::string base_ = "Software\\" + folder_.path().filename().string();
};

TEST_F(Registry, GivesWhatWasStored) {
    const Key key(base_ + "\\Options");
    EXPECT_EQ(key.disposition, REG_CREATED_NEW_KEY);
    EXPECT_EQ(key.get("MainPath"), "error 2");
    const std::string number = "\xEF\xCD\xAB\x89";
    EXPECT_EQ(key.set("Number", number, REG_DWORD), 0);
    EXPECT_EQ(key.set(nullptr, "unnamed"), 0);
    for (const std::string& text :
         {std::string("with\0", 5), std::string("\"x\" \\ \\\\ \r\n\t \\x{0a} \\"),
          std::string("# no"), std::string("[x] = "), std::string(" blanks %s%n "),
          std::string(1, '\0')}) {
        EXPECT_EQ(key.set("a \"name\" = \\", text), 0);
        EXPECT_EQ(key.get("A \"NAME\" = \\"), text.back() == '\0' ? text.c_str() : text);
    }
    const Key again(base_ + "\\OPTIONS\\");
    EXPECT_EQ(again.disposition, REG_OPENED_EXISTING_KEY);
    EXPECT_EQ(again.get("number"), number);
    EXPECT_EQ(again.get(""), "unnamed");
}

TEST_F(Registry, KeysAccessAndSizes) {
    HKEY middle = nullptr;
    HKEY below = nullptr;
    const auto open = [](HKEY above, const std::string& path, HKEY* key) {
        return RegOpenKeyExA(above, path.c_str(), 0, KEY_READ, key);
    };
    const std::string path = base_ + "\\a";
    EXPECT_EQ(error_if(platform::keep_error(open(HKEY_LOCAL_MACHINE, path, &middle)) != 0),
              DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Key(path + "\\b").set("v", "1234567"), 0);
    EXPECT_EQ(open(HKEY_LOCAL_MACHINE, path, &middle), 0);
    EXPECT_EQ(open(middle, "c", &below), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(open(middle, "B", &below), 0);
    DWORD size = 0;
    const auto query = [&](char* to) {
        return RegQueryValueExA(below, "v", nullptr, nullptr, reinterpret_cast<BYTE*>(to), &size);
    };
    for (const DWORD room : {0U, 7U, 8U, 100U}) {
        char bytes[100] = "#";
        size = room;
        EXPECT_EQ(query(bytes), room < 8 ? ERROR_MORE_DATA : ERROR_SUCCESS);
        EXPECT_EQ(size, 8U) << room;
        EXPECT_STREQ(bytes, room < 8 ? "#" : "1234567") << room;
    }
    EXPECT_EQ(query(nullptr), 0);
    EXPECT_EQ(RegCloseKey(below) | RegCloseKey(middle), 0);
    EXPECT_EQ(query(nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Key(base_, KEY_READ).set("v", "1"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Key(base_, KEY_SET_VALUE).get("v"), "error 5");
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
    EXPECT_EQ(one.wait() + two.wait(), 0);
    const Key key(base_);
    for (int i = 0; i < 50; ++i) {
        const std::string text = i % 2 == 0 ? "one" : "two";
        EXPECT_EQ(key.get((text + std::to_string(i / 2)).c_str()), text);
    }
}

CHILD_ROLE(stores_until_killed) {
    const Key key(args[0]);
    tell_parent("begun");
    for (unsigned i = 0; key.set("v", std::string(3000, "ab"[i % 2])) == 0; ++i) {
    }
    return 1;
}

TEST_F(Registry, AKillLeavesTheOldOrTheNew) {
    const Key key(base_);
    ASSERT_EQ(key.set("v", std::string(3000, 'a')) | key.set("other", "stays"), 0);
    for (int round = 0; round < 20; ++round) {
        ChildProcess child("stores_until_killed", {base_});
        ASSERT_EQ(child.read_line(), "begun");
        std::this_thread::sleep_for(std::chrono::microseconds(700 * round));
        child.kill();
        child.wait();
        const std::string text = key.get("v");
        EXPECT_EQ(text, std::string(3000, text[0]));
        EXPECT_EQ(key.get("other"), "stays");
        ASSERT_EQ(key.set("after", "free"), 0) << "the lock went with its holder";
    }
}

#if !defined(_WIN32)

TEST_F(Registry, TheFileIsPlainText) {
    const Key key("Software\\Example");
    ASSERT_EQ(key.set("MainPath", "C:\\ex\"\n"), 0);
    ASSERT_EQ(key.set("Count", std::string("*\0\0\0", 4), REG_DWORD) | key.set("", "u"), 0);
    EXPECT_EQ(read_bytes(folder_ / "registry"),
              "[HKEY_LOCAL_MACHINE\\Software\\Example]\n"
              "\"MainPath\"=\"C:\\\\ex\\\"\\x{0a}\"\n"
              "\"Count\"=dword:0000002a\n"
              "@=\"u\"\n");
    EXPECT_EQ(fs::status(folder_ / "registry").permissions(), fs::perms{0644});
}

TEST_F(Registry, AFileEditedByHand) {
    const std::string head =
        "# ours\r\n\"stray\"=\"1\"\n[HKEY_CURRENT_USER\\Soft]\n\"v\"=\"foreign\"\n"
        "  [hkey_local_machine\\SOFT]  \r\n \"path\" = \"C:\\prog\\x\"  \r\n\"bad\"=\"open\n"
        "\"odd\"=hex:00\n\"long\"=dword:123456789\n\"n\"=dword:2A\n";
    const std::string tail = "\n# the end\n[HKEY_LOCAL_MACHINE\\Soft\\below]\n\"v\"=\"b\"";
    folder_.write("registry", head + tail);
    const Key key("Soft");
    for (const char* name : {"stray", "v", "bad", "odd", "long", "none"}) {
        EXPECT_EQ(key.get(name), "error 2") << name;
    }
    EXPECT_EQ(key.get("PATH"), "C:\\prog\\x");
    EXPECT_EQ(key.get("n"), std::string("*\0\0\0", 4));
    EXPECT_EQ(Key("Soft\\Below").get("v"), "b");
    // A change leaves all else as it stands.
    EXPECT_EQ(key.set("new", "1") | Key("Soft\\Below").set("w", "2"), 0);
    EXPECT_EQ(read_bytes(folder_ / "registry"),
              head + "\"new\"=\"1\"\n" + tail + "\n\"w\"=\"2\"\n");
}

TEST_F(Registry, FolderThatMayNotBeWritten) {
    const Key key("Soft");
    ASSERT_EQ(key.set("v", "1"), 0);
    fs::permissions(folder_.path(), fs::perms{0555});
    const Unprivileged somebody;
    EXPECT_EQ(key.set("v", "2"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Key("Soft").error, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Key("New", KEY_READ).error, ERROR_ACCESS_DENIED);
    EXPECT_EQ(Key("Soft", KEY_READ).get("v"), "1");
}

TEST_F(Registry, Refusals) {
    const std::string made = folder_ / "made";
    setenv("MOLTELIB_REGISTRY_FOLDER", made.c_str(), 1);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "a", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(fs::exists(made)) << "reading makes nothing";
    EXPECT_EQ(Key("a").set("v", "12345678", REG_DWORD), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Key("a").set("v", "", 3), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Key("two\nlines").error, ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Key(std::string(2000, 'k')).error, ERROR_FILENAME_EXCED_RANGE);
    EXPECT_EQ(Key(kProcessor).error, ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegOpenKeyExA(nullptr, "a", 0, KEY_READ, &key), ERROR_INVALID_HANDLE);
    // What can't be a store is not taken for one, nor written over.
    fs::resize_file(made + "/registry", (16 << 20) + 1);
    EXPECT_EQ(Key("a").error, ERROR_INVALID_DATA);
}

#endif

}  // namespace
