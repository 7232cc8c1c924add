// A tree goes to another machine: first a list of its files, then the tree, one chunk a file. The
// receiver compares both and tells what came of it.
#include <algorithm>
#include <map>
#include <memory>
#include <system_error>

#include "commands.h"
#include "connection.h"
#include "files.h"
#include "interrupt.h"
#include "progress.h"
#include "tree.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

// The program's own, from the numbers that the exchange leaves free.
constexpr uint8_t kVerdict = 3;  // with a text; nResult as of a file
constexpr uint32_t kLongestVerdict = 1000;
constexpr size_t kMostFiles = 1'000'000;
constexpr size_t kMostTold = 20;
constexpr int32_t kPatience = 60;  // seconds without a byte from the other side

struct Order {
    std::string tree, address, folder;
    std::vector<std::string> from = {"127.0.0.1"};
};

void send_record(const Socket& socket, const void* record, int32_t size) {
    check(ORVEX_SOCK_Send(socket.number(), record, size), "The connection broke off");
}

void send_command(const Socket& socket, uint8_t command, const OXFILESTAT* state = nullptr) {
    FTP_CMDREC record{};
    record.nCommand = command;
    send_record(socket, &record, sizeof record);
    if (state != nullptr) send_record(socket, state, sizeof *state);
}

bool set_name(const std::string& name, OXFILESTAT* state) {
    if (name.size() >= sizeof state->szName) return false;
    std::fill(std::begin(state->szName), std::end(state->szName), '\0');
    name.copy(state->szName, name.size());
    return true;
}

// ---- The sender ----

struct Load {
    std::vector<Entry> entries;
    std::vector<OXFILESTAT> list;  // of the files, under the names that lists of trees have
    int64_t bytes = 0, largest = 1;
    std::string largest_name;
    size_t left_behind = 0;
};

// "\file", "a\\file", "a\b\\file".
std::string listed_name(const Entry& entry) {
    std::string folder = entry.folder();
    std::replace(folder.begin(), folder.end(), '/', '\\');
    return folder + (folder.empty() ? "\\" : "\\\\") + entry.name();
}

Load load_of(Tool& tool, const std::string& argument) {
    const fs::path tree = native_path(argument);
    if (!fs::is_directory(tree)) throw Failure("\"" + shown(argument) + "\" is no folder");
    Load load;
    const auto left_behind = [&](const std::string& path, const std::string& why) {
        tool.warn("\"" + shown(path) + "\" is left behind: " + why);
        ++load.left_behind;
    };
    for (const Entry& entry : entries_of(tree, left_behind)) {
        OXFILESTAT listed = entry.state;
        if (!set_name(listed_name(entry), &listed)) {
            left_behind(name_text(tool, entry.path), "its name is too long");
            continue;
        }
        load.entries.push_back(entry);
        if (entry.is_folder()) continue;
        load.list.push_back(listed);
        load.bytes += entry.size();
        if (entry.size() <= load.largest) continue;
        load.largest = entry.size();
        load.largest_name = name_text(tool, entry.path);
    }
    if (load.list.size() > kMostFiles) {
        throw Failure("The tree has more than " + std::to_string(kMostFiles) + " files");
    }
    return load;
}

struct Free {
    void operator()(void* memory) const { ORVEX_free(memory); }
};
using Buffer = std::unique_ptr<void, Free>;

// A file travels in one chunk: the buffer takes the largest. What can't is refused before anything
// is sent.
Buffer buffer_for(const Load& load) {
    const std::string size = std::to_string(load.largest) + " bytes";
    if (load.largest > INT32_MAX) {
        throw Failure("\"" + load.largest_name + "\" has " + size +
                      "; no file may have more than " + std::to_string(INT32_MAX));
    }
    MOLTE_MEMSTATUS memory{};
    const bool known = MOLTE_GetMemStatus(&memory) > 0;
    const bool fits = !known || static_cast<uint64_t>(load.largest) <=
                                    std::max(Char8To_uint8(memory.nFreePhysical),
                                             Char8To_uint8(memory.nFreePageFile));
    Buffer buffer(fits ? ORVEX_release_malloc(load.largest) : nullptr);
    if (buffer == nullptr) {
        throw Failure("\"" + load.largest_name + "\" has " + size + ": there is no memory for it");
    }
    return buffer;
}

class Sender {
 public:
    Sender(Tool& tool, const Socket& socket, const Load& load, const fs::path& tree)
        : tool_(tool),
          socket_(socket),
          load_(load),
          tree_(library_path(path_text(fs::absolute(tree)))) {}

    void send_list() {
        for (const OXFILESTAT& file : load_.list) send_command(socket_, ORVEX_FTP_ENTRY, &file);
        send_command(socket_, ORVEX_FTP_LAST);
    }

    // How many files couldn't be sent.
    size_t send_tree(void* buffer) {
        Progress progress("sending", static_cast<uint64_t>(load_.bytes));
        go_to("");
        for (const Entry& entry : load_.entries) {
            while (entry.folder() != at_) leave();
            OXFILESTAT state = entry.state;
            set_name(entry.name(), &state);
            if (entry.is_folder()) {
                send_command(socket_, ORVEX_FTP_ENTER, &state);
                go_to(entry.path);
            } else {
                put(state, buffer);
                progress.advance(static_cast<uint64_t>(entry.size()));
            }
        }
        while (!at_.empty()) leave();
        send_command(socket_, ORVEX_FTP_STOP);
        return failed_;
    }

 private:
    void go_to(const std::string& folder) {
        at_ = folder;
        check(ORVEX_ChDir((tree_ + "/" + folder).c_str()),
              "\"" + name_text(tool_, folder) + "\" can't be entered");
    }

    void leave() {
        const OXFILESTAT none{};
        send_command(socket_, ORVEX_FTP_LEAVE, &none);
        const size_t end = at_.rfind('/');
        go_to(end == std::string::npos ? "" : at_.substr(0, end));
    }

    // The library makes a file writable to send it; it is put back.
    void put(const OXFILESTAT& state, void* buffer) {
        ORVEX_Err_ClearError();
        NET_ORVEX_FTP_ACTION_COPYPUT(socket_.number(), buffer, static_cast<int32_t>(load_.largest),
                                     &state);
        const bool sent = GetRvexErrNo() == 0;
        const bool broken = GetRvexErrNo() == kNotSent;
        const Failure failure(broken ? "The connection broke off"
                                     : "\"" + name_text(tool_, state.szName) + "\" isn't sent");
        const int32_t added = ORVEX_MODE_OWNER & ~ORVEX_FileGetModeFromFS(&state);
        if (added != 0) ORVEX_FileChangeMode(state.szName, 0, added);
        end_if_interrupted();
        if (broken) throw Failure(failure);
        if (sent) return;
        ++failed_;
        tool_.tell(failure);
    }

    static constexpr int32_t kNotSent = 73;

    Tool& tool_;
    const Socket& socket_;
    const Load& load_;
    std::string tree_, at_;
    size_t failed_ = 0;
};

// What the receiver says; whatever that is, its text is bounded here.
int verdict_of(Tool& tool, const Socket& socket) {
    FTP_CMDREC verdict;
    std::string text(kLongestVerdict, '\0');
    int32_t beats = 0;
    while (!can_read(socket)) {
        if (++beats > kPatience * 10) throw Failure("The receiver doesn't answer");
    }
    check(ORVEX_SOCK_Recv(socket.number(), &verdict, sizeof verdict), "The receiver has given up");
    const uint32_t size = Char4To_uint4(verdict.nPayloadLen);
    if (verdict.nCommand != kVerdict || size > kLongestVerdict ||
        ORVEX_SOCK_Recv(socket.number(), text.data(), static_cast<int32_t>(size)) < 0) {
        throw Failure("The receiver's answer isn't understood");
    }
    text.resize(std::min<size_t>(text.find('\0'), size));
    const bool right = verdict.nResult == ORVEX_FTP_SUCCESS;
    tool.out.say("the receiver has " + shown(text), {{"right", right}, {"receiver", shown(text)}});
    return right ? kDone : kPartly;
}

int send(Tool& tool, const Order& order) {
    const Address to = address_of(order.address);
    tool.bring_up(Language::english);  // names of files are no Chinese text
    const Load load = load_of(tool, order.tree);
    const Buffer buffer = buffer_for(load);
    const int code = load.left_behind > 0 ? kPartly : kDone;
    if (tool.settings.dry_run) {
        tool.out.say(counted(load.list.size(), "file") + " with " +
                         size_text(static_cast<double>(load.bytes)) + " would be sent",
                     {{"would_send", load.list.size()},
                      {"bytes", load.bytes},
                      {"left_behind", load.left_behind}});
        return code;
    }
    g_glbsockopt.nClientSendTimeOut = kPatience;
    g_glbsockopt.nClientRecvTimeOut = kPatience;
    const Socket socket(ORVEX_SOCK_ClientOpen(to.host.c_str(), to.port));
    if (!socket.valid()) throw Failure("Nobody answers at " + shown(order.address));
    Sender sender(tool, socket, load, native_path(order.tree));
    size_t failed = 0;
    {
        const Watch watch([] {}, [&] { ORVEX_SOCK_Shutdown(socket.number(), 1, 1); });
        sender.send_list();
        failed = sender.send_tree(buffer.get());
    }
    const int verdict = verdict_of(tool, socket);
    return failed > 0 ? kPartly : std::max(code, verdict);
}

// ---- The receiver ----

struct Kept {
    int64_t size, time;
};
using Files = std::map<std::string, Kept>;

Kept kept_of(const OXFILESTAT& file) {
    return {static_cast<int64_t>(Char8To_uint8(file.nSize)),
            static_cast<int64_t>(Char8To_uint8(file.n64ModTime))};
}

Files files_here() {
    OXFILESTAT* list = nullptr;
    const int32_t count =
        check(ORVEX_RecurGetFileListLong(".", &list), "What came can't be listed");
    Files files;
    for (int32_t i = 0; i < count; ++i) files.emplace(list[i].szName, kept_of(list[i]));
    ORVEX_free(list);
    return files;
}

// What comes from outside is bounded here, once: how many there are, and the end of each name.
Files receive_list(const Socket& socket) {
    Files files;
    for (size_t count = 0; count <= kMostFiles; ++count) {
        FTP_CMDREC command;
        OXFILESTAT file;
        end_if_interrupted();
        check(ORVEX_SOCK_Recv(socket.number(), &command, sizeof command), "There came no list");
        if (command.nCommand == ORVEX_FTP_LAST) return files;
        if (command.nCommand != ORVEX_FTP_ENTRY) break;
        check(ORVEX_SOCK_Recv(socket.number(), &file, sizeof file), "There came no list");
        file.szName[sizeof file.szName - 1] = '\0';
        files.emplace(file.szName, kept_of(file));
    }
    throw Failure("There came no list of files");
}

// The current folder is inside of it; at the end the former one is again.
class Inside {
 public:
    explicit Inside(const std::string& folder) : before_(fs::current_path()) {
        check(ORVEX_ChDir(folder.c_str()), "The folder can't be entered");
    }
    ~Inside() {
        std::error_code ignored;
        fs::current_path(before_, ignored);
    }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;

 private:
    fs::path before_;
};

uint64_t bytes_below(const fs::path& folder) {
    std::error_code error;
    uint64_t bytes = 0;
    for (fs::recursive_directory_iterator at(folder, error), end; !error && at != end;
         at.increment(error)) {
        std::error_code none;
        const auto size = at->file_size(none);
        if (!none) bytes += size;
    }
    return bytes;
}

// The list has no say in where anything goes: of names that it has and that came, the times are
// set.
size_t compare(Tool& tool, const Files& listed) {
    for (const auto& [name, file] : files_here()) {
        const auto wanted = listed.find(name);
        if (wanted == listed.end()) continue;
        ORVEX_FileChangeModAccessTime((".\\" + name).c_str(), wanted->second.time,
                                      wanted->second.time);
    }
    const Files here = files_here();
    size_t differences = 0;
    const auto tell = [&](const std::string& name, const std::string& what) {
        if (++differences <= kMostTold) tool.warn("\"" + name_text(tool, name) + "\" " + what);
    };
    for (const auto& [name, file] : listed) {
        const auto found = here.find(name);
        if (found == here.end()) {
            tell(name, "didn't come");
        } else if (found->second.size != file.size) {
            tell(name, "came with another size");
        } else if (found->second.time != file.time) {
            tell(name, "can't be given its time");
        }
    }
    for (const auto& [name, file] : here) {
        if (listed.count(name) == 0) tell(name, "came and isn't in the list");
    }
    return differences;
}

void answer(const Socket& socket, const std::string& text, bool right) {
    FTP_CMDREC verdict{};
    verdict.nCommand = kVerdict;
    verdict.nResult = right ? ORVEX_FTP_SUCCESS : ORVEX_FTP_FAILURE;
    NET_ORVEX_FTP_SendCmd(socket.number(), &verdict, text.c_str());
}

OXSOCKET accept(Tool& tool, const Socket& listener, const Peers& peers, std::string* who) {
    for (;;) {
        if (!can_read(listener)) continue;
        OXSOCKADDR peer{};
        const OXSOCKET client = ORVEX_SOCK_AcceptPeer(listener.number(), &peer, nullptr);
        if (client == OXSOCKET_INVALID) throw Failure("Nobody can connect");
        *who = address_text(peer);
        if (peers.allow(peer)) return client;
        tool.warn(*who + " is refused: see --from");
        ORVEX_SOCK_Close(client);
    }
}

int receive(Tool& tool, const Order& order) {
    int32_t port = port_of(order.address);
    tool.bring_up(Language::english);
    refuse_filled(order.folder);
    const Peers peers(order.from);
    if (tool.settings.dry_run) {
        tool.out.say("a tree would be received", {{"port", port}});
        return kDone;
    }
    Beside beside(order.folder);
    std::string folder = beside.for_library();
    check(ORVEX_DirCreateRecur(folder.data(), 0), "\"" + shown(order.folder) + "\" can't be made");
    g_glbsockopt.nServerRecvTimeOut = kPatience;
    g_glbsockopt.nServerSendTimeOut = kPatience;
    Socket listener(listen_at(&port));
    tool.out.say("waiting at port " + std::to_string(port), {{"port", port}});
    tool.out.flush();
    std::string who;
    const Socket socket(accept(tool, listener, peers, &who));
    listener.close();

    int64_t bytes = 0;
    size_t differences = 0, count = 0;
    {
        const Inside there(folder);
        const fs::path root = fs::current_path();
        const Watch stop([] {}, [&] { ORVEX_SOCK_Shutdown(socket.number(), 1, 1); });
        const Files listed = receive_list(socket);
        count = listed.size();
        for (const auto& [name, file] : listed)
            bytes += std::clamp<int64_t>(file.size, 0, INT32_MAX);
        int32_t result = 0;
        {
            Progress progress("receiving", static_cast<uint64_t>(bytes));
            const Watch shows(
                [&] {
                    if (progress.is_shown()) progress.reach(bytes_below(root));
                },
                [] {});
            const Silence silence;  // it would name each file
            result = NET_ORVEX_FTP_ACTION_COPYGET(socket.number(), nullptr);
        }
        end_if_interrupted();
        check(result, "The tree broke off");
        fs::current_path(root);  // a tree may end deeper
        ORVEX_Err_ClearError();  // what failed shows now
        differences = compare(tool, listed);
    }
    beside.keep();
    const bool right = differences == 0;
    const std::string text =
        counted(count, "file") + " of " + std::to_string(bytes) + " bytes, " +
        (right ? "as listed" : "but for " + counted(differences, "difference"));
    answer(socket, text, right);
    tool.out.say(text + ", from " + who,
                 {{"files", count}, {"bytes", bytes}, {"differences", differences}, {"from", who}});
    return right ? kDone : kPartly;
}

}  // namespace

void add_send(Commands& commands) {
    const auto order = std::make_shared<Order>();
    CLI::App* send_one =
        commands.add("send", "Sends a folder with all that is in it to a receiver",
                     {{"send cards desk2:4711", "to \"molte receive 4711 cards\" on desk2"},
                      {"send --dry-run cards desk2:4711", "how much that would be"}});
    send_one->add_option("TREE", order->tree, "The folder")->required();
    send_one->add_option("HOST:PORT", order->address, "Where to")->required();
    commands.changes(send_one);
    commands.describe(
        send_one,
        "Each file travels in one chunk: a file of more than 2147483647 bytes, or one that memory\n"
        "has no room for, is refused before anything is sent. Links to files go as those files;\n"
        "links to folders, what is neither file nor folder and what can't be read are told and\n"
        "left behind. The receiver compares what came with a list of names, sizes and times; if\n"
        "anything differs, the exit code is 4 on both sides. Nothing is encrypted.");
    commands.runs(send_one, [order](Tool& tool) { return send(tool, *order); });

    CLI::App* receive_one = commands.add(
        "receive", "Receives a folder from a sender",
        {{"receive 4711 cards", "from this machine"},
         {"receive --from desk1 --from 10.0.0.7 4711 cards", "from one of these machines"}});
    receive_one->add_option("PORT", order->address, "Where to wait; 0 is a free one, which is told")
        ->required();
    receive_one->add_option("FOLDER", order->folder, "A new or empty one")->required();
    receive_one
        ->add_option("--from", order->from, "Who may send; 127.0.0.1 otherwise. May be repeated")
        ->type_name("HOST")
        ->allow_extra_args(false);
    commands.changes(receive_one);
    commands.describe(
        receive_one,
        "One tree is received, into a folder beside that is moved to its place at the end. A tree\n"
        "that breaks off leaves nothing. If what came isn't what the sender listed it is kept all\n"
        "the same, the differences are told, and the exit code is 4 on both sides.");
    commands.runs(receive_one, [order](Tool& tool) { return receive(tool, *order); });
}

}  // namespace tool
