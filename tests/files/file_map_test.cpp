#include "support/object_name.h"
#include "support/test.h"

namespace {

constexpr int32_t kReadOnly = MOLTE_FMAP_READONLY;
constexpr int64_t kStep = 65536;

struct File {
    ORVEX_HFILE* handle;
    explicit File(const std::string& path) : handle(ORVEX_HFILE_Open(path.c_str(), 0)) {}
    ~File() { ORVEX_HFILE_Close(&handle); }
};

struct Map : MOLTE_FMAP {
    Map() : MOLTE_FMAP{} {}
    ~Map() { MOLTE_FMAP_Unmap(this); }
    [[nodiscard]] std::string text(size_t size = 5) const {
        return pView != nullptr ? std::string(static_cast<char*>(pView), size) : "(none)";
    }
    void write(const std::string& bytes) const { std::memcpy(pView, bytes.data(), bytes.size()); }
};

class FileMap : public InFolder {
 protected:
    FileMap() { new_name(); }  // sets the folder of objects
};

TEST_F(FileMap, ShowsChangesAndLengthensTheFile) {
    const std::string path = folder_.write("data", std::string(kStep, 'a') + "hello world");
    Map map;
    {
        const File file(path);
        EXPECT_EQ(error_number_of(MOLTE_FMAP_Map(&map, file.handle, kStep, 12, kReadOnly)), 259U);
        EXPECT_EQ(MOLTE_FMAP_Map(&map, file.handle, kStep, 13, 0), 1);
    }
    map.write("HELLO");  // also when the file is closed
    for (int i = 0; i < 2; ++i) EXPECT_EQ(MOLTE_FMAP_Unmap(&map), 1);
    EXPECT_EQ(MOLTE_FMAP_Unmap(nullptr), 0);
    EXPECT_EQ(read_bytes(path).substr(kStep), std::string("HELLO world\0\0", 13));
}

TEST_F(FileMap, BadCallsAreErrorsAndChangeNothing) {
    const std::string path = folder_.write("data", "hello");
    const File file(path);
    const File empty(folder_.write("empty", ""));
    ORVEX_HFILE none = *file.handle;
    none.fd = -1;
    ORVEX_HFILE* read_only = ORVEX_HFILE_OpenMode(path.c_str(), 0x8000, 0);
    ORVEX_HFILE stale = *read_only;
    const std::string no_mapping = "259 ofilemap create file mapping error";
    const std::string no_view = "260 ofilemap MAP file error";
    const std::tuple<ORVEX_HFILE*, int64_t, int64_t, std::string> rows[] = {
        {file.handle, -kStep, 5, no_mapping},
        {file.handle, 0, -1, no_mapping},
        {file.handle, kStep, INT64_MAX, no_mapping},
        {&none, 0, 5, no_mapping},
        {empty.handle, 0, 0, no_mapping},
        {read_only, 0, 5, no_mapping},
        {file.handle, 1, 4, no_view},
        {file.handle, kStep, 0, no_view}};
    Map map;
    for (const auto& [from, offset, size, error] : rows) {
        EXPECT_EQ(error_of(MOLTE_FMAP_Map(&map, from, offset, size, 0)), error + from->szFileName);
        EXPECT_TRUE(map.hMapping == nullptr && map.pView == nullptr);
    }
    EXPECT_EQ(error_of(MOLTE_FMAP_Map(&map, nullptr, 0, 5, 0)), "50 ofilemap");
    ORVEX_HFILE_Close(&read_only);
    EXPECT_EQ(error_number_of(MOLTE_FMAP_Map(&map, &stale, 0, 5, kReadOnly)), 259U);
    EXPECT_EQ(read_bytes(path), "hello");
}

// By a relative name that another folder has as well.
CHILD_ROLE(map_file) {
    fs::current_path(args[0]);
    const File file("data");
    Map map;
    const std::string result = told(MOLTE_FMAP_Map(&map, file.handle, 0, 0, std::stoi(args[1])));
    const std::string text = map.text();
    if (args[1] == "0") map.write("child");
    tell_parent(result + " " + text);
    return 0;
}

TEST_F(FileMap, HasANameAndWhoComesNextGetsThatFile) {
    const TempFolder other;
    folder_.write("data", "first");
    const std::string theirs = other.write("data", "second, and longer");
    const auto seen = [&](const char* flags) {
        return ChildProcess("map_file", {other.str(), flags}).read_line();
    };
    fs::current_path(folder_.path());
    const File file("data");
    fs::current_path(fs::temp_directory_path());
    Map map;
    ASSERT_EQ(MOLTE_FMAP_Map(&map, file.handle, 0, 0, 0), 1);
    EXPECT_EQ(seen("256"), "1 first");
    EXPECT_EQ(seen("0"), "1 first");
    MOLTE_FMAP_Unmap(&map);
    EXPECT_EQ(read_bytes(folder_ / "data"), "child");
    EXPECT_EQ(seen("256"), "1 secon");
    EXPECT_EQ(read_bytes(theirs), "second, and longer");
}

}  // namespace
