#include "support/object_name.h"
#include "support/test.h"

namespace {

struct Block : MOLTE_FMAP {
    Block() : MOLTE_FMAP{} {}
    ~Block() { MOLTE_SHMEM_Release(this); }
    [[nodiscard]] char* text() const { return static_cast<char*>(pView); }
};

std::string read_file(const std::string& name) {
    uint8_t* bytes = nullptr;
    int32_t size = -1;
    const int32_t result = MOLTE_MTEMPF_ReadBinFile(name.c_str(), &bytes, &size);
    const std::string text(bytes, bytes + size);
    ORVEX_free(bytes);
    return result < 0 ? error_of(result) : size == result ? text : "two lengths";
}

// Opens a block, adds one to each byte of its text, and stays until it is told to go.
CHILD_ROLE(hold_block) {
    Block block;
    if (MOLTE_SHMEM_Open(&block, args[0].c_str()) != 1) return 1;
    for (char* c = block.text(); *c != '\0'; ++c) ++*c;
    tell_parent("done");
    hear_parent();
    return 0;
}

TEST(SharedMemory, LivesWhileAnyoneHoldsIt) {
    const std::string name = new_name();
    Block block;
    ASSERT_EQ(MOLTE_SHMEM_Create(&block, 100'000, name.c_str()), 1);
    std::strcpy(block.text(), "HAL");
    ChildProcess child("hold_block", {name});
    EXPECT_EQ(child.read_line(), "done");
    MOLTE_SHMEM_Release(&block);
    EXPECT_EQ(MOLTE_SHMEM_Create(&block, 5, name.c_str()), 1);  // the same, and as large
    EXPECT_STREQ(block.text() + 99'990, "");
    EXPECT_STREQ(block.text(), "IBM");
    MOLTE_SHMEM_Release(&block);
    child.kill();
    child.wait();
    EXPECT_EQ(error_of(MOLTE_SHMEM_Open(&block, name.c_str())), "261 oxshmem " + name);
    ASSERT_EQ(MOLTE_SHMEM_Create(&block, 10, name.c_str()), 1);
    EXPECT_STREQ(block.text(), "");  // nothing of the old one
}

TEST(SharedMemory, BadCallsAreErrors) {
    const std::string name = new_name();
    Block small;
    Block block;
    ASSERT_EQ(MOLTE_SHMEM_Create(&small, 1, name.c_str()), 1);
    for (const int64_t size : {int64_t{0}, int64_t{-1}, int64_t{1} << 60}) {
        EXPECT_EQ(error_of(MOLTE_SHMEM_Create(&block, size, "x")), "259 oxshmem x") << size;
    }
    EXPECT_EQ(error_of(MOLTE_SHMEM_Create(&block, 1 << 20, name.c_str())), "260 oxshmem " + name);
    EXPECT_TRUE(block.hMapping == nullptr && block.pView == nullptr);
    EXPECT_EQ(error_of(MOLTE_SHMEM_Create(nullptr, 1, "x")), "50 oxshmem");
    EXPECT_EQ(error_of(MOLTE_SHMEM_Open(nullptr, "x")), "50 oxshmem");
    EXPECT_EQ(error_of(MOLTE_SHMEM_Open(&block, nullptr)), "261 oxshmem");
    for (const int64_t length : {int64_t{-1}, INT64_MAX}) {
        EXPECT_EQ(error_of(MOLTE_MTEMPF_SaveBinFile(&block, "x", "a", length)), "259 oxshmem x");
    }
    EXPECT_EQ(error_of(MOLTE_MTEMPF_SaveBinFile(&block, "x", nullptr, 1)), "50 oxshmem");
    EXPECT_EQ(MOLTE_SHMEM_Create(&block, 10, nullptr), 1);
}

// Between them one waits until the other has read.
CHILD_ROLE(read_and_tell) {
    tell_parent(read_file(args[0]));
    return MOLTE_MTEMPF_SetFileReadFlag(args[1].c_str());
}

TEST(SharedMemory, AFileGivesAsManyBytesAsItsNameIsLong) {
    const std::string slash = new_name() + "/b";
    const std::string flag = new_name();
    std::string name = slash;
    name[name.size() - 2] = '\\';
    const std::string data(100, 'd');
    Block saved;
    ASSERT_EQ(MOLTE_MTEMPF_SaveBinFile(&saved, name.c_str(), data.data(), 100), 1);
    EXPECT_EQ(std::string(saved.text(), 105),
              bytes_of(static_cast<uint32_t>(name.size())) + data + '\0');
    EXPECT_EQ(MOLTE_MTEMPF_SetFileReadFlag(flag.c_str()), 1);  // nobody waits
    OXHANDLE event = ORVEX_EVENT_Create(flag.c_str());  // so that the flag can't come too early
    ChildProcess reader("read_and_tell", {slash, flag});
    const auto begin = steady_clock::now();
    EXPECT_EQ(MOLTE_MTEMPF_WaitFileToRead(flag.c_str(), 100), 1);
    EXPECT_LT(steady_clock::now() - begin, milliseconds(90'000));
    ORVEX_EVENT_Release(event);
    EXPECT_EQ(reader.read_line(), data.substr(0, name.size()));
    EXPECT_EQ(MOLTE_MTEMPF_WaitFileToRead(flag.c_str(), 1), 1);  // the end of the time
    EXPECT_EQ(MOLTE_MTEMPF_RemoveFile(&saved), 1);
    EXPECT_EQ(read_file(name), "261 oxshmem " + slash);
    ASSERT_EQ(MOLTE_MTEMPF_SaveBinFile(&saved, name.c_str(), "short", 5), 1);
    EXPECT_EQ(read_file(name), "short" + std::string(name.size() - 5, '\0'));
    std::memset(saved.pView, 0xFF, 4);
    EXPECT_EQ(read_file(name).size(), 4092U);  // what the block has
}

}  // namespace
