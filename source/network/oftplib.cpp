// Folders are walked for a peer: their entries listed, or sent with all they hold.
#include <algorithm>
#include <atomic>
#include <cstdio>

#include "core/owners.h"
#include "core/transfer.h"
#include "moltelib/byte_field.h"
#include "moltelib/error.h"
#include "moltelib/socket.h"
#include "network/oftpbase.h"
#include "platform/files.h"

using molte::here;
using molte::kBadArgument;
using molte::SystemError;
using molte::directory::Find;

namespace {

constexpr auto kModule = molte::kOftplib;

constexpr int32_t kDeepest = 100;

// How deep the folder is that is being sent; for the whole process, as the current folder is.
constinit std::atomic<int32_t> depth{0};

void print_error() {
    constexpr uint32_t option = 2;
    ORVEX_Err_fPrintWithOption(stderr, option);
}

// ---- Records ----

bool send(OXSOCKET socket, const void* data, int32_t size) {
    if (ORVEX_SOCK_SendWithOption(socket, data, size, 0) == size) return true;
    kModule.trace(here());
    return false;
}

bool send_command(OXSOCKET socket, uint8_t command, int32_t payload = 0, uint8_t result = 0) {
    FTP_CMDREC record{};
    record.nCommand = command;
    record.nResult = result;
    uint4ToChar4(static_cast<uint32_t>(payload), record.nPayloadLen);
    return send(socket, &record, sizeof record);
}

bool send_with_state(OXSOCKET socket, uint8_t command, const OXFILESTAT* state) {
    return send_command(socket, command) && send(socket, state, sizeof *state);
}

// ---- Files and folders ----

bool send_bytes(OXSOCKET socket, int32_t fd, void* buffer, int32_t room, int64_t size) {
    if (size > 0 && (buffer == nullptr || room < 1)) {
        kModule.fail(here(), kBadArgument);
        return false;
    }
    for (int64_t left = size; left > 0;) {
        const auto chunk = static_cast<int32_t>(std::min<int64_t>(left, room));
        if (!molte::read_whole(fd, buffer, chunk)) {
            molte::fail_read(kModule, here(), fd, buffer, chunk);
            return false;
        }
        if (!send_command(socket, ORVEX_FTP_DATA, chunk) || !send(socket, buffer, chunk)) {
            return false;
        }
        left -= chunk;
    }
    return true;
}

// All of a file but its end. To be read and written: that's meant.
bool send_file(OXSOCKET socket, void* buffer, int32_t room, const OXFILESTAT* state) {
    if (!send_with_state(socket, ORVEX_FTP_FILE, state)) return false;
    const molte::Descriptor file(ORVEX_FileOpenByChmod(state->szName, ORVEX_OPEN_UPDATE));
    if (!file.valid()) {
        kModule.fail_text(here(), molte::kNotOpened, SystemError::runtime, state->szName);
        return false;
    }
    const auto size = static_cast<int64_t>(Char8To_uint8(state->nSize));
    return send_bytes(socket, file.get(), buffer, room, size);
}

void put_file(OXSOCKET socket, void* buffer, int32_t room, const OXFILESTAT* state) {
    const bool sent = send_file(socket, buffer, room, state);
    send_command(socket, ORVEX_FTP_FILE_END, 0, sent ? ORVEX_FTP_SUCCESS : ORVEX_FTP_FAILURE);
    if (!sent) print_error();
}

void put_folder(OXSOCKET socket, void* buffer, int32_t room, const OXFILESTAT* state) {
    if (platform::is_link(state->szName) || depth >= kDeepest) {
        kModule.fail_text(here(), molte::ftp::kNotEntered, SystemError::none, state->szName);
        print_error();
        return;
    }
    ++depth;
    send_with_state(socket, ORVEX_FTP_ENTER, state);
    NET_ORVEX_FTP_RecDo(socket, state->szName, buffer, room, NET_ORVEX_FTP_ACTION_COPYPUT);
    send_with_state(socket, ORVEX_FTP_LEAVE, state);
    --depth;
}

bool is_dots(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// ---- The walk ----

int32_t fail_find() {
    char folder[molte::ftp::kFolderSize] = "";
    if (_getcwd(folder, sizeof folder) == nullptr) folder[0] = '\0';
    std::printf("%s\n", folder);
    print_error();
    return kModule.trace(here());
}

int32_t leave(const char* path, const char* before) {
    if (std::strcmp(path, ".") == 0) return 1;
    const bool was_up = std::strcmp(path, "..") == 0;
    return ORVEX_ChDir(was_up ? before : "..");
}

}  // namespace

int32_t NET_ORVEX_FTP_RecDo(OXSOCKET hSocket, const char* pszPath, void* pBuf, int32_t nBufSize,
                            NET_ORVEX_FTP_ACTION pfnAction) {
    if (pszPath == nullptr) return kModule.fail(here(), kBadArgument);
    const auto action = [=](const OXFILESTAT* record) {
        return pfnAction(hSocket, pBuf, nBufSize, record);
    };
    OXFILESTAT record = molte::ftp::named(pszPath);
    if (molte::ftp::add_state(pszPath, &record) < 0) kModule.trace(here());
    if (ORVEX_FileIsDirByMode(&record) == 0) return action(&record);

    Find find(pszPath, molte::directory::all_entries(pszPath));
    if (!find.found()) return fail_find();
    char before[molte::ftp::kFolderSize];
    if (_getcwd(before, sizeof before) == nullptr) {
        kModule.fail(here(), molte::ftp::kNoCurrentFolder, SystemError::runtime);
        before[0] = '\0';
    }
    if (ORVEX_ChDir(pszPath) < 0) kModule.trace(here());
    const int32_t result = molte::ftp::walk(find, kModule, action);
    return leave(pszPath, before) > 0 ? result : kModule.trace(here());
}

int32_t NET_ORVEX_FTP_ACTION_LISTSVR(OXSOCKET hSocket, void* /*pBuf*/, int32_t /*nBufSize*/,
                                     const OXFILESTAT* pRecord) {
    if (pRecord == nullptr) {
        send_command(hSocket, ORVEX_FTP_LAST);
    } else {
        send_with_state(hSocket, ORVEX_FTP_ENTRY, pRecord);
    }
    return 0;
}

int32_t NET_ORVEX_FTP_ACTION_LISTCLI(OXSOCKET /*hSocket*/, void* /*pBuf*/, int32_t /*nBufSize*/,
                                     const OXFILESTAT* /*pRecord*/) {
    return 0;
}

int32_t NET_ORVEX_FTP_ACTION_COPYPUT(OXSOCKET hSocket, void* pBuf, int32_t nBufSize,
                                     const OXFILESTAT* pRecord) {
    if (pRecord == nullptr) {
        send_command(hSocket, ORVEX_FTP_LAST);
    } else if (!molte::ftp::has_end(*pRecord)) {
        kModule.fail(here(), kBadArgument);
        print_error();
    } else if (is_dots(pRecord->szName)) {
        return 0;
    } else if (ORVEX_FileIsDirByMode(pRecord) != 0) {
        put_folder(hSocket, pBuf, nBufSize, pRecord);
    } else {
        put_file(hSocket, pBuf, nBufSize, pRecord);
    }
    return 0;
}

int32_t NET_ORVEX_FTP_SendCmd(OXSOCKET hSocket, FTP_CMDREC* pCommand, const char* pszText) {
    const size_t size = pszText != nullptr ? std::strlen(pszText) + 1 : 0;
    if (size > INT32_MAX) {
        kModule.fail(here(), kBadArgument);
        return 1;
    }
    uint4ToChar4(static_cast<uint32_t>(size), pCommand->nPayloadLen);
    send(hSocket, pCommand, sizeof *pCommand);
    if (size > 0) send(hSocket, pszText, static_cast<int32_t>(size));
    return 1;
}
