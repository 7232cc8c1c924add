#include "platform/last_error.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

namespace {

constexpr DWORD kSystem = FORMAT_MESSAGE_FROM_SYSTEM;

TEST(LastError, BelongsToTheThread) {
    // The hand-over is by bare flags: making and joining a thread may set the error itself.
    std::atomic<int> step{0};
    DWORD kept = 0;
    std::thread other([&] {
        SetLastError(0xFFFFFFFF);
        step = 1;
        while (step != 2) std::this_thread::yield();
        kept = GetLastError();
    });
    while (step != 1) std::this_thread::yield();
    SetLastError(5);
    step = 2;
    other.join();
    EXPECT_EQ(kept, 0xFFFFFFFFu);
}

DWORD message(DWORD flags, DWORD number, char* text, DWORD size) {
    SetLastError(0);
    return FormatMessageA(flags, nullptr, number, 0, text, size, nullptr);
}

TEST(LastError, EachNumberHasATextOfItsOwn) {
    std::string texts;
    char text[256];
    DWORD length = 0;
    for (const DWORD number : {2, 3, 5, 6, 18, 32, 33, 80, 87, 112, 123, 145, 183, 206, 1131}) {
        length = message(kSystem | FORMAT_MESSAGE_IGNORE_INSERTS, number, text, 256);
        const std::string line(text);
        EXPECT_EQ(line.find("\r\n"), length - 2) << number;
        EXPECT_EQ(texts.find("\n" + line), std::string::npos) << line;
        texts += "\n" + line;
    }
    EXPECT_EQ(message(kSystem, 1131, text, length + 1), length);
    EXPECT_EQ(message(kSystem, 1131, text, length), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(message(kSystem, 0x2FFFFFFF, text, 256), 0u);
    EXPECT_EQ(GetLastError(), ERROR_MR_MID_NOT_FOUND);
    EXPECT_EQ(message(0, 2, text, 256), 0u);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

#if !defined(_WIN32)
TEST(LastError, NumbersOfErrno) {
    const int rows[][2] = {{ENOENT, 2},    {ENOTDIR, 3},     {EACCES, 5},         {EBADF, 6},
                           {EBUSY, 32},    {EAGAIN, 33},     {EINVAL, 87},        {ENOSPC, 112},
                           {EEXIST, 183},  {ENOTEMPTY, 145}, {ENAMETOOLONG, 206}, {EDEADLK, 1131},
                           {EMULTIHOP, 31}};
    for (const auto& row : rows) {
        errno = row[0];
        platform::set_last_error_from_errno();
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(row[1])) << row[0];
    }
}
#endif

}  // namespace
