#include "common_bell.h"

#include <memory>

#include "futex.h"
#include "immortal.h"
#include "named_file.h"

namespace platform {

namespace {

constinit Immortal<std::unique_ptr<NamedFile>> bell;

}  // namespace

bool open_common_bell() {
    if (bell.value == nullptr) bell.value = NamedFile::open_bell();
    return bell.value != nullptr;
}

void leave_common_bell() {
    if (bell.value != nullptr) bell.value->leave();
}

NamedFile* common_bell_file() {
    return bell.value.get();
}

std::atomic<std::uint32_t>& common_bell() {
    return bell.value->content().state.word;
}

void ring_common_bell() {
    constexpr std::uint32_t kStep = 2;
    if ((common_bell().load() & kCommonBellInUse) == 0) return;
    common_bell().fetch_add(kStep);
    futex_wake(common_bell(), kAllSleepers, true);
}

}  // namespace platform
