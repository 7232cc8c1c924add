// A random identifier, beside the one of libuuid; the first one of a forked child too.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <chrono>

#include "moltelib.h"
#include "pair.h"

namespace {

void make_ours() {
    uint8_t uuid[ORVEX_UUID_SIZE];
    ORVEX_UUID_Gen(uuid);
    molte_bench::keep(uuid);
}

void make_peers() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    molte_bench::keep(uuid);
}

void make_none() {}

// The nanoseconds of the first call in a child, which tells them through shared memory. The pages
// that measuring itself needs are there before.
double first_of_a_child(void (*make)(), double* shared) {
    const pid_t child = fork();
    if (child == 0) {
        void (*volatile none)() = make_none;
        *shared = molte_bench::time_of(*none, 1);
        *shared = molte_bench::time_of(make, 1);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return *shared;
}

void compare_children() {
    void* page =
        mmap(nullptr, sizeof(double), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) return;
    auto* shared = static_cast<double*>(page);
    molte_bench::Samples ours;
    molte_bench::Samples peers;
    for (int i = 0; i < 200; ++i) {
        ours.add(first_of_a_child(make_ours, shared));
        peers.add(first_of_a_child(make_peers, shared));
    }
    molte_bench::row("the first of a forked child", "libuuid", ours, peers);
}

// A child goes on from the state that its parent had.
void compare_in_a_child() {
    const pid_t child = fork();
    if (child == 0) {
        molte_bench::pair("a child's, one after another", "libuuid", make_ours, make_peers);
        std::fflush(stdout);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}

}  // namespace

int main() {
    molte_bench::pair("one random identifier", "libuuid", make_ours, make_peers);
    std::fflush(stdout);
    compare_in_a_child();
    compare_children();
}
