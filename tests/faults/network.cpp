#include <cstring>
#include <utility>

#include "faults.h"
#include "support/loopback_port.h"
#include "support/own_network.h"

namespace {

// A pair that is connected without a fault.
struct Pair : Pinned {
    OXSOCKET listener = ORVEX_SOCK_ServerOpen(0);
    OXSOCKET client = ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(listener));
    OXSOCKET server = ORVEX_SOCK_Accept(listener);
    ~Pair() {
        ORVEX_SOCK_Close(client);
        ORVEX_SOCK_Close(server);
        ORVEX_SOCK_Close(listener);
    }
};

bool opened(OXSOCKET socket) {
    return socket != OXSOCKET_INVALID;
}

// Neither a signal nor a transfer of less than was asked for ends what waits or moves data.
bool must_go_on() {
    const Plan& plan = this_run->watch.plan;
    return plan.fault == Fault::half || (plan.fault == Fault::error && plan.error == EINTR);
}
#define WENT_ON(call) (DID(call) || (RIGHT(!must_go_on()), false))

}  // namespace

FAMILY(socket) {
    g_glbsockopt.nClientRecvTimeOut = 5;
    OXSOCKET listener = OXSOCKET_INVALID;
    if (DID(opened(listener = ORVEX_SOCK_ServerOpen(0)) ? 1 : -1)) {
        OXSOCKET client = OXSOCKET_INVALID;
        if (DID(opened(client = ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(listener))) ? 1 : -1)) {
            OXSOCKADDR peer{};
            OXSOCKET server = OXSOCKET_INVALID;
            DID(opened(server = ORVEX_SOCK_AcceptPeer(listener, &peer, nullptr)) ? 1 : -1);
            RIGHT(ORVEX_SOCK_Close(server) >= 0);
            RIGHT(ORVEX_SOCK_Close(client) == 1);
        }
        RIGHT(ORVEX_SOCK_Close(listener) == 1);
    }

    Pair pair;
    ORVEX_SOCK_SetRecvTimeOut(pair.client, 1);
    char sent[9000];
    char back[sizeof sent];
    std::memset(sent, 'x', sizeof sent);
    const int32_t size = sizeof sent;
    if (WENT_ON(ORVEX_SOCK_Send(pair.server, sent, size))) {
        int32_t flag = 0;
        if (WENT_ON(ORVEX_SOCK_WaitDataToRead(&pair.client, 1, 5, 0, &flag))) RIGHT(flag == 1);
        OXSOCKSET read = {1, {pair.client}};
        OXSOCKSET write = {1, {pair.client}};
        if (WENT_ON(ORVEX_SOCK_Select(0, &read, &write, nullptr, 5, 0))) {
            RIGHT(read.nCount == 1 && write.nCount == 1);
        }
        if (WENT_ON(ORVEX_SOCK_Recv(pair.client, back, size))) {
            RIGHT(std::memcmp(sent, back, sizeof sent) == 0);
        }
    }
    RIGHT(FAULTY(ORVEX_SOCK_DiscardData(pair.client)) == 1);

    OXSOCKADDR address;
    const OXSOCKET udp = ORVEX_SOCKUDP_ServerOpen(0);
    ORVEX_SOCK_SetAddr(&address, 0x7F000001, port_of(udp));
    OXSOCKADDR from{};
    int32_t got = 0;
    if (WENT_ON(ORVEX_SOCKUDP_Send(udp, sent, 700, 0, &address, sizeof address))) {
        WENT_ON(got = ORVEX_SOCKUDP_Recv(udp, back, size, 0, &from, nullptr));
        RIGHT(got == 700 || this_run->told);
    }
    for (int i = 0; i < 3; ++i) ORVEX_SOCKUDP_Send(udp, sent, 700, 0, &address, sizeof address);
    RIGHT(FAULTY(ORVEX_SOCKUDP_DiscardData(udp)) == 1);
    DID(ORVEX_SOCK_CloseEx(udp, 0));

    Pair other;
    ORVEX_SOCK_Send(pair.client, "tail", 4);
    ORVEX_SOCK_Shutdown(pair.client, 1, 0);
    ORVEX_SOCK_Shutdown(other.client, 1, 0);
    DID(ORVEX_SOCK_Proxy(pair.server, other.server));
    ORVEX_SOCK_Shutdown(other.server, 1, 0);
    const OXSOCKET closing = std::exchange(other.client, OXSOCKET_INVALID);
    RIGHT(FAULTY(ORVEX_SOCK_CloseEx(closing, 1)) == 1);
}

FAMILY(socket_option) {
    const OXSOCKET udp = ORVEX_SOCKUDP_ClientOpen();
    int32_t value = 0;
    if (DID(ORVEX_SOCK_SetRecvTimeOut(udp, 3))) {
        GIVES(value = ORVEX_SOCK_GetIntOption(udp, OXSOCK_SO_RCVTIMEO), value == 3000);
    }
    if (DID(ORVEX_SOCK_MultiCastSetTTL(udp, 9))) {
        GIVES(value = ORVEX_SOCK_MultiCastGetTTL(udp), value == 9);
    }
    GIVES(value = ORVEX_SOCK_BufDataLen(udp), value == 0);
    ORVEX_SOCK_Close(udp);
}

FAMILY(socket_address) {
    uint32_t ip = 0;
    GIVES(ORVEX_SOCK_NameToIP("localhost", &ip), ip != 0);
    DID(ORVEX_SOCK_GetAllHostIP(&ip, 1));
    char name[256] = "";
    OXSOCKADDR loopback;
    ORVEX_SOCK_SetAddr(&loopback, 0x7F000001, 0);
    GIVES(ORVEX_SOCK_GetHostNameByAddr(loopback.nNetIP, name, sizeof name), name[0] != '\0');
    const Pair pair;
    char text[OXSOCK_IP_TEXT_SIZE] = "";
    GIVES(ORVEX_SOCK_GetHostIPName(pair.client, text), std::strcmp(text, "127.0.0.1") == 0);
    GIVES(ORVEX_SOCK_GetPeerIPName(pair.client, text), std::strcmp(text, "127.0.0.1") == 0);
}

FAMILY(host_probe) {
    uint8_t packet[40];
    GIVES(UTIL_InitIcmpV4Header(packet, 32), packet[0] == 8);
    GIVES(UTIL_SetIcmpParam(packet, 32), UTIL_CheckSum(packet, 40) == 0);
    if (!enter_own_network()) return;  // in another one a probe may hear something else
    UTIL_ICMPPARAM probe{};
    int32_t result = 0;
    // A failed receive is told, and no answer.
    DID((result = ORVEX_SOCK_IsHostAlive("127.0.0.1", &probe)) > 0 ? 1 : -1);
    RIGHT(probe.nTTL == 128 && (result == 1 || GetRvexErrNo() != 0));
}

FAMILY(app_connection) {
    const OXSOCKET listener = ORVEX_SOCK_ServerOpen(0);
    ORVEX_APPCONN conn;
    if (DID(ORVEX_APPCONN_ClientOpen(&conn, "127.0.0.1", port_of(listener)))) {
        const OXSOCKET peer = ORVEX_SOCK_Accept(listener);
        ORVEX_SOCK_Send(peer, "answer", 6);
        char answer[6];
        DID(ORVEX_APPCONN_SetRecvTimeOut(&conn, 5));
        if (DID(ORVEX_APPCONN_SendData(&conn, "request", 7))) {
            GIVES(ORVEX_APPCONN_RecvData(&conn, answer, 6), equal(answer, 6, "answer"));
        }
        ORVEX_SOCK_Shutdown(peer, 1, 0);
        g_stBv.bSockSafeClose = 1;
        RIGHT(FAULTY(ORVEX_APPCONN_CloseConnection(&conn)) == 1);
        ORVEX_SOCK_Close(peer);
    }
    RIGHT(ORVEX_APPCONN_IsValid(&conn) == 0);
    ORVEX_SOCK_Close(listener);
}

FAMILY(large_message) {
    const OXSOCKET udp = ORVEX_SOCKUDP_ServerOpen(0);
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddr(&address, 0x7F000001, port_of(udp));
    const std::string sent(40'000, 'x');
    const auto size = static_cast<int32_t>(sent.size());
    if (DID(ORVEX_SOCKUDP_LargeSend(udp, sent.data(), size, &address, sizeof address, 1))) {
        Freed<uint8_t> got;
        int32_t length = 0;
        OXSOCKADDR from{};
        GIVES(ORVEX_SOCKUDP_LargeRecv(udp, &got.block, &length, &from, nullptr),
              equal(got.block, length, sent));
        const ORVEX_ERRHIST& passed_on = ORVEX_GetErrData()->astHist[0];
        RIGHT(GetRvexErrNo() != 20 || Char2To_uint2(passed_on.nLine) == 1517);
    }
    ORVEX_SOCK_Close(udp);
}

// Sender and receiver need the current folder, so one follows the other.
FAMILY(remote_file) {
    const std::string bytes(9000, 'x');
    given("from/f", bytes);
    given("from/deep/g", "abc");
    given("to/f", "old");
    Pair pair;
    ORVEX_SOCK_SetRecvTimeOut(pair.server, 1);
    std::string buffer(10000, '\0');
    FTP_CMDREC stop{};
    stop.nCommand = ORVEX_FTP_STOP;
    ORVEX_ChDir(in_folder("from"));
    PA list;
    PA_Init(&list, sizeof(OXFILESTAT), 0);
    GIVES(ORVEX_FTP_RecDo("deep", 0, 0, ORVEX_FTP_ACTION_LIST, &list), list.nCount == 3);
    PA_Release(&list);
    ORVEX_ChDir(in_folder("from"));
    DID(NET_ORVEX_FTP_RecDo(pair.client, ".", buffer.data(), 10000, NET_ORVEX_FTP_ACTION_COPYPUT));
    RIGHT(FAULTY(NET_ORVEX_FTP_SendCmd(pair.client, &stop, nullptr)) == 1);
    ORVEX_SOCK_Shutdown(pair.client, 1, 0);
    ORVEX_ChDir(in_folder("to"));
    if (DID(NET_ORVEX_FTP_ACTION_COPYGET(pair.server, nullptr))) {
        RIGHT_OR("a file or folder that fails ends neither sending nor receiving",
                 bytes_of("to/f") == bytes && bytes_of("to/deep/g") == "abc");
    }
}
AFTER(remote_file) {
    const std::string got = bytes_of("to/f");
    RIGHT(got == "old" || std::string(9000, 'x').starts_with(got));
    RIGHT(bytes_of("from/f") == std::string(9000, 'x') && bytes_of("from/deep/g") == "abc");
}
