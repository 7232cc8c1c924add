#include "platform/last_error.h"

#include "support/common.h"
#include "support/error_if.h"

namespace {

TEST(LastError, BelongsToTheThread) {
    SetLastError(5);
    std::thread([] { SetLastError(0xFFFFFFFF); }).join();
    EXPECT_NE(GetLastError(), 0xFFFFFFFFu);  // 5, or what joining has set
}

TEST(LastError, EachNumberHasATextOfItsOwn) {
    constexpr DWORD system = FORMAT_MESSAGE_FROM_SYSTEM;
    char text[256];
    const auto format = [&text](DWORD flags, DWORD number, DWORD size) {
        return FormatMessageA(flags, nullptr, number, 0, text, size, nullptr);
    };
    std::string texts;
    DWORD length = 0;
    for (const DWORD number : {2, 3, 5, 6, 18, 32, 33, 80, 87, 112, 123, 145, 183, 206, 1131}) {
        length = format(system | FORMAT_MESSAGE_IGNORE_INSERTS, number, 256);
        const std::string line(text);
        EXPECT_EQ(line.find("\r\n"), length - 2) << number;
        EXPECT_EQ(texts.find("\n" + line), std::string::npos) << line;
        texts += "\n" + line;
    }
    EXPECT_EQ(format(system, 1131, length + 1), length);
    EXPECT_EQ(error_if(format(system, 1131, length) == 0), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(error_if(format(system, 0x2FFFFFFF, 256) == 0), DWORD{ERROR_MR_MID_NOT_FOUND});
    EXPECT_EQ(error_if(format(0, 2, 256) == 0), DWORD{ERROR_INVALID_PARAMETER});
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
