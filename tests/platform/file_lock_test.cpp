// Record locks between descriptors and between processes.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "platform/files.h"
#include "platform/last_error.h"
#include "support/child_process.h"
#include "support/temp_folder.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kUpdate = 32770;

// A descriptor of a file of some bytes, put where a lock is to begin.
class Descriptor {
 public:
    explicit Descriptor(const std::string& name, int flags = kUpdate)
        : fd_(_open(name.c_str(), flags)) {}
    ~Descriptor() { _close(fd_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int lock(int mode, int64_t offset, long size) const {
        EXPECT_EQ(_lseeki64(fd_, offset, SEEK_SET), offset);
        errno = 0;
        const int result = _locking(fd_, mode, size);
        EXPECT_EQ(_telli64(fd_), offset) << "the position stays";
        return result;
    }

 private:
    int fd_;
};

CHILD_ROLE(holds_lock) {
    const Descriptor file(args[0]);
    tell_parent(file.lock(_LK_NBLCK, 0, 1) == 0 ? "locked" : "refused");
    hear_parent();
    return 0;
}

TEST(FileLock, RangesOfTwoDescriptors) {
    const TempFolder folder;
    const std::string name = folder.write("f", "0123456789");
    const Descriptor one(name);
    const Descriptor two(name);
    ASSERT_EQ(one.lock(_LK_NBLCK, 2, 3), 0);
    const struct {
        int64_t offset;
        long size;
        bool free;
    } rows[] = {{0, 2, true}, {1, 2, false}, {2, 1, false}, {4, 1, false},
                {5, 1, true}, {4, 9, false}, {100, 5, true}};
    for (const auto& row : rows) {
        for (const int mode : {_LK_NBLCK, _LK_NBRLCK}) {
            EXPECT_EQ(two.lock(mode, row.offset, row.size), row.free ? 0 : -1) << row.offset;
            if (row.free) {
                EXPECT_EQ(two.lock(_LK_UNLCK, row.offset, row.size), 0);
            } else {
                EXPECT_EQ(GetLastError(), ERROR_LOCK_VIOLATION) << row.offset;
            }
        }
    }
    // Modes 3 and 4 lock as firmly as 1 and 2.
    EXPECT_EQ(one.lock(_LK_UNLCK, 2, 3), 0);
    EXPECT_EQ(one.lock(_LK_NBRLCK, 2, 3), 0);
    EXPECT_EQ(two.lock(_LK_NBRLCK, 2, 3), -1);
    EXPECT_EQ(one.lock(_LK_UNLCK, 2, 3), 0);
    EXPECT_EQ(two.lock(_LK_LOCK, 2, 3), 0);
}

TEST(FileLock, ClosingAnotherDescriptorKeepsIt) {
    const TempFolder folder;
    const std::string name = folder.write("f", "x");
    const Descriptor holder(name);
    ASSERT_EQ(holder.lock(_LK_NBLCK, 0, 1), 0);
    { const Descriptor passing(name); }
    const Descriptor other(name);
    EXPECT_EQ(other.lock(_LK_NBLCK, 0, 1), -1);
    EXPECT_EQ(holder.lock(_LK_UNLCK, 0, 1), 0);
    EXPECT_EQ(other.lock(_LK_NBLCK, 0, 1), 0);
}

TEST(FileLock, EndsWithItsHolder) {
    const TempFolder folder;
    const std::string name = folder.write("f", "x");
    const Descriptor own(name);
    ChildProcess child("holds_lock", {name});
    ASSERT_EQ(child.read_line(), "locked");
    EXPECT_EQ(own.lock(_LK_NBLCK, 0, 1), -1);
    child.kill();
    child.wait();
    EXPECT_EQ(own.lock(_LK_LOCK, 0, 1), 0);
    ChildProcess second("holds_lock", {name});
    EXPECT_EQ(second.read_line(), "refused");
}

TEST(FileLock, WaitsForItsTurn) {
#if defined(_WIN32)
    GTEST_SKIP() << "the emulator's run-time waits milliseconds for seconds";
#endif
    const TempFolder folder;
    const std::string name = folder.write("f", "x");
    const Descriptor own(name);
    ChildProcess child("holds_lock", {name});
    ASSERT_EQ(child.read_line(), "locked");
    std::thread release([&child] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        child.send_line("go");
        child.wait();
    });
    EXPECT_EQ(own.lock(_LK_RLCK, 0, 1), 0);
    release.join();
}

#if !defined(_WIN32)

TEST(FileLock, GivesUpAfterTenTries) {
    const TempFolder folder;
    const std::string name = folder.write("f", "x");
    const Descriptor one(name);
    const Descriptor two(name);
    ASSERT_EQ(one.lock(_LK_NBLCK, 0, 1), 0);
    const auto start = Clock::now();
    EXPECT_EQ(two.lock(_LK_LOCK, 0, 1), -1);
    EXPECT_EQ(errno, EDEADLK);
    EXPECT_EQ(GetLastError(), ERROR_LOCK_VIOLATION);
    const auto waited = Clock::now() - start;
    EXPECT_GE(waited, std::chrono::seconds(9));
    EXPECT_LT(waited, std::chrono::seconds(11));
}

TEST(FileLock, ArgumentsAndReaders) {
    const TempFolder folder;
    const std::string name = folder.write("f", "x");
    const Descriptor file(name);
    for (const int mode : {-1, 5}) {
        EXPECT_EQ(file.lock(mode, 0, 1), -1);
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_EQ(file.lock(_LK_NBLCK, 0, -1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(_locking(99, _LK_NBLCK, 1), -1);
    EXPECT_EQ(errno, EBADF);
    const Descriptor writer(name);
    EXPECT_EQ(file.lock(_LK_NBLCK, 0, 0), 0) << "nothing is locked by a size of 0";
    EXPECT_EQ(writer.lock(_LK_NBLCK, 0, 1), 0);
    EXPECT_EQ(writer.lock(_LK_NBLCK, 0, 1), 0) << "again";
    EXPECT_EQ(writer.lock(_LK_UNLCK, 0, 1), 0);
    const Descriptor readers[] = {Descriptor(name, 32768), Descriptor(name, 32768)};
    EXPECT_EQ(readers[0].lock(_LK_NBLCK, 0, 1), 0);
    EXPECT_EQ(readers[1].lock(_LK_NBLCK, 0, 1), 0);
    EXPECT_EQ(writer.lock(_LK_NBLCK, 0, 1), -1);
    EXPECT_EQ(errno, EACCES);
}

#endif

}  // namespace
