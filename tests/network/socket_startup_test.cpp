// What the system does at moments of the test's choice: its own calls are put aside.
#include "platform/sockets.h"
#include "support/asleep.h"
#include "support/loopback.h"

#if !defined(_WIN32)

#include <poll.h>

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

// Between the moment at which a client can be accepted and the call, another takes it.
std::atomic<int> taken{-1};
std::atomic<bool> takes{false};

int poll_and_take(pollfd* watched, nfds_t count, const timespec* limit) {
    timespec left = *limit;
    const auto ready =
        static_cast<int>(syscall(SYS_ppoll, watched, count, &left, nullptr, size_t{0}));
    if (ready > 0 && takes.exchange(false)) taken = accept(watched->fd, nullptr, nullptr);
    return ready;
}

}  // namespace

// By the second name checked builds call it.
extern "C" int own_ppoll(pollfd*, nfds_t, const timespec*, const sigset_t*) __asm__("ppoll");
extern "C" int own_checked(pollfd*, nfds_t, const timespec*, const sigset_t*,
                           size_t) __asm__("__ppoll_chk");
int own_ppoll(pollfd* watched, nfds_t count, const timespec* limit, const sigset_t*) {
    return poll_and_take(watched, count, limit);
}
int own_checked(pollfd* watched, nfds_t count, const timespec* limit, const sigset_t*, size_t) {
    return poll_and_take(watched, count, limit);
}

namespace {

TEST(SocketStartup, AcceptWaitsOnWhenAnotherTakesTheClient) {
    result_of_start = 0;
    version_of_start = 0x0202;
    OwnedSocket listener(ORVEX_SOCK_ServerOpen(0));
    std::string told_there;
    SleepingThread server(
        [&, number = listener.number] { told_there = error_of(ORVEX_SOCK_Accept(number)); });
    takes = true;
    const OwnedSocket client(ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(listener)));
    while (taken < 0) std::this_thread::yield();
    server.until_asleep();
    EXPECT_EQ(listener.close(), 1);
    server.join();
    EXPECT_EQ(told_there, "78 oxsockop");
    close(taken);
    ORVEX_SOCK_End();
}

TEST(SocketStartup, TellsWhyItFailed) {
    cleaned = 0;
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
