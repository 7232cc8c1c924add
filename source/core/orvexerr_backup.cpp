// Turning a growing file over into numbered backups.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "core/orvexerr_backup.h"
#include "moltelib/error_log.h"
#include "moltelib/text.h"
#include "platform/files.h"
#include "platform/find.h"

namespace {

constexpr int32_t kPathSize = 4400;
constexpr int32_t kOwnName = -1;
constexpr int32_t kPattern = -2;
constexpr int kRaces = 100;

struct BackupPath {
    char text[kPathSize];
    BackupPath(const molte::GrowingFile& file, int32_t index) {
        MOLTE_BuildBackupFileName(text, kPathSize, file.folder, file.name, index, file.extension);
        text[kPathSize - 1] = '\0';
    }
};

struct Backups {
    bool any = false;
    int32_t highest = -1;
    int64_t bytes = 0;
};

// The number behind the last underscore, -1 when there is none. No backup has a negative one.
int32_t number_of(const char* name) {
    const char* underscore = std::strrchr(name, '_');
    int number = -1;
    if (underscore == nullptr || std::sscanf(underscore + 1, "%d", &number) != 1) return -1;
    return std::max(number, -1);
}

int64_t size_of(const WIN32_FIND_DATAA& found) {
    return static_cast<int64_t>(uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow);
}

// Calls visit(name, size) for each backup.
template <typename Visit>
void for_each_backup(const molte::GrowingFile& file, Visit visit) {
    WIN32_FIND_DATAA found;
    HANDLE find = FindFirstFileA(BackupPath(file, kPattern).text, &found);
    if (find == INVALID_HANDLE_VALUE) return;
    do visit(number_of(found.cFileName), size_of(found));
    while (FindNextFileA(find, &found) != 0);
    FindClose(find);
}

Backups look_for_backups(const molte::GrowingFile& file) {
    Backups backups;
    for_each_backup(file, [&](int32_t number, int64_t size) {
        backups.highest = backups.any ? std::max(backups.highest, number) : number;
        backups.bytes += size;
        backups.any = true;
    });
    return backups;
}

// The lowest number from FIRST on that a backup has; beyond the highest when there is none. Numbers
// aren't counted through, for anybody may leave a file with a number of billions there.
int64_t number_from(const molte::GrowingFile& file, int64_t first) {
    int64_t lowest = int64_t{INT_MAX} + 1;
    for_each_backup(file, [&](int32_t number, int64_t /*size*/) {
        if (number >= first) lowest = std::min<int64_t>(lowest, number);
    });
    return lowest;
}

// The number behind the highest. Behind the last number that there is comes the first free one.
int32_t next_number(const molte::GrowingFile& file, int32_t highest) {
    if (highest < INT_MAX) return highest + 1;
    int32_t number = 0;
    while (number < INT_MAX && _access(BackupPath(file, number).text, 0) == 0) ++number;
    return number;
}

// Removes from the lowest number on until there is room for the file.
void make_room(const molte::GrowingFile& file, const Backups& backups, int64_t size) {
    int64_t total = backups.bytes + size;
    // A name without a number counts as -1, but no backup is called so.
    int64_t number = number_from(file, 0);
    while (number <= backups.highest && total >= file.total_limit) {
        const BackupPath path(file, static_cast<int32_t>(number));
        const molte::FileNow backup = molte::look_at(path.text);
        if (backup.exists) {
            total -= backup.size;
            _unlink(path.text);
        }
        number = number_from(file, number + 1);
    }
}

}  // namespace

namespace molte {

FileNow look_at(const char* path) {
    struct _stat64 state {};
    if (_access(path, 0) != 0 || _stat64(path, &state) != 0) return {};
    return {true, state.st_size, static_cast<uint64_t>(state.st_dev),
            static_cast<uint64_t>(state.st_ino)};
}

void turn_over(const GrowingFile& file) {
    const BackupPath current(file, kOwnName);
    const auto is_due = [&](const FileNow& now) { return now.exists && now.size >= file.min_size; };
    // Another process may turn the file over meanwhile. When it takes the number first, this one
    // begins again; when it took one before, the second look finds the new file, which stays.
    for (int race = 0; race < kRaces && is_due(look_at(current.text)); ++race) {
        const Backups backups = look_for_backups(file);
        const BackupPath next(file, next_number(file, backups.highest));
        const FileNow now = look_at(current.text);
        if (!is_due(now)) return;
        if (backups.any) make_room(file, backups, now.size);
        if (platform::rename_file(current.text, next.text) == 0 || errno != EEXIST) return;
    }
}

}  // namespace molte

int32_t MOLTE_BuildBackupFileName(char* pszDst, int32_t nDstLen, const char* pszDir,
                                  const char* pszName, int32_t nIndex, const char* pszExt) {
    char suffix[16] = "";
    if (nIndex == kPattern) {
        std::strcpy(suffix, "_*");
    } else if (nIndex != kOwnName) {
        snprintf(suffix, sizeof suffix, "_%04d", nIndex);
    }
    return ox_snprintf(pszDst, nDstLen, "%s%c%s%s%s", pszDir, '\\', pszName, suffix, pszExt);
}

int32_t MOLTE_BackupFile(const char* pszDir, const char* pszName, const char* pszExt,
                         int64_t nTotalLimit, int64_t nMinSize) {
    molte::turn_over({pszDir, pszName, pszExt, nTotalLimit, nMinSize});
    return 1;
}
