// What the files of the text hooks share: the list's lock, and offering a text to hooks.
#pragma once

#include <atomic>
#include <cstdint>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/state.h"
#include "moltelib/text_hook.h"

namespace molte::hooks {

constexpr auto kModule = kOtxthook;
using molte::kBadArgument;
inline constexpr uint32_t kExists = 132;
inline constexpr uint32_t kZeroMask = 432;

inline OXTXTHOOKSTATE& state() {
    return g_stBv.stTextHook;
}

// Texts are taken: the hooks are up, and the lock is there.
inline bool ready() {
    return std::atomic_ref(state().bCsReady).load(std::memory_order_acquire) != 0;
}

// The list's lock, made at its first use and never deleted: threads may print, and so wait for it,
// while the hooks are released.
MOLTE_CRIT& list_lock();

// A walk through the list, under its lock. Hooks run in it, and may remove hooks, themselves
// included: a removed node takes no more text, and is freed when no walk is left.
class Walk {
 public:
    Walk() : guard_(state().stLock) { ++depth_; }
    ~Walk() {
        if (--depth_ == 0 && removed_ != nullptr) free_removed();
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // Frees a node that was unlinked and closed, now or after the walks.
    static void dispose(OTXTHOOK_NODE* node);

 private:
    static void free_removed();

    CritGuard guard_;
    static int32_t depth_;           // under the lock, so those of one thread
    static OTXTHOOK_NODE* removed_;  // chained by pUserData
};

// The bits that any installed hook has: what these don't hold, no hook takes.
extern std::atomic<uint32_t> installed_bits;

// True if the two share a bit in each group.
inline bool agree(uint32_t a, uint32_t b) {
    const uint32_t both = a & b;
    return (both & OXMSG_DIRECTION_MASK) != 0 && (both & OXMSG_CLASS_MASK) != 0 &&
           (both & OXMSG_DESTINATION_MASK) != 0;
}

}  // namespace molte::hooks
