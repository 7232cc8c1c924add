// A tree is received into the current folder. Nothing that the peer sends is trusted: a command
// leads to an entry of the folder it stands in, or nowhere.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "core/transfer.h"
#include "moltelib/byte_field.h"
#include "moltelib/error.h"
#include "moltelib/file.h"
#include "moltelib/socket.h"
#include "network/oftpbase.h"
#include "platform/entries.h"

using molte::Descriptor;
using molte::here;
using molte::SystemError;
using molte::ftp::kNotEntered;

namespace {

constexpr auto kModule = molte::kOftplib;

constexpr uint32_t kPiece = 32768;

bool is_name(const OXFILESTAT& record) {
    return molte::ftp::has_end(record) && platform::is_entry_name(record.szName);
}

// A terminal might obey what a peer puts into a name.
void announce(const OXFILESTAT& state) {
    char shown[OXFILESTAT_NAME_SIZE];
    std::memcpy(shown, state.szName, sizeof shown);
    for (char* at = shown; *at != '\0'; ++at) {
        const auto byte = static_cast<unsigned char>(*at);
        if (byte < ' ' || byte == 0x7F) *at = '?';
    }
    std::printf("Getting File:%s\n", shown);
}

class Receiver {
 public:
    explicit Receiver(OXSOCKET socket) : socket_(socket) {}

    int32_t run() {
        for (;;) {
            FTP_CMDREC command;
            if (!receive(&command, sizeof command)) return fail_command();
            switch (command.nCommand) {
                case ORVEX_FTP_ENTER:
                    enter(next_state());
                    break;
                case ORVEX_FTP_LEAVE:
                    next_state();
                    leave();
                    break;
                case ORVEX_FTP_FILE:
                    take_file(next_state());
                    break;
                case ORVEX_FTP_STOP:
                    return 0;
                default:
                    break;
            }
        }
    }

 private:
    bool receive(void* data, uint32_t size) {
        const auto wanted = static_cast<int32_t>(size);
        return ORVEX_SOCK_RecvWithOption(socket_, data, wanted, 0) == wanted;
    }

    static int32_t fail_command() {
        kModule.trace(here());
        std::printf("bad cmd\n");
        ORVEX_Err_Print();
        return -1;
    }

    static int32_t refuse(int32_t line, uint32_t error, SystemError system,
                          const OXFILESTAT& state) {
        const size_t length = strnlen(state.szName, sizeof state.szName);
        return kModule.fail_bytes(line, error, system, state.szName, static_cast<int64_t>(length));
    }

    // One that doesn't come whole is all zero, and so has no name.
    OXFILESTAT next_state() {
        OXFILESTAT state;
        if (receive(&state, sizeof state)) return state;
        kModule.trace(here());
        return {};
    }

    void enter(const OXFILESTAT& state) {
        if (refused_ == 0 && enter_one(state)) {
            ++entered_;
        } else {
            ++refused_;
        }
    }

    static bool enter_one(const OXFILESTAT& state) {
        if (!is_name(state)) {
            refuse(here(), kNotEntered, SystemError::none, state);
            return false;
        }
        _mkdir(state.szName);  // or it is there
        if (platform::enter_folder(state.szName) == 0) return true;
        refuse(here(), kNotEntered, SystemError::runtime, state);
        return false;
    }

    void leave() {
        if (refused_ > 0) {
            --refused_;
        } else if (entered_ == 0) {
            kModule.fail_text(here(), kNotEntered, SystemError::none, "..");
        } else if (_chdir("..") == 0) {
            --entered_;
        } else {
            kModule.fail_text(here(), kNotEntered, SystemError::runtime, "..");
        }
    }

    // One chunk: what else comes for a file are commands. That's meant.
    void take_file(const OXFILESTAT& state) {
        const Descriptor file(refused_ == 0 ? create(state) : -1);
        FTP_CMDREC command;
        if (!receive(&command, sizeof command)) {
            kModule.trace(here());
        } else if (command.nCommand == ORVEX_FTP_DATA) {
            take_bytes(file, Char4To_uint4(command.nPayloadLen));
        }
    }

    static int32_t create(const OXFILESTAT& state) {
        if (!is_name(state)) return refuse(here(), molte::kNotOpened, SystemError::none, state);
        announce(state);
        platform::add_owner_mode(state.szName);  // or it can't be opened
        constexpr int32_t permissions = 0777;
        const int32_t mode = ORVEX_FileGetModeFromFS(&state) | ORVEX_MODE_OWNER;
        const int32_t fd = platform::create_entry(state.szName, mode & permissions);
        return fd >= 0 ? fd : refuse(here(), molte::kNotOpened, SystemError::runtime, state);
    }

    // All of it is taken, also where it can't be written.
    void take_bytes(const Descriptor& file, uint32_t size) {
        uint8_t piece[kPiece];
        bool writing = file.valid();
        for (uint32_t left = size; left > 0;) {
            const uint32_t part = std::min(left, kPiece);
            if (!receive(piece, part)) {
                kModule.trace(here());
                return;
            }
            left -= part;
            const auto count = static_cast<int32_t>(part);
            if (!writing || molte::write_whole(file.get(), piece, count)) continue;
            molte::fail_write(kModule, here(), file.get(), piece, count);
            writing = false;
        }
    }

    OXSOCKET socket_;
    int64_t entered_ = 0;  // how many folders below the start the current one is
    int64_t refused_ = 0;  // how many folders deep it is below one that was refused
};

}  // namespace

int32_t NET_ORVEX_FTP_ACTION_COPYGET(OXSOCKET hSocket, void* /*pBuf*/) {
    return Receiver(hSocket).run();
}
