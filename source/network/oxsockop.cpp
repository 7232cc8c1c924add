#include "network/oxsockop.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "moltelib/error.h"

namespace {

constexpr auto kModule = molte::kOxsockop;
constexpr int64_t kMostData = 255;

}  // namespace

namespace molte {

int32_t fail_socket(int32_t line, uint32_t error, const void* data, int64_t size) {
    const int number = WSAGetLastError();
    const int64_t passed = data != nullptr ? std::clamp<int64_t>(size, 0, kMostData) : 0;
    kModule.fail_bytes(line, error, SystemError::socket, data, passed);
    if (number != 0) {
        ORVEX_Err_SetSysErrStr(static_cast<uint32_t>(number), platform::socket_error_name(number));
    }
    WSASetLastError(number);
    return -1;
}

int32_t fail_socket_text(int32_t line, uint32_t error, const char* text) {
    return fail_socket(line, error, text, static_cast<int64_t>(strnlen(text, kMostData)));
}

int32_t refuse_socket(int32_t line, uint32_t error, int number, const char* text) {
    errno = number;  // which Windows keeps apart
    WSASetLastError(number);
    return fail_socket_text(line, error, text);
}

int32_t refuse_null(int32_t line, int32_t size) {
    const void* const none = nullptr;
    return kModule.fail(line, kNothingToSend, SystemError::none, "send data error: Len=%d Pt=%p",
                        size, none);
}

int64_t address_size(const OXSOCKADDR* address, const int32_t* length) {
    constexpr auto whole = static_cast<int32_t>(sizeof(OXSOCKADDR));
    if (address == nullptr) return 0;
    return length != nullptr ? std::clamp(*length, 0, whole) : whole;
}

}  // namespace molte
