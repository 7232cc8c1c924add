#include "platform/last_error.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

namespace {

constexpr DWORD kSystem = FORMAT_MESSAGE_FROM_SYSTEM;

DWORD message(DWORD flags, DWORD number, char* buffer, DWORD size) {
    return FormatMessageA(flags, nullptr, number, 0, buffer, size, nullptr);
}

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
    SetLastError(7);
    EXPECT_EQ(GetLastError(), 7u);
}

TEST(LastError, EachNumberHasATextOfItsOwn) {
    std::string texts;
    for (const DWORD number :
         {2u, 3u, 5u, 6u, 18u, 32u, 33u, 80u, 87u, 112u, 123u, 145u, 183u, 206u, 1131u}) {
        char text[256];
        const DWORD length = message(kSystem | FORMAT_MESSAGE_IGNORE_INSERTS, number, text, 256);
        ASSERT_GT(length, 4u) << number;
        const std::string line(text, length);
        EXPECT_EQ(text[length], '\0') << number;
        EXPECT_EQ(line.find("\r\n"), length - 2) << number;
        EXPECT_EQ(texts.find(line), std::string::npos) << number << " " << line;
        texts += "\n" + line;
    }
}

TEST(LastError, MessageRefusals) {
    char text[256];
    const DWORD length = message(kSystem, 2, text, 256);
    ASSERT_GT(length, 0u);
    EXPECT_EQ(message(kSystem, 2, text, length + 1), length);

    const struct {
        DWORD flags, number, size, error;
    } rows[] = {
        {kSystem, 2, length, ERROR_INSUFFICIENT_BUFFER},
        {kSystem, 2, 0, ERROR_INSUFFICIENT_BUFFER},
        {kSystem, 0x2FFFFFFF, 256, ERROR_MR_MID_NOT_FOUND},
        {0, 2, 256, ERROR_INVALID_PARAMETER},
    };
    for (const auto& row : rows) {
        SetLastError(0);
        EXPECT_EQ(message(row.flags, row.number, text, row.size), 0u);
        EXPECT_EQ(GetLastError(), row.error) << row.flags << " " << row.number << " " << row.size;
    }
}

#if !defined(_WIN32)
TEST(LastError, NumbersOfErrno) {
    const struct {
        int system_error;
        DWORD number;
    } rows[] = {{ENOENT, 2},          {ENOTDIR, 3},    {EACCES, 5},         {EPERM, 5},
                {EBADF, 6},           {ENOMEM, 8},     {EXDEV, 17},         {EBUSY, 32},
                {EAGAIN, 33},         {EINVAL, 87},    {ENOSPC, 112},       {ENOTEMPTY, 145},
                {EEXIST, 183},        {EDEADLK, 1131}, {ENAMETOOLONG, 206}, {0, 0},
                {ENOTRECOVERABLE, 31}};
    for (const auto& row : rows) {
        errno = row.system_error;
        platform::set_last_error_from_errno();
        EXPECT_EQ(GetLastError(), row.number) << row.system_error;
        EXPECT_EQ(errno, row.system_error);
    }
}
#endif

TEST(LastError, SocketErrorIsKept) {
    WSASetLastError(111);
    EXPECT_EQ(WSAGetLastError(), 111);
}

}  // namespace
