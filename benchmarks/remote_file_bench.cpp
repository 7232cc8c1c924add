// A tree of small files and one large file sent to another process over loopback, beside tar into
// tar over the same kind of connection, in blocks of 4,096 bytes.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "moltelib.h"
#include "pair.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kTransfers = 9;
constexpr int32_t kPort = 49999;

void check(bool right, const char* what) {
    if (right) return;
    std::fprintf(stderr, "%s failed\n", what);
    std::_Exit(1);
}

// A folder for the whole run.
struct Place {
    fs::path root;
    Place() {
        std::string name = fs::temp_directory_path() / "remote_file_bench_XXXXXX";
        check(mkdtemp(name.data()) != nullptr, "mkdtemp");
        root = name;
    }
    ~Place() { fs::remove_all(root); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    [[nodiscard]] std::string from() const { return root / "from"; }
    [[nodiscard]] std::string to() const { return root / "to"; }
    void fill(int count, size_t size) const {
        fs::remove_all(from());
        fs::create_directory(from());
        const std::string bytes(size, 'x');
        for (int i = 0; i < count; ++i) {
            std::ofstream(fs::path(from()) / ("file" + std::to_string(i))) << bytes;
        }
    }
};

template <typename Run>
pid_t start(Run run) {
    std::fflush(stdout);
    const pid_t process = fork();
    if (process == 0) {
        run();
        std::_Exit(0);
    }
    return process;
}

void end_of(pid_t process) {
    int status = 0;
    check(waitpid(process, &status, 0) == process && status == 0, "a process");
}

struct Ends {
    OXSOCKET client = OXSOCKET_INVALID;
    OXSOCKET server = OXSOCKET_INVALID;
    Ends() {
        int32_t port = kPort;
        OXSOCKET listener = OXSOCKET_INVALID;
        while (listener == OXSOCKET_INVALID && port < 65535) {
            listener = ORVEX_SOCK_ServerOpenEx(++port, 0);
        }
        client = ORVEX_SOCK_ClientOpen("127.0.0.1", port);
        server = ORVEX_SOCK_Accept(listener);
        check(server != OXSOCKET_INVALID, "connection");
        ORVEX_SOCK_Close(listener);
    }
};

// The sender is this process; the receiver another, which ends when it has all.
void send_ours(const Place& place, void* buffer, int32_t size) {
    const Ends ends;
    const pid_t receiver = start([&] {
        ORVEX_SOCK_Close(ends.client);
        check(std::freopen("/dev/null", "w", stdout) != nullptr, "output");
        fs::current_path(place.to());
        check(NET_ORVEX_FTP_ACTION_COPYGET(ends.server, nullptr) == 0, "receiver");
    });
    ORVEX_SOCK_Close(ends.server);
    fs::current_path(place.from());
    FTP_CMDREC stop{};
    stop.nCommand = ORVEX_FTP_STOP;
    NET_ORVEX_FTP_RecDo(ends.client, ".", buffer, size, NET_ORVEX_FTP_ACTION_COPYPUT);
    NET_ORVEX_FTP_SendCmd(ends.client, &stop, nullptr);
    ORVEX_SOCK_Close(ends.client);
    end_of(receiver);
}

void run_tar(OXSOCKET own, OXSOCKET other, int stream, const char* what,
             const std::string& folder) {
    ORVEX_SOCK_Close(other);
    dup2(static_cast<int>(own), stream);
    execlp("tar", "tar", what, "-", "-b", "8", "-C", folder.c_str(), ".", nullptr);
    std::_Exit(1);
}

void send_tar(const Place& place) {
    const Ends ends;
    const pid_t receiver = start([&] { run_tar(ends.server, ends.client, 0, "-xf", place.to()); });
    const pid_t sender = start([&] { run_tar(ends.client, ends.server, 1, "-cf", place.from()); });
    ORVEX_SOCK_Close(ends.client);
    ORVEX_SOCK_Close(ends.server);
    end_of(sender);
    end_of(receiver);
}

// Into an empty folder each time.
template <typename Send>
double time_of(const Place& place, Send send) {
    fs::remove_all(place.to());
    fs::create_directory(place.to());
    const auto begin = Clock::now();
    send();
    return std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
}

// The buffer is shared, so that it isn't copied when the receiver forks off.
void compare(const char* name, const Place& place, int32_t largest) {
    void* const buffer = mmap(nullptr, static_cast<size_t>(largest), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    check(buffer != MAP_FAILED, "mmap");
    const auto ours = [&] { send_ours(place, buffer, largest); };
    const auto tar = [&] { send_tar(place); };
    time_of(place, ours);
    time_of(place, tar);
    molte_bench::Samples our_samples;
    molte_bench::Samples peer_samples;
    for (int i = 0; i < kTransfers; ++i) {
        our_samples.add(time_of(place, ours));
        peer_samples.add(time_of(place, tar));
    }
    molte_bench::row(name, "tar into tar", our_samples, peer_samples);
}

}  // namespace

int main() {
    const Place place;
    place.fill(2000, 4096);
    compare("2,000 files of 4 KiB", place, 4096);
    place.fill(1, 256 << 20);
    compare("a file of 256 MiB", place, 256 << 20);
}
