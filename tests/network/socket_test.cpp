#include "moltelib/socket.h"

#include "network/socket_scenes.h"
#include "support/asleep.h"

#if !defined(_WIN32)
#include <sys/time.h>

#endif

namespace {

std::string pattern(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
}

int32_t size_of(const std::string& bytes) {
    return static_cast<int32_t>(bytes.size());
}

std::string received(OXSOCKET socket, size_t size) {
    std::string bytes(size, '\0');
    EXPECT_EQ(ORVEX_SOCK_Recv(socket, bytes.data(), size_of(bytes)), size_of(bytes))
        << error_of_this_thread();
    return bytes;
}

void until_there(OXSOCKET socket, int32_t size) {
    while (ORVEX_SOCK_BufDataLen(socket) < size) std::this_thread::yield();
}

using Socket = Sockets;

struct Passed {
    steady_clock::time_point begin = steady_clock::now();
    bool between(int least_ms, int most_ms) const {
        const auto passed = steady_clock::now() - begin;
        return passed >= milliseconds(least_ms) && passed < milliseconds(most_ms);
    }
};

// What is received is sent by the call that tells no progress of its own.
TEST_F(Socket, ProgressStaysWhereATransferFails) {
    const std::string bytes = pattern(500'000);
    std::string buffer = bytes;
    for (const auto& [total, sent, progress] :
         {tuple(500'000, 409'600, 0), {5000, 4096, 50}, {12288, 8192, 50}}) {
        const Connection peers;
        std::thread sender([&, size = sent] {
            ORVEX_SOCKUDP_Send(peers.client, bytes.data(), size, 0, nullptr, 0);
            ORVEX_SOCK_Shutdown(peers.client, 1, 0);
        });
        until_there(peers.server, std::min(sent, 8192));
        const std::string error = error_of(ORVEX_SOCK_Recv(peers.server, buffer.data(), total));
        sender.join();
        const std::string begin =
            "74 oxsockop recvdata error. retval=0 read=" + std::to_string(sent) +
            " total=" + std::to_string(total) + ". ip=127.0.0.1 time=";
        EXPECT_TRUE(error.starts_with(begin)) << error;
        EXPECT_EQ(nSockProgressPercent, progress);
    }
}

TEST_F(Socket, ProgressOfShortPiecesEndsAt100) {
    const Connection peers;
    SleepingThread receiver([&] {
        char bytes[10];
        ORVEX_SOCK_Recv(peers.server, bytes, 10);
    });
    for (int i = 0; i < 3; ++i) {
        ORVEX_SOCKUDP_Send(peers.client, "x", 1, 0, nullptr, 0);
        while (ORVEX_SOCK_BufDataLen(peers.server) > 0) std::this_thread::yield();
    }
    ORVEX_SOCK_Shutdown(peers.client, 1, 0);
    receiver.join();
    EXPECT_EQ(nSockProgressPercent, 100);
}

// One side waits for the other for some milliseconds, so that it has a speed.
TEST_F(Socket, SpeedsOfWholeTransfers) {
    const Connection peers;
    EXPECT_EQ(ORVEX_SOCK_SetIntOption(peers.client, OXSOCK_SO_SNDBUF, 65536), 0);
    EXPECT_EQ(ORVEX_SOCK_SetIntOption(peers.server, OXSOCK_SO_RCVBUF, 65536), 0);
    const std::string sent = pattern(3'000'000);
    const auto send = [&] { ORVEX_SOCK_Send(peers.client, sent.data(), size_of(sent)); };
    const auto receive = [&] { received(peers.server, sent.size()); };
    for (const bool sending : {true, false}) {
        g_glbsockopt = {};
        SleepingThread first(sending ? std::function(send) : receive);
        std::this_thread::sleep_for(milliseconds(20));
        sending ? receive() : send();
        first.join();
        // 3000000 * 1000 in 32 bits is below 0.
        const auto& of = g_glbsockopt;
        EXPECT_LT(sending ? of.nMaxSendSpeed : of.nMaxRecvSpeed, 0);
        EXPECT_EQ(of.nMinSendSpeed, of.nMaxSendSpeed);
        EXPECT_EQ(of.nMinRecvSpeed, of.nMaxRecvSpeed);
    }
    SleepingThread slow([&] { received(peers.server, 1); });
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(ORVEX_SOCK_Send(peers.client, "x", 1), 1);
    slow.join();
    EXPECT_TRUE(g_glbsockopt.nMaxRecvSpeed > 0 && g_glbsockopt.nMaxRecvSpeed <= 50);
    EXPECT_LT(g_glbsockopt.nMinRecvSpeed, 0);
}

TEST_F(Socket, TimeLimitsEndTransfersAndNoAccept) {
    g_glbsockopt = {};
    g_glbsockopt.nServerRecvTimeOut = 1;
    g_glbsockopt.nClientSendTimeOut = 7;
    const OwnedSocket listener(ORVEX_SOCK_ServerOpen(0));
    OXSOCKET accepted = OXSOCKET_INVALID;
    SleepingThread server([&] { accepted = ORVEX_SOCK_Accept(listener); });
    std::this_thread::sleep_for(milliseconds(1200));
    const OwnedSocket client(ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(listener)));
    server.join();
    g_glbsockopt = {};
    const OwnedSocket own(accepted);
    EXPECT_EQ(ORVEX_SOCK_GetIntOption(client, OXSOCK_SO_SNDTIMEO), 7000);
    EXPECT_EQ(ORVEX_SOCK_GetIntOption(client, OXSOCK_SO_RCVTIMEO), 0);
    char byte;
    EXPECT_EQ(ORVEX_SOCK_Recv(own, &byte, 1), -1);
    EXPECT_EQ(system_error_name(), "ETIMEDOUT");
}

TEST_F(Socket, PeersAreKnown) {
    const OwnedSocket listener(ORVEX_SOCK_ServerOpen(0));
    const OwnedSocket client(ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(listener)));
    OXSOCKADDR peer{};
    int32_t small = 8;
    EXPECT_EQ(error_number_of(ORVEX_SOCK_AcceptPeer(listener, &peer, &small)), 78U);
    const OwnedSocket own(ORVEX_SOCK_AcceptPeer(listener, &peer, nullptr));
    EXPECT_EQ(bytes_of(peer), bytes_of(loopback_address(client)));
    EXPECT_EQ(ORVEX_SOCK_GetIntOption(own, OXSOCK_SO_TYPE), OXSOCK_STREAM);
    EXPECT_EQ(error_number_of(ORVEX_SOCK_Accept(own)), 78U);  // at once
}

TEST_F(Socket, CarefulCloseTakesASecondAtMost) {
    Connection silent;
    const Passed first;
    EXPECT_EQ(ORVEX_SOCK_CloseEx(silent.server.release(), 1), 1);
    EXPECT_TRUE(first.between(900, 5000));
    char byte;
    EXPECT_EQ(ORVEX_SOCK_Recv(silent.client, &byte, 1), -1);  // the end

    Connection flooded;
    std::atomic<bool> ends{false};
    std::thread flood = in_thread([&] {
        const std::string bytes = pattern(100'000);
        while (!ends && ORVEX_SOCK_Send(flooded.client, bytes.data(), size_of(bytes)) > 0) {
        }
    });
    const Passed second;
    EXPECT_EQ(ORVEX_SOCK_CloseEx(flooded.server.release(), 1), 1);
    EXPECT_TRUE(second.between(0, 5000));
    ends = true;
    flood.join();

    Connection answering;  // what comes before the end is taken, and no time passes
    EXPECT_EQ(ORVEX_SOCK_Send(answering.client, "late", 4), 4);
    EXPECT_EQ(answering.client.close(), 1);
    const Passed third;
    EXPECT_EQ(ORVEX_SOCK_CloseEx(answering.server.release(), 1), 1);
    EXPECT_TRUE(third.between(0, 900));
}

TEST_F(Socket, WaitsForOneOfMany) {
    std::vector<OwnedSocket> sockets;
    std::vector<OXSOCKET> all;
    for (int i = 0; i < 65; ++i) {
        sockets.emplace_back(ORVEX_SOCKUDP_ServerOpenEx(0, loopback_address(0).nNetIP));
        all.push_back(sockets.back());
    }
    all.insert(all.begin() + 1, all[0]);  // twice, and so 66 entries
    const OwnedSocket sender(ORVEX_SOCKUDP_ClientOpen());
    const auto wake = [&](int i) {
        const OXSOCKADDR address = loopback_address(sockets[static_cast<size_t>(i)]);
        EXPECT_EQ(ORVEX_SOCKUDP_Send(sender, "x", 1, 0, &address, sizeof address), 1);
    };
    std::vector<int32_t> flags(66, 7);
    EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(all.data(), 66, 0, 1000, flags.data()), 0);
    EXPECT_EQ(flags, std::vector<int32_t>(66));
    wake(64);
    EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(all.data(), 66, 0, 1000, flags.data()), 0);
    wake(0);
    wake(63);
    EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(&all[64], 1, -1, 0, nullptr), 1);
    EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(all.data(), 66, 5, 0, flags.data()), 2);
    std::vector<int32_t> expected(66);
    expected[0] = expected[1] = expected[64] = 1;
    EXPECT_EQ(flags, expected);

    EXPECT_EQ(error_of(ORVEX_SOCK_WaitDataToRead(nullptr, 3, 0, 0, flags.data())), "87 oxsockop");
    EXPECT_EQ(flags[0] + flags[1], 0);
    EXPECT_EQ(error_of(ORVEX_SOCK_WaitDataToRead(all.data(), 0, 0, 0, nullptr)), "87 oxsockop");
    all[3] = OXSOCKET_INVALID;
    EXPECT_EQ(error_of(ORVEX_SOCK_WaitDataToRead(all.data(), 9, 0, 0, nullptr)), "75 oxsockop");
    EXPECT_EQ(system_error_name(), "ENOTSOCK");
}

TEST_F(Socket, SelectKeepsWhatIsReady) {
    Connection peers;
    OXSOCKSET read{2, {peers.client, peers.server}};
    OXSOCKSET write{2, {peers.client, peers.server}};
    EXPECT_EQ(ORVEX_SOCK_Select(0, &read, &write, nullptr, -1, 0), 2);
    EXPECT_EQ(read.nCount, 0U);
    EXPECT_EQ(write.nCount, 2U);
    EXPECT_EQ(ORVEX_SOCK_Send(peers.client, "x", 1), 1);
    OXSOCKSET both{2, {peers.client, peers.server}};
    EXPECT_EQ(ORVEX_SOCK_Select(0, &both, nullptr, nullptr, 5, 0), 1);
    EXPECT_TRUE(both.nCount == 1 && both.ahSocket[0] == peers.server);
    for (const uint32_t bad : {0U, 65U}) {
        OXSOCKSET set{bad, {}};
        EXPECT_EQ(error_of(ORVEX_SOCK_Select(0, &set, nullptr, nullptr, 0, 0)), "75 oxsockop");
    }
    OXSOCKSET one{1, {peers.client}};
    EXPECT_EQ(error_of(ORVEX_SOCK_Select(0, nullptr, &one, nullptr, 0, -1)), "75 oxsockop");
    EXPECT_EQ(error_of(ORVEX_SOCK_Select(0, &both, nullptr, &both, 0, 0)), "75 oxsockop");
    EXPECT_EQ(system_error_name(), "EINVAL");
    const OXSOCKET closed = peers.client;
    std::string told_there;
    SleepingThread waiter(
        [&] { told_there = error_of(ORVEX_SOCK_WaitDataToRead(&closed, 1, -1, 0, nullptr)); });
    peers.client.close();
    waiter.join();
    EXPECT_EQ(told_there, "75 oxsockop");
}

// Which of the three sets keep it: "r", "w", "e".
std::string ready_sets(OXSOCKET socket) {
    OXSOCKSET sets[3];
    for (OXSOCKSET& set : sets) set = {1, {socket}};
    const int32_t ready = ORVEX_SOCK_Select(0, &sets[0], &sets[1], &sets[2], 0, 2000);
    std::string names;
    for (int i = 0; i < 3; ++i) names += sets[i].nCount != 0 ? std::string(1, "rwe"[i]) : "";
    EXPECT_EQ(ready, size_of(names)) << error_of_this_thread();
    return names;
}

// The system's own call, which doesn't wait here.
int32_t try_to_connect(OXSOCKET from, int32_t port) {
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddr(&address, kLoopback, port);
    return connect(static_cast<decltype(socket(0, 0, 0))>(from),
                   reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

int32_t wait_for_failure(OXSOCKET socket) {
    OXSOCKSET failed{1, {socket}};
    return ORVEX_SOCK_Select(0, nullptr, nullptr, &failed, 20, 0);
}

TEST_F(Socket, ClosingTheListenerEndsAccept) {
    OwnedSocket listener(ORVEX_SOCK_ServerOpen(0));
    std::string told_there;
    SleepingThread server(
        [&, number = listener.number] { told_there = error_of(ORVEX_SOCK_Accept(number)); });
    EXPECT_EQ(listener.close(), 1);
    server.join();
    EXPECT_EQ(told_there, "78 oxsockop");
}

TEST_F(Socket, RelaysUntilBothSidesEnd) {
    Connection left;
    Connection right;
    std::atomic<int32_t> result{0};
    std::thread relay = in_thread([&] { result = ORVEX_SOCK_Proxy(left.server, right.server); });
    const std::string there = pattern(300'000);
    const std::string back = pattern(123'456);
    std::thread sender([&] {
        ORVEX_SOCK_Send(left.client, there.data(), size_of(there));
        EXPECT_EQ(received(left.client, back.size()), back);
    });
    EXPECT_EQ(received(right.client, there.size()), there);
    ORVEX_SOCK_Send(right.client, back.data(), size_of(back));
    sender.join();
    left.client.close();
    EXPECT_EQ(ORVEX_SOCK_Send(right.client, there.data(), size_of(there)), size_of(there));
    right.client.close();
    relay.join();
    EXPECT_EQ(result, 1);
    EXPECT_TRUE(left.server.close() == 1 && right.server.close() == 1);
    const std::string failed = told(ORVEX_SOCK_Proxy(left.listener, OXSOCKET_INVALID));
    EXPECT_TRUE(failed.starts_with("75 oxsockop") && failed.ends_with(" < 1256 oxsockop"));
}

CHILD_ROLE(lives_on) {
    tell_parent("here");
    hear_parent();
    return 0;
}

TEST_F(Socket, ProgramsThatAreStartedInheritNone) {
    Connection peers;
    ChildProcess child("lives_on");
    EXPECT_EQ(child.read_line(), "here");
    EXPECT_EQ(peers.client.close(), 1);
    EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(&peers.server.number, 1, 20, 0, nullptr), 1);
    child.send_line("go");
    EXPECT_EQ(child.wait(), 0);
}

#if !defined(_WIN32)

TEST_F(Socket, LargeDescriptorsWork) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur < 4096) GTEST_SKIP() << "no rights";
    Connection peers;
    const OwnedSocket large(
        static_cast<OXSOCKET>(fcntl(static_cast<int>(peers.server.number), F_DUPFD, 3000)));
    EXPECT_EQ(ORVEX_SOCK_Send(peers.client, "x", 1), 1);
    EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(&large.number, 1, 20, 0, nullptr), 1);
}

// A signal every millisecond, without SA_RESTART.
struct Signals {
    Signals() {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &before);
        const itimerval often = {{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~Signals() {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &before, nullptr);
    }
    struct sigaction before {};
};

TEST_F(Socket, SignalsEndNothingAndTakeNoTime) {
    const Connection peers;
    const Signals signals;
    const std::string sent = pattern(4'000'000);
    std::thread sender([&] {
        EXPECT_EQ(ORVEX_SOCK_Send(peers.client, sent.data(), size_of(sent)), size_of(sent));
    });
    EXPECT_EQ(received(peers.server, sent.size()), sent);
    sender.join();
    EXPECT_EQ(ORVEX_SOCK_SetRecvTimeOut(peers.server, 1), 0);
    const Passed passed;
    char byte;
    EXPECT_EQ(ORVEX_SOCK_Recv(peers.server, &byte, 1), -1);
    EXPECT_EQ(system_error_name(), "ETIMEDOUT");
    EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(&peers.server.number, 1, 0, 200'000, nullptr), 0);
    EXPECT_TRUE(passed.between(1100, 20'000));
}

TEST_F(Socket, ABrokenConnectionRaisesNoSignal) {
    Connection peers;
    EXPECT_EQ(ORVEX_SOCK_Send(peers.client, "unread", 6), 6);
    until_there(peers.server, 6);
    EXPECT_EQ(peers.server.close(), 1);  // resets the connection
    int32_t result = 1;
    while (result > 0) result = ORVEX_SOCK_Send(peers.client, "x", 1);
    EXPECT_EQ(ORVEX_SOCK_Send(peers.client, "x", 1), -1);
    EXPECT_EQ(system_error_name(), "ECONNRESET");
    const OwnedSocket fresh(ORVEX_SOCK_OpenSocket());
    for (const OXSOCKET never : {fresh.number, peers.listener.number}) {
        EXPECT_EQ(ORVEX_SOCK_Send(never, "x", 1), -1);
        EXPECT_EQ(system_error_name(), "ENOTCONN");
    }
}

TEST_F(Socket, DescriptorsOfFilesStayOpen) {
    int files[3] = {open("/dev/null", O_RDONLY | O_CLOEXEC)};
    EXPECT_EQ(pipe2(files + 1, O_CLOEXEC), 0);
    for (const int file : files) {
        for (const char* call : {"close", "waiting", "ioctl", "wait"}) {
            const Texts step = {call, std::to_string(file), "0x8004667E", "1"};
            const std::string told = socket_steps.at(call)(step);
            EXPECT_TRUE(told.ends_with(" ENOTSOCK")) << call << " " << told;
        }
        EXPECT_EQ(close(file), 0);
    }
}

#endif

int32_t change_progress(int32_t now) {
    return std::exchange(nSockProgressPercent, now);
}

[[maybe_unused]] const bool plays = play_scenes<Socket>(
    "Socket", TEST_ROWS,
    with_socket_steps({{"open_any", opening_step<ORVEX_SOCK_Socket>},
                       {"open_by_ip", opening_step<ORVEX_SOCK_ClientOpenByIP>},
                       {"open_udp_server", opening_step<ORVEX_SOCKUDP_ServerOpenEx>},
                       {"bind", socket_step<ORVEX_SOCK_Bind>},
                       {"change_progress", step_of<change_progress>},
                       {"close_carefully", socket_step<ORVEX_SOCK_CloseEx>},
                       {"ready", socket_step<ready_sets>},
                       {"send_with", socket_step<ORVEX_SOCK_SendWithOption>},
                       {"try_to_connect", socket_step<try_to_connect>},
                       {"wait_for_failure", socket_step<wait_for_failure>},
                       {"send_to", socket_step<ORVEX_SOCKUDP_Send>},
                       {"receive_from", socket_step<ORVEX_SOCKUDP_Recv>},
                       {"discard", socket_step<ORVEX_SOCKUDP_DiscardData>}}));

}  // namespace
