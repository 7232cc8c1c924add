#include "support/scenes.h"

namespace {

using FilePackage = InFolder;

std::string number(uint64_t value, size_t size) {
    uint8_t field[8];
    uint8ToChar8(value, field);
    return bytes_of(field).substr(8 - size);
}

// A hand-made head and items, of the kinds "item", "folder", "compressed"; all times are those of
// one second.
constexpr int64_t kTime = 1000000000;
std::string head(uint64_t trailing) {
    return "\0\0\0\x80ORVEX-Pkg-File\0\0\0\6\0\0"s + number(trailing, 8) + std::string(96, 'u');
}
std::string item(const std::string& kind, const std::string& folder, const std::string& name,
                 const std::string& content) {
    std::string bytes =
        "\0\0\0\x40"s + (kind == "compressed" ? '\1' : '\0') + (kind == "folder" ? '\1' : '\0') +
        std::string(10, '\0') + number(content.size(), 8) + number(content.size(), 8) +
        number(kTime, 4) + number(kTime, 4) + number(folder.size(), 2) + number(name.size(), 2) +
        "\3\0\0\0PkgItem\0\0\0\0\0\0\0\0\0"s + folder + '\0' + name + '\0' + content;
    bytes.resize((bytes.size() + 7) / 8 * 8);
    return bytes;
}
std::string without_state(std::string bytes) {
    return bytes.replace(24, 16, 16, '\0').replace(44, 4, 4, '\0');
}

// Names and contents, a backslash behind a folder's name, of a package whose items are what item()
// makes, and of what lies in a folder.
using Tree = std::map<std::string, std::string>;
Tree unpacked(const std::string& bytes) {
    EXPECT_EQ(bytes.substr(0, 32) + bytes.substr(48, 80),
              head(0).substr(0, 32) + std::string(80, '\0'));
    Tree tree;
    for (size_t at = 128, size = 0; at < bytes.size(); at += size) {
        const auto* record = reinterpret_cast<const FILEPKG_ITEM*>(&bytes[at]);
        const bool is_folder = record->bDirectory == 1;
        const std::string folder = &bytes.at(at + 64);
        const std::string name = &bytes.at(at + 65 + folder.size());
        const std::string content =
            bytes.substr(at + 66 + folder.size() + name.size(), Char8To_uint8(record->n64DataLen));
        const std::string made = item(is_folder ? "folder" : "item", folder, name, content);
        size = made.size();
        EXPECT_EQ(without_state(bytes.substr(at, size)), without_state(made));
        const std::string full_name = (folder.empty() ? "" : folder + "\\") + name;
        EXPECT_TRUE(folder.empty() || tree.contains(folder + "\\")) << "must stand before " << name;
        EXPECT_TRUE(tree.emplace(full_name + (is_folder ? "\\" : ""), content).second) << full_name;
    }
    return tree;
}
Tree tree_below(const fs::path& root) {
    Tree tree;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::string name = entry.path().lexically_relative(root).string();
        std::replace(name.begin(), name.end(), '/', '\\');
        if (entry.is_directory()) name += "\\";
        tree[name] = entry.is_regular_file() ? read_bytes(entry.path()) : "";
    }
    return tree;
}

// Each name with its size, in the order of names.
std::string list(Text package) {
    OXFILESTAT* items = nullptr;
    const int32_t count = FILEPKG_GetItemList(package, &items);
    std::set<std::string> names;
    for (int32_t i = 0; i < count; ++i) {
        const std::string folder = items[i].nAttr == OXFILESTAT_DIRECTORY ? "\\ " : " ";
        names.insert(items[i].szName + folder + std::to_string(Char8To_uint8(items[i].nSize)));
    }
    ORVEX_free(items);
    std::string text = outcome(count);
    for (const std::string& name : names) text += " " + name;
    return text;
}

std::string load(const Texts& step) {
    Argument package(step[1]);
    uint8_t* item = nullptr;
    const bool has_content = step[3] == "1";
    const int32_t result = FILEPKG_ExtractIntoMemory(package.as<ORVEX_HFILE*>(),
                                                     std::stoll(step[2]), &item, has_content);
    if (result < 0) return item == nullptr ? outcome(result) : "an item that isn't there";
    std::array<char, 1024> name{};
    FILEPKG_UTIL_RelPathFileName(item, name.data());
    const auto* head = reinterpret_cast<const FILEPKG_ITEM*>(item);
    std::string told = name.data();
    if (has_content) {
        const int texts = Char2To_uint2(head->nDirLen) + Char2To_uint2(head->nNameLen);
        told += " ";
        told.append(reinterpret_cast<char*>(item) + 66 + texts, Char8To_uint8(head->n64DataLen));
    }
    ORVEX_free(item);
    return told;
}

// A caller's conversions, and the source that one was called for.
std::string converted;
const std::map<std::string, FILEPKG_CONVERT> kConversions{
    {"none", nullptr},
    {"fails", [](Text, char*, int32_t) { return -1; }},
    {"copies",
     [](Text source, char* target, int32_t zero) {
         converted = source;
         return zero == 0 ? ORVEX_FileCopy(source, target, 0) : -1;
     }},
    {"replaces", [](Text source, char* target, int32_t /*zero*/) {
         converted = source;
         std::strcpy(target, (converted + "z").c_str());
         return 1;
     }}};
int32_t extract(Text package, Text root, Text folder, Text name, int64_t position, Text convert) {
    return FILEPKG_Extract(package, root, folder, name, position, kConversions.at(convert), 0);
}
int32_t pack(Text package, Text root, Text folder, Text name, Text convert) {
    return FILEPKG_NewPkgFile(package, root, folder, name, kConversions.at(convert), 0);
}
int32_t add(Text package, Text root, Text folder, Text name) {
    return FILEPKG_AddFile(package, root, folder, name, nullptr, 0);
}

std::string give_package(const Texts& step) {
    std::ofstream(step[1], std::ios::binary) << head(std::stoull(step[2]));
    return step.back();
}
std::string give_item(const Texts& step) {
    std::ofstream(step[1], std::ios::binary | std::ios::app)
        << item(step[0], step[2], step[3], step[4]);
    return step.back();
}
// The length of the first item's content, as its head tells it.
std::string claim_length(const Texts& step) {
    std::fstream(step[1], std::ios::binary | std::ios::in | std::ios::out).seekp(144)
        << number(std::stoull(step[2]), 8);
    return step.back();
}
// One item as it comes out of a package of its own.
std::string extract_alone(const Texts& step) {
    give_package({"package", step[1], "0"});
    give_item({step[3], step[1], step[4], step[5], "evil"});
    return step_of<extract>({"extract", step[1], step[2], "(null)", "(null)", "0", "none"});
}

[[maybe_unused]] const bool plays = play_scenes<FilePackage>(
    "FilePackage", TEST_ROWS,
    {{"package", give_package},
     {"item", give_item},
     {"folder", give_item},
     {"compressed", give_item},
     {"claim", claim_length},
     {"make", step_of<[](Text folder) { return fs::create_directories(folder) ? 1 : 0; }>},
     {"length", step_of<ORVEX_FileLenByFileName>},
     {"resize", step_of<ORVEX_FileChangeSizeByFN>},
     {"times", step_of<[](Text file) {
          OXSTAT64 state{};
          ORVEX_FileStatByFileName(file, &state);
          return std::to_string(state.st_mtime) + " " + std::to_string(state.st_atime);
      }>},
     {"pack", step_of<pack>},
     {"add", step_of<add>},
     {"info", step_of<FILEPKG_GetFileInfo>},
     {"add_in", step_of<FILEPKG_AddInItem>},
     {"build_name", step_of<FILEPKG_BuildFileName>},
     {"list", step_of<list>},
     {"load", load},
     {"extract", step_of<extract>},
     {"extract_alone", extract_alone},
     {"converted", [](const Texts& /*step*/) { return converted; }}});

#if defined(_WIN32)
constexpr int kFolders = 20;  // a file costs far more there
#else
constexpr int kFolders = 200;
#endif

TEST_F(FilePackage, HoldsATreeAsItIs) {
    OXLANG_SetLocale(2052);
    const fs::path tree = folder_.path() / "root/tree";
    fs::create_directories(tree / "empty");
    fs::create_directory(tree / "folder0");
    for (size_t size = 0; size < 100; ++size) {
        folder_.write("root/tree/folder0/f" + std::to_string(size),
                      std::string(size, "abc"[size % 3]));
    }
    for (int i = 1; i < kFolders; ++i) {
        fs::copy(tree / "folder0", tree / ("folder" + std::to_string(i)),
                 fs::copy_options::create_hard_links);
    }
    folder_.write("root/tree/large", std::string(3000001, 'L'));
    folder_.write("root/tree/folder1/edge", std::string(32768, 'e'));
    folder_.write("root/tree/folder1/beyond", std::string(32769, 'b'));
#if !defined(_WIN32)
    folder_.write("root/tree/\xD6\xD0\xCE\xC4.txt", "GBK");
    folder_.write("root/tree/\x95\x5C.txt", "a character whose second byte is a backslash");
    folder_.write("root/tree/\xE4\xB8\xAD\xE6\x96\x87.txt", "UTF-8");
    fs::permissions(folder_.write("root/tree/read-only", "r"), fs::perms::owner_read);
    ASSERT_EQ(mkfifo((tree / "pipe").c_str(), 0600), 0);
    fs::create_symlink("large", tree / "link");
    fs::create_directory_symlink("..", tree / "loop");
#endif
    const std::string package = folder_ / "a.pkg";
    ASSERT_EQ(pack(package.c_str(), (folder_ / "root").c_str(), nullptr, "tree", "none"), 1);
    const Tree expected = tree_below(folder_.path() / "root");
    EXPECT_TRUE(unpacked(read_bytes(package)) == expected);
    std::string listed = std::to_string(expected.size());
    for (const auto& [name, content] : expected) {
        listed += " " + name + " " + std::to_string(content.size());
    }
    EXPECT_TRUE(list(package.c_str()) == listed);
}

TEST_F(FilePackage, ItemsByteForByte) {
    fs::create_directory(folder_.path() / "d");
    const std::string source = folder_.write("d/n", "hello");
    ORVEX_FileChangeModAccessTime(source.c_str(), kTime, kTime);
    OXSTAT64 state;
    ORVEX_FileStatByFileName(source.c_str(), &state);
    const std::string expected =
        item("item", "d", "n", "hello")
            .replace(32, 4, number(static_cast<uint64_t>(state.st_ctime), 4));
    const std::string package = folder_ / "a.pkg";
    const std::string root = folder_.str();
    ASSERT_EQ(pack(package.c_str(), root.c_str(), "d", "n", "none"), 1);
    EXPECT_EQ(read_bytes(package).substr(128), expected);
    FILEPKG_ITEM built;
    EXPECT_EQ(FILEPKG_GetFileInfo(root.c_str(), "d", "n", &built), 1);
    ORVEX_HFILE* file = ORVEX_HFILE_Open(package.c_str(), 0);
    EXPECT_EQ(FILEPKG_AddInItem(file, &built, "d", "n", source.c_str()), 1);
    ORVEX_HFILE_Close(&file);
    EXPECT_EQ(read_bytes(package).substr(128), expected + expected);
}

#if !defined(_WIN32)
TEST_F(FilePackage, LinksArentFollowedOutOfTheRoot) {
    fs::create_directory(folder_.path() / "out");
    fs::create_directory_symlink("..", folder_.path() / "out/up");
    fs::create_symlink("../target", folder_.path() / "out/file");
    const auto told = [&](const std::string& kind, const std::string& folder, Text name) {
        return extract_alone({"", folder_ / "a.pkg", folder_ / "out", kind, folder, name});
    };
    for (const std::string& error :
         {told("item", "up", "x"), told("folder", "up\\new", "x"), told("item", "", "file")}) {
        EXPECT_TRUE(error.starts_with("128 ofilepkg")) << error;
    }
    EXPECT_EQ(names_in(folder_.path()), (Texts{"a.pkg", "out"}));
    // One that leads nowhere isn't packed, and what was before it stays.
    fs::create_directory(folder_.path() / "d");
    fs::create_symlink("nowhere", folder_.path() / "d/z");
    const std::string package = folder_ / "b.pkg";
    EXPECT_EQ(error_of(pack(package.c_str(), folder_.str().c_str(), nullptr, "d", "none")),
              "23 oxfileop " + folder_.str() + "\\d\\z");
    EXPECT_TRUE(unpacked(read_bytes(package)).contains("d\\"));
}

TEST_F(FilePackage, NamesOfAnyBytesAndOfTooMany) {
    // The separator behind the root isn't taken for the second byte of its last character.
    OXLANG_SetLocale(2052);
    const std::string root = folder_ / "\xE4\xB8\xAD";
    fs::create_directory(root);
    EXPECT_EQ(extract_alone({"", folder_ / "a.pkg", root, "item", "", "\xFFx"}), "1");
    EXPECT_EQ(names_in(root), Texts{"\xFFx"});
    const std::string name(250, 'n');
    folder_.write(name, "small");
    EXPECT_EQ(error_of(pack((folder_ / "b.pkg").c_str(), folder_.str().c_str(), nullptr,
                            name.c_str(), "none")),
              "124 ofilehop " + (folder_.str() + "\\" + name).substr(0, 144));
}
#endif

}  // namespace
