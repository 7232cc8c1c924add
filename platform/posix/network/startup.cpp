#include "platform/sockets.h"

int WSAStartup(WORD, WSADATA* data) {
    constexpr WORD version = 0x0202;
    *data = {version, version};
    return 0;
}

int WSACleanup() {
    return 0;
}
