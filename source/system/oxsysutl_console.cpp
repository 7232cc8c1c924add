// Passwords, and who is told to end.
#include <bit>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "moltelib/console.h"
#include "platform/code_page.h"
#include "platform/console.h"

using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysutl;

// What a key is called by its code.
constexpr int kExtended = 0;
constexpr int kAlsoExtended = 224;  // another code follows
constexpr int kInterrupt = 3;
constexpr int kBackspace = 8;
constexpr int kEnter = 13;

// The characters of a password, or -1.
int32_t read_password(char* dst, int32_t room) {
    int32_t count = 0;
    while (count < room) {
        const int key = _getch();
        if (key == kEnter) break;
        if (key == kInterrupt || key == EOF) return -1;
        if (key == kExtended || key == kAlsoExtended) {
            if (_getch() == EOF) return -1;
        } else if (key == kBackspace) {
            if (count > 0) --count;  // the byte stays
        } else if (platform::is_printed(static_cast<unsigned char>(key))) {
            dst[count++] = static_cast<char>(key);
        }
    }
    return count;
}

}  // namespace

int32_t ORVEX_GetPassWord(const char* pszPrompt, char* dst, int32_t nDstLen) {
    if (dst == nullptr || nDstLen < 0) return kModule.fail(here(), kBadArgument);
    const platform::HiddenKeys hidden;                     // before anybody is asked to type
    if (pszPrompt != nullptr) std::printf(pszPrompt, "");  // a format
    std::fflush(stdout);
    std::memset(dst, 0, static_cast<size_t>(nDstLen));
    const int32_t count = read_password(dst, nDstLen);
    if (count < 0) return -1;
    std::printf("\n");
    std::fflush(stdout);
    return count;
}

int32_t ORVEX_PassEnc(const uint8_t* src, uint8_t* dst) {
    if (src == nullptr || dst == nullptr) return kModule.fail(here(), kBadArgument);
    for (int i = 0; i < ORVEX_PASSWORD_SIZE; ++i) dst[i] = static_cast<uint8_t>(~src[i]);
    return 0;  // meant
}

int32_t ORVEX_WIN_SetConsoleCtrlEvent(OXCONSOLEHANDLER pfnHandler, int32_t bAdd) {
    const auto handler = std::bit_cast<PHANDLER_ROUTINE>(pfnHandler);
    if (SetConsoleCtrlHandler(handler, bAdd != 0 ? TRUE : FALSE) != FALSE) return 1;
    return kModule.fail(here(), kBadArgument, SystemError::platform);
}

int32_t ORVEX_Signal(int32_t nSignal, OXSIGNALHANDLER pfnHandler, OXSIGNALHANDLER* ppfnOld) {
    const OXSIGNALHANDLER old = std::signal(nSignal, pfnHandler);
    if (old == SIG_ERR) return kModule.fail(here(), kBadArgument, SystemError::runtime);
    if (ppfnOld != nullptr) *ppfnOld = old;
    return 1;
}
