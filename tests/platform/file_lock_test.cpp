// Record locks between descriptors and between processes.

#include "platform/files.h"
#include "platform/last_error.h"
#include "support/asleep.h"
#include "support/common.h"

namespace {

class Descriptor : public Pinned {
 public:
    explicit Descriptor(const std::string& name, int flags = 32770)
        : fd_(_open(name.c_str(), flags)) {}
    ~Descriptor() { _close(fd_); }

    int lock(int mode, int64_t offset = 0, long size = 1) const {
        _lseeki64(fd_, offset, SEEK_SET);
        const int result = _locking(fd_, mode, size);
        EXPECT_TRUE(result == 0 || GetLastError() == ERROR_LOCK_VIOLATION);
        return result;
    }

 private:
    int fd_;
};

TEST(FileLock, RangesOfTwoDescriptors) {
    const TempFolder folder;
    const std::string name = folder.write("f", "0123456789");
    const Descriptor one(name);
    const Descriptor two(name);
    ASSERT_EQ(one.lock(_LK_NBRLCK, 2, 3), 0) << "exclusive, as all modes";
    { const Descriptor passing(name); }
    for (const int mode : {_LK_NBLCK, _LK_NBRLCK}) EXPECT_EQ(two.lock(mode, 4, 1), -1);
    EXPECT_EQ(one.lock(_LK_UNLCK, 2, 3), 0);
    EXPECT_EQ(two.lock(_LK_LOCK, 2, 3), 0);
}

#if !defined(_WIN32)  // whose run-time waits milliseconds for seconds under the emulator
TEST(FileLock, WaitsTenTriesForItsTurn) {
    const TempFolder folder;
    const std::string name = folder.write("f", "xx");
    const Descriptor one(name);
    const Descriptor two(name);
    ASSERT_EQ(one.lock(_LK_NBLCK, 0, 2), 0);
    const auto start = steady_clock::now();
    std::thread hopeless([&name] {
        EXPECT_EQ(Descriptor(name).lock(_LK_RLCK, 1), -1);
        EXPECT_EQ(errno, EDEADLK);
    });
    {
        SleepingThread waiter([&two] { EXPECT_EQ(two.lock(_LK_LOCK), 0); });
        one.lock(_LK_UNLCK, 0);
    }
    hopeless.join();
    EXPECT_GE(steady_clock::now() - start, std::chrono::seconds(9));
}

#endif

}  // namespace
