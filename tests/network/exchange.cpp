//     exchange                       prints the ways, and what they send
//     exchange WAY send PORT PATH    to the receiver at that port
//     exchange WAY receive PATH      prints its port, and then writes there what comes
#include "exchange.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "support/loopback_port.h"

namespace {

struct Way {
    const char* what;
    Send send;
    Receive receive;
};

std::map<std::string, Way>& ways() {
    static std::map<std::string, Way> all;
    return all;
}

}  // namespace

AddWay::AddWay(const char* name, const char* what, Send send, Receive receive) {
    ways()[name] = {what, send, receive};
}

bool tell_port(const Socket& socket) {
    std::printf("%d\n", port_of(socket.number));
    return std::fflush(stdout) == 0;
}

int main(int count, char** words) {
    if (count == 1) {
        for (const auto& [name, way] : ways()) std::printf("%s %s\n", name.c_str(), way.what);
        return 0;
    }
    const auto way = ways().find(words[1]);
    const std::string action = way != ways().end() && count > 2 ? words[2] : "";
    bool done = false;
    if (action == "send" && count == 5) {
        done = way->second.send(std::atoi(words[3]), words[4]);
    } else if (action == "receive" && count == 4) {
        done = way->second.receive(words[3]);
    } else {
        std::fprintf(stderr, "use: exchange [WAY send PORT PATH | WAY receive PATH]\n");
        return 2;
    }
    if (!done) ORVEX_Err_Print();
    return done ? 0 : 1;
}
