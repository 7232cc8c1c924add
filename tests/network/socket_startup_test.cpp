// A socket library that doesn't start: the system's own is put aside.
#include "platform/sockets.h"
#include "support/test.h"

#if !defined(_WIN32)

namespace {
int result_of_start = 0;
WORD version_of_start = 0;
int cleaned = 0;
}  // namespace

int WSAStartup(WORD version, WSADATA* data) {
    EXPECT_EQ(version, 0x0202);
    data->wVersion = version_of_start;
    return result_of_start;
}

int WSACleanup() {
    return ++cleaned, 0;
}

namespace {

TEST(SocketStartup, TellsWhyItFailed) {
    const tuple<int, WORD, Text> cases[] = {
        {0, 0x0102, "Version is not what we want"},
        {WSAEINPROGRESS, 0, "A blocking socket is in progress"},
        {WSAEPROCLIM, 0, "System has reached task limit"},
        {WSASYSNOTREADY, 0, "Network subsystem is not ready for network commnuication"},
        {WSAVERNOTSUPPORTED, 0, "Sock version requested has not been implemnted"},
        {WSAEFAULT, 0, "Parameter is invalid"}};
    for (const auto& [result, version, text] : cases) {
        result_of_start = result;
        version_of_start = version;
        EXPECT_EQ(error_of(ORVEX_SOCK_Init()), "79 oxsockop "s + text);
    }
    EXPECT_EQ(cleaned, 1);
    EXPECT_EQ(error_number_of(ORVEX_SOCK_OpenSocket()), 79U);
    result_of_start = 0;
    version_of_start = 0x0202;
    EXPECT_EQ(ORVEX_SOCK_EnsureInited(), 1);
    result_of_start = WSAEFAULT;
    EXPECT_EQ(ORVEX_SOCK_Init(), 1);
    EXPECT_EQ(ORVEX_SOCK_End(), 1);
    EXPECT_EQ(ORVEX_SOCK_EnsureInited(), -1);
    EXPECT_EQ(cleaned, 2);
}

}  // namespace

#endif
