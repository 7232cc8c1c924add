// A tree as a peer may send it: received into a folder, beside which nothing changes.
#include <sys/socket.h>

#include <filesystem>

#include "frame.h"

namespace {

namespace fs = std::filesystem;

// A file, a link to it and one to its folder: what must stay, and how a peer might get there.
struct Place {
    Place() {
        must(std::freopen("/dev/null", "w", stdout) != nullptr);
        fs::create_directory(root / "beside");
        root.write("beside/file", "kept");
    }
    void make_folder() const {
        fs::create_directory(root / "in");
        fs::create_symlink("../beside/file", root / "in/f");
        fs::create_symlink("../beside/new", root / "in/g");
        fs::create_directory_symlink("../beside", root / "in/d");
        fs::current_path(root / "in");
    }
    void must_be_as_before() const {
        fs::current_path(started_in);
        fs::remove_all(root / "in");
        must(std::distance(fs::recursive_directory_iterator(root.path()), {}) == 2);
        must(read_bytes(root / "beside/file") == "kept");
    }
    TempFolder root;
    const fs::path started_in = fs::current_path();  // where names of inputs count from
};

}  // namespace

void try_input(std::string_view input) {
    static const Place place;
    constexpr size_t most = 65536;  // that a pair of sockets takes without a reader
    int ends[2];
    must(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    input = input.substr(0, most);
    must(write(ends[0], input.data(), input.size()) == static_cast<ssize_t>(input.size()));
    close(ends[0]);
    place.make_folder();
    const int32_t result = NET_ORVEX_FTP_ACTION_COPYGET(static_cast<OXSOCKET>(ends[1]), nullptr);
    must(result == 0 || (result == -1 && GetRvexErrNo() != 0));
    close(ends[1]);
    place.must_be_as_before();
}
