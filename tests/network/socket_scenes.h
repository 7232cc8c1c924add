// Scenes of sockets. A step that opens one gives it a name; "$name" is then its number, also when
// it has been closed, ":name" its port.
#pragma once

#include "support/loopback.h"
#include "support/scenes.h"

inline std::map<std::string, OwnedSocket> sockets;

class Sockets : public InFolder {
 protected:
    ~Sockets() override { sockets.clear(); }
};

inline void keep_socket(const std::string& name, OXSOCKET own) {
    sockets.erase(name);
    sockets.emplace(name, own);
}

// An error is told with that of the system.
template <auto call>
std::string socket_step(const Texts& written) {
    Texts step = written;
    for (std::string& field : step) {
        const char kind = field.empty() ? ' ' : field[0];
        if (kind == '$') field = std::to_string(sockets.at(field.substr(1)));
        if (kind == ':') field = std::to_string(port_of(sockets.at(field.substr(1))));
    }
    const std::string told = step_of<call>(step);
    return GetRvexErrNo() != 0 ? told + " " + system_error_name() : told;
}

// Behind the name, what opens it.
template <auto call>
std::string opening_step(const Texts& step) {
    std::string told = socket_step<call>({step.begin() + 1, step.end()});
    size_t digits = 0;
    keep_socket(step[1], std::stoull(told, &digits));
    return told.replace(0, digits, sockets.at(step[1]) != OXSOCKET_INVALID ? "open" : "none");
}

inline int32_t wait_to_read(OXSOCKET socket) {
    return ORVEX_SOCK_WaitDataToRead(&socket, 1, 20, 0, nullptr);
}

inline const Calls socket_steps = {
    {"connect",
     [](const Texts&) {
         Connection peers;
         for (OwnedSocket* end : {&peers.listener, &peers.client, &peers.server}) {
             EXPECT_NE(*end, OXSOCKET_INVALID) << error_of_this_thread();
         }
         keep_socket("listener", peers.listener.release());
         keep_socket("client", peers.client.release());
         keep_socket("server", peers.server.release());
         return "listener client server"s;
     }},
    {"open", opening_step<ORVEX_SOCK_OpenSocket>},
    {"open_udp", opening_step<ORVEX_SOCKUDP_ClientOpen>},
    {"open_client", opening_step<ORVEX_SOCK_ClientOpen>},
    {"open_server", opening_step<ORVEX_SOCK_ServerOpenEx>},
    {"accept", opening_step<ORVEX_SOCK_Accept>},
    {"set_address", socket_step<ORVEX_SOCK_SetAddr>},
    {"set_bytes", socket_step<ORVEX_SOCK_SetOption>},
    {"ioctl", socket_step<ORVEX_SOCK_Ioctl>},
    {"get", socket_step<ORVEX_SOCK_GetIntOption>},
    {"send", socket_step<ORVEX_SOCK_Send>},
    {"receive", socket_step<ORVEX_SOCK_Recv>},
    {"wait", socket_step<wait_to_read>},
    {"waiting", socket_step<ORVEX_SOCK_BufDataLen>},
    {"shutdown", socket_step<ORVEX_SOCK_Shutdown>},
    {"close", socket_step<ORVEX_SOCK_Close>}};

inline Calls with_socket_steps(Calls own) {
    own.insert(socket_steps.begin(), socket_steps.end());
    return own;
}
