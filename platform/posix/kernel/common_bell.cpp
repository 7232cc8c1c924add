#include "kernel/common_bell.h"

#include "kernel/futex.h"
#include "kernel/named_file.h"

namespace platform {

namespace {

NamedFile* bell = nullptr;  // stays: threads use it until the process is gone

}  // namespace

bool open_common_bell() {
    if (bell == nullptr) bell = NamedFile::open_bell().release();
    return bell != nullptr;
}

void leave_common_bell() {
    if (bell != nullptr) bell->leave();
}

NamedFile* common_bell_file() {
    return bell;
}

std::atomic<std::uint32_t>& common_bell() {
    return bell->content().state.word;
}

void ring_common_bell() {
    constexpr std::uint32_t kStep = 2;
    if ((common_bell().load() & kCommonBellInUse) == 0) return;
    common_bell().fetch_add(kStep);
    futex_wake(common_bell(), kAllSleepers, true);
}

}  // namespace platform
