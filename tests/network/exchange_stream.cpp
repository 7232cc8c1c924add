// The bytes of a file, and the end: any program can be the other side.
#include <algorithm>
#include <array>

#include "exchange.h"

namespace {

bool send_stream(int32_t port, const char* path) {
    const Socket to(ORVEX_SOCK_ClientOpen("127.0.0.1", port));
    uint8_t* bytes = nullptr;
    int32_t size = 0;
    if (to.number == OXSOCKET_INVALID || ORVEX_LoadBinDataFile(path, &bytes, &size) < 0) {
        return false;
    }
    const bool sent = ORVEX_SOCK_Send(to.number, bytes, size) == size;
    ORVEX_free(bytes);
    if (!sent || ORVEX_SOCK_Shutdown(to.number, 1, 0) < 0) return false;
    // The receiver says nothing and ends when it has all.
    return ORVEX_SOCK_WaitDataToRead(&to.number, 1, kLimit, 0, nullptr) == 1 &&
           ORVEX_SOCK_BufDataLen(to.number) == 0;
}

bool take(const Socket& from, ORVEX_HFILE* file) {
    std::array<char, 10'000> bytes;
    while (ORVEX_SOCK_WaitDataToRead(&from.number, 1, kLimit, 0, nullptr) > 0) {
        const int32_t there = ORVEX_SOCK_BufDataLen(from.number);
        if (there <= 0) return there == 0;  // what can be read and holds nothing has ended
        const auto size = std::min<int32_t>(there, bytes.size());
        if (ORVEX_SOCK_Recv(from.number, bytes.data(), size) < 0 ||
            ORVEX_HFILE_Write(file, bytes.data(), size) != size) {
            return false;
        }
    }
    return false;
}

bool receive_stream(const char* path) {
    const Socket listener(ORVEX_SOCK_ServerOpen(0));
    if (!tell_port(listener)) return false;
    const Socket from(ORVEX_SOCK_Accept(listener.number));
    ORVEX_HFILE* file = ORVEX_HFILE_NewBinaryFile(path);
    const bool taken = file != nullptr && take(from, file);
    return ORVEX_HFILE_Close(&file) > 0 && taken;
}

const AddWay stream("stream", "file", send_stream, receive_stream);

}  // namespace
