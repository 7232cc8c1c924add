// A folder with all that is in it.
#include <string>
#include <vector>

#include "exchange.h"

namespace {

bool send_tree(int32_t port, const char* path) {
    const Socket to(ORVEX_SOCK_ClientOpen("127.0.0.1", port));
    std::vector<char> buffer(1 << 20);
    FTP_CMDREC stop{};
    stop.nCommand = ORVEX_FTP_STOP;
    return to.number != OXSOCKET_INVALID && ORVEX_ChDir(path) > 0 &&
           NET_ORVEX_FTP_RecDo(to.number, ".", buffer.data(), 1 << 20,
                               NET_ORVEX_FTP_ACTION_COPYPUT) > 0 &&
           NET_ORVEX_FTP_SendCmd(to.number, &stop, nullptr) > 0;
}

bool receive_tree(const char* path) {
    const Socket listener(ORVEX_SOCK_ServerOpen(0));
    std::string folder(path);
    if (ORVEX_DirCreateRecur(folder.data(), 0) < 0 || ORVEX_ChDir(path) < 0) return false;
    if (!tell_port(listener)) return false;
    const Socket from(ORVEX_SOCK_Accept(listener.number));
    return NET_ORVEX_FTP_ACTION_COPYGET(from.number, nullptr) == 0;
}

const AddWay tree("tree", "folder", send_tree, receive_tree);

}  // namespace
