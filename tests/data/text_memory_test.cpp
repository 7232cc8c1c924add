// Texts where memory runs out, in a process that may have little of it.
#include "support/test.h"

#if defined(_WIN32) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

TEST(LittleMemory, Fails) {
    GTEST_SKIP() << "the memory of this process can't be bounded";
}

#else

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>

namespace {

constexpr size_t kLarge = 64UL << 20;

// From here on, less than a large text can be had.
void bound_memory() {
    size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t bytes = pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)) + kLarge / 2;
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_AS, &limit);
}

CHILD_ROLE(little_memory) {
    const std::string text = "a,b," + std::string(kLarge, 'x');
    OXSTR_STROBJ object;
    OXSTR_STROBJ_Init(&object, 0);
    OXSTR_STROBJ_Append(&object, "abc", 3);
    bound_memory();

    const bool none = ORVEX_StrDup(text.c_str()) == nullptr;
    tell_parent((none ? "null " : "copy ") + history_of_this_thread());

    int32_t count = 0;
    char** items = ox_strsplit(text.c_str(), ",", &count);
    const bool empty = items != nullptr && items[0] == nullptr && items[1] == nullptr;
    tell_parent(std::to_string(count) + (empty ? " null items" : " items"));
    ORVEX_free(items);
    items = ox_strsplit(text.c_str() + 4, ",", &count);
    tell_parent(std::to_string(count) + (items == nullptr ? " null" : " items"));

    const int32_t result = OXSTR_STROBJ_Append(&object, text.data(), kLarge);
    tell_parent(std::to_string(result) + " " + object.pBuf + " " +
                std::to_string(object.nCapacity));
    OXSTR_STROBJ_Free(&object);
    return ox_mbstowcs(text.c_str()) == nullptr ? 0 : 1;
}

TEST(LittleMemory, Fails) {
    ChildProcess child("little_memory");
    EXPECT_EQ(child.read_line(), "null 248 oxsysutl");
    EXPECT_EQ(child.read_line(), "2 null items") << "a vector of items that are gone";
    EXPECT_EQ(child.read_line(), "0 null");
    EXPECT_EQ(child.read_line(), "-1 abc 4096");
    EXPECT_EQ(child.wait(), 0);
}

}  // namespace

#endif
