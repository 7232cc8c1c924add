// What the modules oftpbase and oftplib share: how a walk goes through the entries of a folder.
#pragma once

#include <cstring>

#include "files/oxdirop.h"
#include "moltelib/file.h"
#include "moltelib/remote_file.h"
#include "platform/entries.h"

namespace molte::ftp {

inline constexpr uint32_t kNotEntered = 29;
inline constexpr uint32_t kNoCurrentFolder = 142;
inline constexpr int32_t kFolderSize = 1024;  // of the current one's name

// A record with a name, cut to fit, and nothing else.
inline OXFILESTAT named(const char* name) {
    OXFILESTAT record{};
    std::memcpy(record.szName, name, strnlen(name, OXFILESTAT_NAME_SIZE - 1));
    return record;
}

// A name that fills its field has none.
inline bool has_end(const OXFILESTAT& record) {
    return std::memchr(record.szName, '\0', sizeof record.szName) != nullptr;
}

// Adds the state of an entry, of which nothing is known when there is none; its result is that of
// ORVEX_FileStatByFileName.
inline int32_t add_state(const char* name, OXFILESTAT* record) {
    OXSTAT64 state{};
    const int32_t result = ORVEX_FileStatByFileName(name, &state);
    ORVEX_FileSetModeToFS(&state, record);
    return result;
}

// ACTION(record) -> int32_t for each entry of a find in the current folder, then for null. 1, or -1
// when it stopped the walk.
template <typename Action>
int32_t walk(directory::Find& find, const Module& module, Action action) {
    for (; find.found(); find.next()) {
        OXFILESTAT record = named(find.name());
        // Nothing is known of an entry by a name that leads elsewhere.
        const bool its_own = find.is_dots() || platform::is_entry_name(find.name());
        if (its_own) add_state(find.name(), &record);
        if (action(&record) < 0) return module.trace(here());
    }
    action(nullptr);
    return 1;
}

}  // namespace molte::ftp
