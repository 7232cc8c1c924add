#if !defined(_WIN32)
#include <sys/stat.h>
#endif

#include <map>

#include "support/test.h"

namespace {

std::string number(uint64_t value, int size) {
    std::string field;
    for (int shift = 8 * size - 8; shift >= 0; shift -= 8) {
        field += static_cast<char>(value >> shift);
    }
    return field;
}
uint64_t number_at(const std::string& bytes, size_t at, size_t size) {
    uint64_t value = 0;
    for (size_t i = at; i < at + size; ++i) value = value << 8 | static_cast<uint8_t>(bytes.at(i));
    return value;
}
size_t padded(size_t size) {
    return (size + 7) / 8 * 8;
}

// A hand-made head and items; all times are those of one second.
constexpr int64_t kTime = 1000000000;
std::string head(uint64_t trailing = 0) {
    return number(128, 4) + "ORVEX-Pkg-File\0\0"s + number(6, 2) + number(0, 2) +
           number(trailing, 8) + std::string(96, 'u');
}
std::string item(const std::string& folder, const std::string& name, const std::string& content,
                 const std::string& kind = "\0\0"s) {
    std::string bytes = number(64, 4) + kind + std::string(10, '\0') + number(content.size(), 8) +
                        number(content.size(), 8) + number(kTime, 4) + number(kTime, 4) +
                        number(folder.size(), 2) + number(name.size(), 2) + "\3\0\0\0PkgItem\0"s +
                        std::string(8, '\0') + folder + '\0' + name + '\0' + content;
    bytes.resize(padded(bytes.size()));
    return bytes;
}
std::string folder_item(const std::string& folder, const std::string& name) {
    return item(folder, name, "", "\0\1"s);
}
std::string with(std::string bytes, size_t at, const std::string& changed) {
    return bytes.replace(at, changed.size(), changed);
}

// Reads a package by its format alone: names and contents, a backslash behind a folder's name.
using Tree = std::map<std::string, std::string>;
Tree unpacked(const std::string& bytes) {
    EXPECT_EQ(bytes.substr(0, 32), head().substr(0, 32));
    EXPECT_EQ(bytes.substr(48, 80), std::string(80, '\0'));
    Tree tree;
    for (size_t at = 128; at < bytes.size();) {
        EXPECT_EQ(bytes.substr(at, 5), number(64, 4) + '\0');
        EXPECT_EQ(bytes.substr(at + 48, 16), "PkgItem\0"s + std::string(8, '\0'));
        const bool is_folder = bytes.at(at + 5) == 1;
        const uint64_t p = number_at(bytes, at + 40, 2);
        const uint64_t n = number_at(bytes, at + 42, 2);
        const uint64_t d = number_at(bytes, at + 16, 8);
        const size_t texts = at + 64;
        const size_t end = texts + p + n + 2 + d;
        EXPECT_EQ(bytes.at(texts + p) | bytes.at(texts + p + 1 + n), 0);
        const std::string folder = bytes.substr(texts, p) + (p > 0 ? "\\" : "");
        const std::string name = folder + bytes.substr(texts + p + 1, n) + (is_folder ? "\\" : "");
        EXPECT_TRUE(p == 0 || tree.contains(folder)) << name;  // which stands before what it holds
        EXPECT_TRUE(tree.emplace(name, bytes.substr(end - d, d)).second) << name;
        at = padded(end);
        EXPECT_EQ(bytes.substr(end, at - end), std::string(at - end, '\0'));
    }
    return tree;
}

std::string told_of(int64_t result) {
    const std::string error = taken_error();
    return result < 0 ? error : std::to_string(result) + (error.empty() ? "" : ", " + error);
}

// A failure that leaves a line in the history alone.
constexpr Text kTraceAlone = "103 ";

class FilePackage : public testing::Test {
 protected:
    ~FilePackage() override { OXLANG_SetLocale(1033); }
    int32_t pack(const std::string& name) {
        return FILEPKG_NewPkgFile(package_.c_str(), root_.c_str(), nullptr, name.c_str(), nullptr,
                                  0);
    }
    // Writes a package, and extracts it, or an item, to "out".
    std::string extract(const std::string& bytes, int64_t position = 0, Text folder = nullptr,
                        Text name = nullptr, FILEPKG_CONVERT convert = nullptr) {
        folder_.write("a.pkg", bytes);
        ORVEX_Err_ClearError();
        return told_of(
            FILEPKG_Extract(package_.c_str(), out_.c_str(), folder, name, position, convert, 0));
    }
    // Each name with its size, in the order of names.
    std::string list() {
        OXFILESTAT* items = nullptr;
        const int32_t count = FILEPKG_GetItemList(package_.c_str(), &items);
        std::set<std::string> names;
        for (int32_t i = 0; i < count; ++i) {
            const std::string folder = items[i].nAttr == OXFILESTAT_DIRECTORY ? "\\ " : " ";
            names.insert(items[i].szName + folder + std::to_string(Char8To_uint8(items[i].nSize)));
        }
        ORVEX_free(items);
        std::string text = told_of(count) + ":";
        for (const std::string& name : names) text += " " + name;
        return text;
    }
    std::string load(int64_t position, int32_t content) {
        ORVEX_HFILE* file = ORVEX_HFILE_Open(package_.c_str(), 0);
        uint8_t* loaded = nullptr;
        std::string told = told_of(FILEPKG_ExtractIntoMemory(file, position, &loaded, content));
        ORVEX_HFILE_Close(&file);
        if (loaded == nullptr) return told;
        const auto* bytes = reinterpret_cast<const FILEPKG_ITEM*>(loaded);
        const int64_t texts = 66 + Char2To_uint2(bytes->nDirLen) + Char2To_uint2(bytes->nNameLen);
        told.assign(reinterpret_cast<char*>(loaded),
                    static_cast<size_t>(content != 0 ? FILEPKG_UTIL_ItemLen(bytes) : texts));
        ORVEX_free(loaded);
        return told;
    }

    TempFolder folder_;
    const std::string root_ = folder_.str();
    const std::string package_ = folder_ / "a.pkg";
    const std::string out_ = folder_ / "out";
};

#if defined(_WIN32)
constexpr int kFolders = 20;  // a file costs far more there
#else
constexpr int kFolders = 200;
#endif

TEST_F(FilePackage, HoldsATreeAsItIs) {
    OXLANG_SetLocale(2052);
    Tree expected{{"tree\\", ""}, {"tree\\empty\\", ""}};
    fs::create_directories(folder_.path() / "tree" / "empty");
    const auto add = [&](const std::string& folder, const std::string& name,
                         const std::string& content) {
        folder_.write("tree/" + folder + name, content);
        expected["tree\\" + (folder.empty() ? "" : folder.substr(0, folder.size() - 1) + "\\") +
                 name] = content;
    };
    // One file of each length, and links to it in the other folders, which are cheaper.
    for (int i = 0; i < kFolders; ++i) {
        const std::string folder = "folder" + std::to_string(i) + "/";
        const fs::path path = folder_.path() / "tree" / folder;
        fs::create_directory(path);
        expected["tree\\folder" + std::to_string(i) + "\\"] = "";
        for (int file = 0; file < 100; ++file) {
            const std::string name = "f" + std::to_string(file);
            const auto letter = static_cast<char>('a' + file % 26);
            const std::string content(static_cast<size_t>(file), letter);
            if (i == 0) folder_.write("tree/folder0/" + name, content);
            if (i > 0) fs::create_hard_link(folder_.path() / "tree/folder0" / name, path / name);
            expected["tree\\folder" + std::to_string(i) + "\\" + name] = content;
        }
    }
    add("", "large", std::string(3000001, 'L'));
    add("folder1/", "edge", std::string(32768, 'e'));
    add("folder1/", "beyond", std::string(32769, 'b'));
#if !defined(_WIN32)
    add("", "\xD6\xD0\xCE\xC4.txt", "GBK");
    add("", "\x95\x5C.txt", "a character whose second byte is a backslash");
    add("", "\xE4\xB8\xAD\xE6\x96\x87.txt", "UTF-8");
    add("", "read-only", "r");
    fs::permissions(folder_.path() / "tree/read-only", fs::perms::owner_read);
    ASSERT_EQ(mkfifo((folder_ / "tree/pipe").c_str(), 0600), 0);
    expected["tree\\pipe"] = "";
    fs::create_symlink("large", folder_.path() / "tree/link");
    fs::create_directory_symlink("..", folder_.path() / "tree/loop");
    expected["tree\\link"] = expected["tree\\large"];
    expected["tree\\loop\\"] = "";
#endif
    ASSERT_EQ(pack("tree"), 1) << error_of_this_thread();
    EXPECT_TRUE(unpacked(read_bytes(package_)) == expected);
    std::string names;
    for (const auto& [name, content] : std::map(expected)) {
        names += " " + name + " " + std::to_string(content.size());
    }
    EXPECT_TRUE(list() == std::to_string(expected.size()) + ":" + names);
}

TEST_F(FilePackage, ItemsByteForByte) {
    fs::create_directory(folder_.path() / "d");
    const std::string source = folder_.write("d/n", "hello");
    ORVEX_FileChangeModAccessTime(source.c_str(), kTime, kTime);
    OXSTAT64 state;
    ORVEX_FileStatByFileName(source.c_str(), &state);
    const std::string expected =
        with(item("d", "n", "hello"), 32, number(static_cast<uint64_t>(state.st_ctime), 4));
    ASSERT_EQ(FILEPKG_New(package_.c_str()), 1);
    const std::string empty = read_bytes(package_);
    EXPECT_EQ(std::to_string(empty.size()) + " " + list(), "128 0:");
    const auto add = [&] {
        return FILEPKG_AddFile(package_.c_str(), root_.c_str(), "d", "n", nullptr, 0);
    };
    ASSERT_EQ(add(), 1);
    EXPECT_EQ(read_bytes(package_), empty + expected);
    EXPECT_EQ(load(128, 1), expected);
    EXPECT_EQ(load(128, 0), expected.substr(0, 68));

    FILEPKG_ITEM built;
    EXPECT_EQ(FILEPKG_GetFileInfo(root_.c_str(), "d", "n", &built), 1);
    ORVEX_HFILE* file = ORVEX_HFILE_Open(package_.c_str(), 0);
    const std::tuple<Text, std::string, std::string> rows[] = {
        {"d", source, "1"}, {"dd", source, "128 ofilepkg"}, {"d", "no", "23 oxfileop no"}};
    for (const auto& [directory, name, told] : rows) {
        EXPECT_EQ(told_of(FILEPKG_AddInItem(file, &built, directory, "n", name.c_str())), told);
    }
    // An item without a folder takes none.
    EXPECT_EQ(FILEPKG_GetFileInfo((folder_ / "d").c_str(), nullptr, "n", &built), 1);
    EXPECT_EQ(FILEPKG_AddInItem(file, &built, "d", "n", source.c_str()), 1);
    ORVEX_HFILE_Close(&file);
    EXPECT_EQ(read_bytes(package_), empty + expected + expected +
                                        with(item("", "n", "hello"), 32, expected.substr(32, 4)));
    char name[64];
    const auto* bytes = reinterpret_cast<const uint8_t*>(expected.data());
    EXPECT_EQ(FILEPKG_UTIL_RelPathFileName(nullptr, name), 0);
    EXPECT_EQ(FILEPKG_UTIL_RelPathFileName(bytes, name), 0);
    EXPECT_EQ(FILEPKG_BuildFileName("r", name, "x", name + 8), 1);
    EXPECT_EQ(name + " "s + (name + 8), "d\\n r\\d\\n\\x");
}

TEST_F(FilePackage, WhatCannotBePackedLeavesThePackage) {
    fs::create_directory(folder_.path() / "d");
    folder_.write("d/a", "A");
    EXPECT_EQ(told_of(pack("none")), "23 oxfileop " + root_ + "\\none");
    const std::tuple<std::string, std::string> rows[] = {
        {"", kTraceAlone},
        {head() + "1234", "293 ofilepkg orgpos=132"},
        {std::string(128, 'x'), "128 ofilepkg"},
        {head(64), "423 ofilepkg"},
        {head(99999), kTraceAlone},
        // The new item's place would lie in the head, and between two.
        {head(208) + item("", "x", "0123456") + item("", "last", ""), "128 ofilepkg"},
        {with(head(132) + "1234" + item("", "last", std::string(300, 'l')), 24, number(132, 8)) +
             "1234",
         "128 ofilepkg"},
    };
    for (const auto& [bytes, error] : rows) {
        folder_.write("a.pkg", bytes);
        ORVEX_Err_ClearError();
        EXPECT_EQ(told_of(FILEPKG_AddFile(package_.c_str(), root_.c_str(), "d", "a", nullptr, 0)),
                  error);
        EXPECT_EQ(read_bytes(package_), bytes);
    }
#if !defined(_WIN32)
    fs::create_symlink("nowhere", folder_.path() / "d/z");
    EXPECT_EQ(told_of(pack("d")), "23 oxfileop " + root_ + "\\d\\z");
    EXPECT_TRUE(unpacked(read_bytes(package_)).contains("d\\"));
    const std::string name(250, 'n');
    folder_.write(name, "small");
    EXPECT_EQ(told_of(pack(name)), "124 ofilehop " + (root_ + "\\" + name).substr(0, 144));
#endif
}

// Of 480 bytes with such an item at 208: at 272.
TEST_F(FilePackage, ATrailingItemSendsTheNewOneElsewhere) {
    ORVEX_FileChangeModAccessTime(folder_.write("n", "new").c_str(), kTime, kTime);
    const std::string last = item("", "last", std::string(200, 'L'));
    const std::string bytes = head(208) + item("", "x", "0123456") + last;
    folder_.write("a.pkg", bytes);
    ASSERT_EQ(FILEPKG_AddFile(package_.c_str(), root_.c_str(), nullptr, "n", nullptr, 0), 1);
    EXPECT_EQ(with(read_bytes(package_), 272 + 32, number(kTime, 4)),
              bytes.substr(0, 272) + item("", "n", "new") + last);
}

TEST_F(FilePackage, ExtractsTheStartOfThePackage) {
    const std::string bytes = head() + folder_item("", "d") + folder_item("d", "e") +
                              item("d\\e", "n", "0123456789") + item("", "empty", "") +
                              item("", "a..b.txt", "x");
    EXPECT_EQ(extract(bytes), "1");
    OXSTAT64 state;
    ORVEX_FileStatByFileName((out_ + "/d/e/n").c_str(), &state);
    EXPECT_EQ(state.st_mtime + state.st_atime, 2 * kTime);
    EXPECT_EQ(read_bytes(out_ + "/d/e/n"), bytes.substr(0, 10));
    EXPECT_EQ(read_bytes(out_ + "/empty"), bytes);
    EXPECT_EQ(read_bytes(out_ + "/a..b.txt"), bytes.substr(0, 1));
    // The root under no name.
    EXPECT_EQ(extract(head() + folder_item("", "") + item("", "n", "1")), "1");
    // One alone, whose folder must be there.
    const std::string two = head() + item("no", "n", "1") + item("", "n", "22");
    const std::tuple<int64_t, std::string> rows[] = {{128, "7 ofilehop " + out_ + "\\no\\n"},
                                                     {200, "1"},
                                                     {64, "424 ofilepkg"},
                                                     {208, kTraceAlone},
                                                     {INT64_MAX, kTraceAlone}};
    for (const auto& [position, told] : rows) EXPECT_EQ(extract(two, position), told) << position;
    EXPECT_EQ(extract(std::string(128, '\0')), "128 ofilepkg");
    EXPECT_EQ(load(64, 1) + load(128, 1), "423 ofilepkg"s + kTraceAlone);
}

TEST_F(FilePackage, FiltersNameWhatIsLeftOut) {
    fs::create_directories(folder_.path() / "out" / "d");
    const std::string bytes =
        head() + item("d", "c", "1") + item("", "a", "1") + item("", "b", "1");
    const std::tuple<Text, Text, std::string> rows[] = {
        {"D", nullptr, "1 a b"}, {"", nullptr, "1 c"}, {nullptr, "A", "1 b"},
        {"x", "C", "1 a"},       {"x", "none", "1 c"}, {"d", "b", "1 a"}};
    for (const auto& [folder, name, expected] : rows) {
        std::string told = extract(bytes, 0, folder, name);
        for (const char* file : {"a", "b", "d/c"}) {
            if (fs::remove(fs::path(out_) / file)) told += " "s + file[strlen(file) - 1];
        }
        EXPECT_EQ(told, expected);
    }
    // One that is left out is stepped over by the length of the one that was extracted.
    EXPECT_EQ(extract(head() + item("", "a", "1") + item("d", "b", std::string(80, 'b')), 0, "d"),
              "128 ofilepkg");
}

TEST_F(FilePackage, NothingLeavesTheRoot) {
    fs::create_directories(folder_.path() / "out" / "d");
    for (const std::string& name :
         {"\\x"s, "/x"s, "C:x"s, ".."s, "..\\x"s, "d/../../x"s, "d\\..\\..\\x"s, "d/.. "s, ""s}) {
        EXPECT_EQ(extract(head() + item("", name, "evil")), "128 ofilepkg") << name;
        EXPECT_EQ(extract(head() + item("d", name, "evil")), "128 ofilepkg") << name;
        if (name.empty()) continue;
        EXPECT_EQ(extract(head() + folder_item(name, "x")), "128 ofilepkg") << name;
    }
#if !defined(_WIN32)
    fs::create_directory_symlink("..", folder_.path() / "out/up");
    fs::create_symlink("../target", folder_.path() / "out/file");
    EXPECT_EQ(extract(head() + item("up", "x", "evil")), "128 ofilepkg");
    EXPECT_EQ(extract(head() + folder_item("up\\new", "x")), "128 ofilepkg");
    EXPECT_EQ(extract(head() + item("", "file", "evil")), "128 ofilepkg");
    // The separator behind the root isn't taken for the second byte of its last character.
    OXLANG_SetLocale(2052);
    const std::string root = out_ + "/\xE4\xB8\xAD";
    fs::create_directory(root);
    folder_.write("a.pkg", head() + item("", "\xFFx", ""));
    EXPECT_EQ(FILEPKG_Extract(package_.c_str(), root.c_str(), nullptr, nullptr, 0, nullptr, 0), 1);
    EXPECT_EQ(names_in(root), Texts{"\xFFx"});
#endif
    EXPECT_EQ(names_in(folder_.path()), (Texts{"a.pkg", "out"}));
    const std::string itself = head() + item("", "a.pkg", "evil");
    folder_.write("a.pkg", itself);
    EXPECT_EQ(FILEPKG_Extract(package_.c_str(), root_.c_str(), nullptr, nullptr, 0, nullptr, 0),
              -1);
    EXPECT_TRUE(read_bytes(package_) == itself);
}

TEST_F(FilePackage, ItemsThatLie) {
    const std::string one = item("d", "n", "0123456789");
    const std::string rows[] = {with(one, 16, number(13, 8)),
                                with(one, 16, number(UINT64_MAX, 8)),
                                with(one, 16, number(INT64_MAX, 8)).substr(0, 80),
                                with(one, 40, number(0xFFFF, 2)),
                                with(one, 42, number(0xFFFF, 2)),
                                with(one, 0, number(63, 4)),
                                with(one, 55, "x"),
                                one.substr(0, one.size() - 1)};
    for (const std::string& row : rows) {
        EXPECT_EQ(extract(head() + row), "128 ofilepkg");
        EXPECT_EQ(list(), "128 ofilepkg:");
        EXPECT_EQ(load(128, 0), "128 ofilepkg");
    }
    folder_.write("a.pkg", head() + with(one, 16, number(0x40000001, 8)));
    EXPECT_EQ(load(128, 1), "292 ofilepkg itemsize=1073741825");
    // Its texts end where the head says, whatever stands there.
    const std::string unended = with(with(one, 65, "xyz"), 16, number(0, 8)).substr(0, 72);
    folder_.write("a.pkg", head() + unended);
    EXPECT_EQ(load(128, 0), with(unended.substr(0, 68), 65, "\0y\0"s));
    folder_.write("a.pkg", head() + item("d", std::string(300, 'n'), ""));
    EXPECT_EQ(list(), "1: d\\" + std::string(261, 'n') + " 0");
}

std::string converted;
int32_t moves(const char* source, char* target, int32_t zero) {
    converted = source;
    return zero == 0 ? ORVEX_FileCopy(source, target, 0) : -1;
}
int32_t fails(const char* /*source*/, char* /*target*/, int32_t /*zero*/) {
    return -1;
}
int32_t replaces(const char* source, char* target, int32_t /*zero*/) {
    converted = source;
    std::strcpy(target, (source + "z"s).c_str());
    return 1;
}

TEST_F(FilePackage, ConversionsAreTheCallers) {
    fs::create_directory(out_);
    const std::string bytes = head() + item("", "n", "0123", "\1\0"s);
    EXPECT_EQ(extract(bytes), "50 ofilepkg");
    EXPECT_EQ(extract(bytes, 0, nullptr, nullptr, fails), kTraceAlone);
    folder_.write("out/n.ZIP.99999999", "taken");
    EXPECT_EQ(extract(bytes, 0, nullptr, nullptr, moves), "1");
    EXPECT_EQ(converted, out_ + "\\n.ZIP.99999998");
    EXPECT_EQ(read_bytes(out_ + "/n"), bytes.substr(0, 4));
    EXPECT_EQ(names_in(out_), (Texts{"n", "n.ZIP.99999999"}));

    folder_.write("fz", "small");
    folder_.write("f", "large and long");
    EXPECT_EQ(FILEPKG_NewPkgFile(package_.c_str(), root_.c_str(), "", "f", replaces, 0), 1);
    EXPECT_EQ(converted, root_ + "\\f");
    EXPECT_EQ(unpacked(read_bytes(package_)), (Tree{{"f", "small"}}));
    EXPECT_EQ(list(), "1: f 14");
    EXPECT_EQ(FILEPKG_NewPkgFile(package_.c_str(), root_.c_str(), "", "f", fails, 0), -1);
}

}  // namespace
