// A folder goes to another program, with all that is in it.
//
//     send_tree receive FOLDER [PORTFILE]   prints its port, or writes it there; takes one tree
//     send_tree send FOLDER PORT
//
// The sender first sends a list of its files with their sizes and times, then the tree. The
// receiver gives the files their times, compares what it has with the list, and tells the sender
// what came of it. The exchange of trees itself carries neither times nor a way back. FOLDER is
// made, or empty: so all that is in it has come, and no link that was there leads out of it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "connection.h"
#include "moltelib.h"
#include "terminal.h"

namespace {

// The program's own, from the numbers that the exchange leaves free.
constexpr uint8_t kVerdict = 3;  // with a text; nResult as of a file
constexpr uint32_t kLongestVerdict = 1000;
constexpr size_t kMostFiles = 1'000'000;
constexpr int32_t kPatience = 60;  // seconds without a byte from the sender

// By the names that they have below the folder.
using Files = std::map<std::string, OXFILESTAT>;

bool files_in(const char* folder, Files* files) {
    OXFILESTAT* list = nullptr;
    const int32_t count = ORVEX_RecurGetFileListLong(folder, &list);
    files->clear();
    for (int32_t i = 0; i < count; ++i) files->emplace(list[i].szName, list[i]);
    ORVEX_free(list);
    return count >= 0;
}

int64_t size_of(const OXFILESTAT& file) {
    return static_cast<int64_t>(Char8To_uint8(file.nSize));
}
int64_t time_of(const OXFILESTAT& file) {
    return static_cast<int64_t>(Char8To_uint8(file.n64ModTime));
}

// ---- The sender ----

void send_list(const Socket& socket, const Files& files) {
    for (const auto& file : files) {
        NET_ORVEX_FTP_ACTION_LISTSVR(socket.number, nullptr, 0, &file.second);
    }
    NET_ORVEX_FTP_ACTION_LISTSVR(socket.number, nullptr, 0, nullptr);
}

// A file travels in one piece: the buffer takes the largest.
bool send_tree(const Socket& socket, const Files& files) {
    int64_t largest = 1;
    for (const auto& file : files) largest = std::max(largest, size_of(file.second));
    if (largest > INT32_MAX) return false;
    std::vector<char> buffer(static_cast<size_t>(largest));
    if (NET_ORVEX_FTP_RecDo(socket.number, ".", buffer.data(), static_cast<int32_t>(largest),
                            NET_ORVEX_FTP_ACTION_COPYPUT) < 0) {
        return false;
    }
    FTP_CMDREC stop{};
    stop.nCommand = ORVEX_FTP_STOP;
    return NET_ORVEX_FTP_SendCmd(socket.number, &stop, nullptr) > 0;
}

// What the receiver says; its text is bounded here.
int show_verdict(const Socket& socket) {
    FTP_CMDREC verdict;
    char text[kLongestVerdict + 1] = "";
    if (ORVEX_SOCK_Recv(socket.number, &verdict, sizeof verdict) < 0) return fail("No answer.");
    const uint32_t size = Char4To_uint4(verdict.nPayloadLen);
    if (verdict.nCommand != kVerdict || size > kLongestVerdict ||
        ORVEX_SOCK_Recv(socket.number, text, static_cast<int32_t>(size)) < 0) {
        return fail("An answer that isn't understood.");
    }
    std::printf("The receiver has %s\n", text);
    return verdict.nResult == ORVEX_FTP_SUCCESS ? 0 : 1;
}

int send(const char* folder, const char* port) {
    const auto number = static_cast<int32_t>(std::strtol(port, nullptr, 10));
    const Socket socket(ORVEX_SOCK_ClientOpen("127.0.0.1", number));
    if (!socket.valid()) return fail("There is no receiver at that port.");
    Files files;
    if (!files_in(folder, &files)) return fail("The folder can't be read.");
    send_list(socket, files);
    if (ORVEX_ChDir(folder) < 0 || !send_tree(socket, files)) return fail("Not sent.");
    return show_verdict(socket);
}

// ---- The receiver ----

// What comes from outside is bounded here, once: how many there are, and the end of each name.
bool receive_list(const Socket& socket, Files* files) {
    while (files->size() <= kMostFiles) {
        FTP_CMDREC command;
        OXFILESTAT file;
        if (ORVEX_SOCK_Recv(socket.number, &command, sizeof command) < 0) return false;
        if (command.nCommand == ORVEX_FTP_LAST) return true;
        if (command.nCommand != ORVEX_FTP_ENTRY ||
            ORVEX_SOCK_Recv(socket.number, &file, sizeof file) < 0) {
            return false;
        }
        file.szName[sizeof file.szName - 1] = '\0';
        files->emplace(file.szName, file);
    }
    return false;
}

// Only of files that are here: no name of the list leads anywhere.
void set_times(const Files& here, const Files& listed) {
    for (const auto& file : here) {
        const auto wanted = listed.find(file.first);
        if (wanted == listed.end()) continue;
        const int64_t time = time_of(wanted->second);
        ORVEX_FileChangeModAccessTime((".\\" + file.first).c_str(), time, time);
    }
}

// What isn't as it was listed; nothing for all that is.
std::string difference(const Files& here, const Files& listed) {
    for (const auto& file : listed) {
        const auto found = here.find(file.first);
        if (found == here.end()) return "no " + file.first;
        if (size_of(found->second) != size_of(file.second)) return "another size of " + file.first;
        if (time_of(found->second) != time_of(file.second)) return "another time of " + file.first;
    }
    return "";
}

int answer(const Socket& socket, std::string text, bool right) {
    terminal::show((text + "\n").c_str());
    FTP_CMDREC verdict{};
    verdict.nCommand = kVerdict;
    verdict.nResult = right ? ORVEX_FTP_SUCCESS : ORVEX_FTP_FAILURE;
    text.resize(std::min<size_t>(text.size(), kLongestVerdict - 1));
    NET_ORVEX_FTP_SendCmd(socket.number, &verdict, text.c_str());
    return right ? 0 : 1;
}

// The receiver is in the folder, and comes back there: a tree that ends on its way leaves it
// deeper.
int take_tree(const Socket& socket) {
    Files listed;
    Files here;
    char folder[4096];
    if (ORVEX_Getcwd(folder, sizeof folder) == nullptr || !receive_list(socket, &listed)) {
        return fail("No list.");
    }
    const bool received = NET_ORVEX_FTP_ACTION_COPYGET(socket.number, nullptr) == 0;
    if (!received || ORVEX_ChDir(folder) < 0) return fail("Not received.");
    files_in(".", &here);
    set_times(here, listed);
    files_in(".", &here);
    const std::string what = difference(here, listed);
    if (!what.empty()) return answer(socket, what, false);
    int64_t bytes = 0;
    for (const auto& file : listed) bytes += size_of(file.second);
    return answer(socket,
                  std::to_string(listed.size()) + " files of " + std::to_string(bytes) +
                      " bytes, as they were listed.",
                  true);
}

int receive(std::string folder, const char* port_file) {
    int32_t port = 0;
    if (ORVEX_IsDirEmpty(folder.c_str()) != 1) return fail("The folder isn't empty.");
    g_glbsockopt.nServerRecvTimeOut = kPatience;
    const Socket listener(listen_somewhere(&port));
    if (!listener.valid() || !tell_port(port, port_file)) return fail("No port to listen at.");
    if (ORVEX_DirCreateRecur(folder.data(), 0) < 0 || ORVEX_ChDir(folder.c_str()) < 0) {
        return fail("The folder can't be made.");
    }
    for (;;) {
        OXSOCKADDR peer{};
        const Socket client(ORVEX_SOCK_AcceptPeer(listener.number, &peer, nullptr));
        if (!client.valid()) return fail("Nobody connects.");
        if (is_of_this_machine(peer)) return take_tree(client);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 2 ? argv[1] : "";
    if (what == "receive" && argc <= 4) return receive(argv[2], argc == 4 ? argv[3] : nullptr);
    if (what == "send" && argc == 4) return send(argv[2], argv[3]);
    std::fprintf(stderr,
                 "use: send_tree receive FOLDER [PORTFILE]\n"
                 "     send_tree send FOLDER PORT\n");
    return 2;
}
