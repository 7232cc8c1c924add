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
    std::set<std::string> texts;
    DWORD length = 0;
    for (const DWORD number : std::initializer_list<DWORD>{2, 3, 5, 6, 18, 32, 33, 80, 87, 112, 123,
                                                           145, 183, 206, 1131}) {
        length = format(system | FORMAT_MESSAGE_IGNORE_INSERTS, number, 256);
        EXPECT_EQ(std::string(text).find("\r\n"), length - 2) << number;
        EXPECT_TRUE(texts.insert(text).second) << text;
    }
    EXPECT_EQ(format(system, 1131, length + 1), length);
    EXPECT_EQ(error_if(format(system, 1131, length) == 0), DWORD{ERROR_INSUFFICIENT_BUFFER});
    EXPECT_EQ(error_if(format(system, 0x2FFFFFFF, 256) == 0), DWORD{ERROR_MR_MID_NOT_FOUND});
    EXPECT_EQ(error_if(format(0, 2, 256) == 0), DWORD{ERROR_INVALID_PARAMETER});
}

}  // namespace
