// Machine-wide values.
#include "platform/registry.h"

#include "support/scenes.h"
#include "support/unprivileged.h"

namespace {

// Where the keys of a test lie.
std::string base;

// A key, made when it is missing and closed at the end.
class Key : public Pinned {
 public:
    explicit Key(const std::string& path, REGSAM access = KEY_ALL_ACCESS)
        : error(RegCreateKeyExA(HKEY_LOCAL_MACHINE, (base + path).c_str(), 0, nullptr, 0, access,
                                nullptr, &handle, &disposition)) {}
    ~Key() {
        if (error == 0) RegCloseKey(handle);
    }

    [[nodiscard]] LONG set(const char* name, const std::string& text, DWORD type = REG_SZ) const {
        if (error != 0) return error;
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

// A store of the test's own; on Windows keys of its own, removed at the end.
class Registry : public InFolder {
 protected:
#if defined(_WIN32)
    Registry() {
        base = "Software\\" + folder_.path().filename().string() + "\\";
    }
    ~Registry() override {
        base.pop_back();
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, base.c_str());
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, base.c_str());
    }
#else
    Registry() {
        setenv("MOLTELIB_REGISTRY_FOLDER", folder_.str().c_str(), 1);
    }
#endif
};

std::string create(const Texts& step) {
    const Key key(step[1]);
    if (key.error != 0) return "error " + std::to_string(key.error);
    return key.disposition == REG_CREATED_NEW_KEY ? "new" : "old";
}

std::string get(const Texts& step) {
    return Key(step[1], KEY_READ).get(text_or_null(step[2]));
}

// The name of a type and a value's bytes.
std::string set(const Texts& step) {
    const DWORD type = step[3] == "text" ? REG_SZ : step[3] == "number" ? REG_DWORD : 3;
    return std::to_string(Key(step[1]).set(text_or_null(step[2]), step[4], type));
}

// Into so much room: what is told, the size, and the text.
std::string get_into(Text path, Text name, int32_t room) {
    const Key key(path);
    char text[100] = "#";
    auto size = static_cast<DWORD>(room);
    const LONG result =
        RegQueryValueExA(key.handle, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    return std::to_string(result) + " " + std::to_string(size) + " " + text;
}

const Calls kCalls = {{"create", create},
                      {"get", get},
                      {"get_into", step_of<get_into>},
                      {"set", set},
                      {"resize", step_of<[](Text file, int64_t size) {
                           fs::resize_file(file, static_cast<uintmax_t>(size));
                           return size;
                       }>}};
[[maybe_unused]] const bool plays = play_scenes<Registry>("Registry", TEST_ROWS, kCalls);
#if !defined(_WIN32)
const std::string kOfAFile = fs::path(TEST_ROWS).replace_filename("registry_file.txt").string();
[[maybe_unused]] const bool plays_file =
    play_scenes<Registry>("RegistryFile", kOfAFile.c_str(), kCalls);
#endif

TEST_F(Registry, KeysBelowKeysAndAccess) {
    HKEY middle = nullptr;
    HKEY below = nullptr;
    const auto open = [](HKEY above, const std::string& path, HKEY* key) {
        return RegOpenKeyExA(above, path.c_str(), 0, KEY_READ, key);
    };
    EXPECT_EQ(platform::keep_error(open(HKEY_LOCAL_MACHINE, base + "a", &middle)),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Key("a\\b").set("v", "1234567"), 0);
    EXPECT_EQ(open(HKEY_LOCAL_MACHINE, base + "a", &middle), 0);
    EXPECT_EQ(open(middle, "c", &below), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(open(middle, "B", &below), 0);
    DWORD size = 0;
    const auto query = [&] {
        return RegQueryValueExA(below, "v", nullptr, nullptr, nullptr, &size);
    };
    EXPECT_EQ(query(), 0);
    EXPECT_EQ(size, 8U);
    EXPECT_EQ(RegCloseKey(below) | RegCloseKey(middle), 0);
    EXPECT_EQ(query(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Key("a", KEY_READ).set("v", "1"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Key("a", KEY_SET_VALUE).get("v"), "error 5");
    EXPECT_EQ(open(nullptr, "a", &below), ERROR_INVALID_HANDLE);
}

CHILD_ROLE(stores_many) {
    const Key key(args[0]);
    for (int i = 0; i < 25; ++i) {
        if (key.set((args[1] + std::to_string(i)).c_str(), args[1]) != 0) return 1;
    }
    return 0;
}

TEST_F(Registry, TwoWritersLoseNothing) {
    ChildProcess one("stores_many", {base + "k", "one"});
    ChildProcess two("stores_many", {base + "k", "two"});
    EXPECT_EQ(one.wait() + two.wait(), 0);
    const Key key("k");
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
    const Key key("k");
    ASSERT_EQ(key.set("v", std::string(3000, 'a')) | key.set("other", "stays"), 0);
    for (int round = 0; round < 20; ++round) {
        ChildProcess child("stores_until_killed", {base + "k"});
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

TEST_F(Registry, FolderAndFileAreMadeByWriting) {
    const std::string made = folder_ / "made";
    setenv("MOLTELIB_REGISTRY_FOLDER", made.c_str(), 1);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "a", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(fs::exists(made));
    ASSERT_EQ(Key("a").set("v", "1"), 0);
    EXPECT_EQ(fs::status(made + "/registry").permissions(), fs::perms{0644});
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

#endif

}  // namespace
