// Files by descriptor and by name.
#include "platform/files.h"

#include "support/common.h"
#include "support/error_if.h"
#include "support/posix.h"
#include "support/unprivileged.h"

#if !defined(_WIN32)
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <cstddef>
#endif

namespace {

constexpr int kUpdate = 32770;
constexpr int kNew = 33538;

int open_file(const std::string& name, int flags, int permission = 384) {
    return _open(name.c_str(), flags, permission);
}

struct _stat64 state_of(const std::string& name) {
    struct _stat64 status = {};
    EXPECT_EQ(_stat64(name.c_str(), &status), 0) << name;
    return status;
}

TEST(FileCopy, TakesTimeAndModeAlong) {
    const TempFolder folder;
    const std::string source = folder.write("source", std::string(100'001, 'x'));
    const std::string target = folder / "target";
    struct __utimbuf64 times = {.actime = 1000000001, .modtime = 1234567890};
    _utime64(source.c_str(), &times);
    _chmod(source.c_str(), _S_IREAD);
    ASSERT_NE(CopyFileA(source.c_str(), target.c_str(), TRUE), FALSE);
    EXPECT_TRUE(read_bytes(target) == read_bytes(source));
    EXPECT_EQ(state_of(target).st_mtime, 1234567890);
    EXPECT_EQ(state_of(target).st_mode & _S_IWRITE, 0);
}

TEST(FileCopy, Refusals) {
    const TempFolder folder;
    const std::string file = folder.write("f", "123");
    const std::string none = folder / "none";
    const tuple<std::string, std::string, BOOL, DWORD> rows[] = {
        {file, folder.write("g", "4"), TRUE, ERROR_FILE_EXISTS},
        {none, folder / "n", TRUE, ERROR_FILE_NOT_FOUND},
        {file, folder / "none/f", TRUE, ERROR_PATH_NOT_FOUND},
        {folder.str(), none, TRUE, ERROR_ACCESS_DENIED},
        {file, file, FALSE, ERROR_SHARING_VIOLATION}};
    for (const auto& [from, to, must_be_new, error] : rows) {
        EXPECT_EQ(error_if(!CopyFileA(from.c_str(), to.c_str(), must_be_new)), error) << from << to;
    }
    EXPECT_EQ(read_bytes(file), "123");
    EXPECT_EQ(error_if(open_file(file, 34562) < 0), DWORD{ERROR_FILE_EXISTS});
}

#if !defined(_WIN32)

TEST(Files, PermissionsOfOwnerGroupAndOthers) {
    const TempFolder folder;
    const std::string name = folder.write("f", "");
    const tuple<unsigned, int, unsigned> changed[] = {
        {0444, 0x180, 0644},  // the owner's bits alone: the others stay
        {0755, 0x180, 0755},
        {0664, 0x100, 0444},    // read only for everyone
        {0644, 0100664, 0664},  // a whole mode is taken as it is
        {0664, 0100464, 0444}};
    for (const auto& [before, mode, after] : changed) {
        fs::permissions(name, fs::perms{before});
        EXPECT_EQ(_chmod(name.c_str(), mode), 0);
        EXPECT_EQ(state_of(name).st_mode & 07777u, after) << std::oct << mode;
    }
    const mode_t mask = umask(0);
    for (const auto& row : {std::pair{384, 0600u}, {0100755, 0755u}, {0x8102, 0400u}}) {
        ASSERT_EQ(_unlink(name.c_str()), 0);
        const int fd = open_file(name, kNew, row.first);
        EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
        _close(fd);
        EXPECT_EQ(state_of(name).st_mode & 07777u, row.second) << std::oct << row.first;
    }
    umask(mask);
}

TEST(Files, RefusedPermission) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    const Unprivileged somebody;
    const std::string own = folder / "own";
    _close(open_file(own, kNew, _S_IREAD));
    EXPECT_TRUE(open_file(own, kUpdate) == -1 && errno == EACCES);
    EXPECT_EQ(_access(own.c_str(), 4), 0);
    EXPECT_EQ(_access(own.c_str(), 2), -1);
    EXPECT_EQ(error_if(!CopyFileA("/proc/version", own.c_str(), FALSE)), ERROR_ACCESS_DENIED);
    for (const int flags : {0x4000, 0x40, 3, 0x8200, 0x10000}) {
        EXPECT_TRUE(open_file("/dev/null", flags) == -1 && errno == EINVAL) << flags;
    }
}

// From now on the calling thread meets file systems that can't refuse a taken name in one step.
bool refuse_in_steps_alone() {
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {std::size(steps), steps};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// What comes of it: 0, or the reason.
int renamed(const std::string& from, const std::string& to) {
    return platform::rename_file(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

TEST(Files, RenamingInSteps) {
    const TempFolder folder;
    const std::string file = folder.write("file", "1");
    const std::string other = folder.write("other", "2");
    const std::string closed = folder / "closed";
    fs::create_directory(closed);
    std::ofstream(fs::path(closed) / "kept") << "3";
    fs::permissions(fs::path(closed) / "kept", fs::perms{0666});
    fs::permissions(closed, fs::perms{0555});
    fs::permissions(folder.path(), fs::perms::all);
    std::thread([&] {
        ASSERT_TRUE(refuse_in_steps_alone());
        EXPECT_EQ(renamed(file, other), EEXIST);
        EXPECT_EQ(renamed(file, folder / "new"), 0);
        EXPECT_EQ(renamed(closed, other), EEXIST);
        EXPECT_EQ(renamed(folder / "none", folder / "new"), ENOENT);
        const Unprivileged somebody;
        EXPECT_EQ(renamed(closed + "/kept", folder / "taken"), EACCES);
        EXPECT_FALSE(fs::exists(folder / "taken"));
    }).join();
    EXPECT_EQ(read_bytes(closed + "/kept"), "3");
    EXPECT_EQ(read_bytes(folder / "new"), "1");
    EXPECT_EQ(read_bytes(other), "2");
    EXPECT_FALSE(fs::exists(file));
}

TEST(Files, AWriteThatEndsEarlyTellsWhy) {
    const TempFolder folder;
    const std::string source = folder.write("source", std::string(100'000, 'x'));
    const std::string target = folder / "target";
    const int fd = open_file(folder / "f", kNew);
    {
        const FileSizeLimit limit(10);
        errno = 0;
        EXPECT_EQ(_write(fd, "0123456789abcdef", 16), 10);
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(CopyFileA(source.c_str(), target.c_str(), FALSE), FALSE);
        EXPECT_EQ(errno, EFBIG);
    }
    EXPECT_FALSE(fs::exists(target)) << "a failed copy leaves nothing";
    _close(fd);
}

// One of the kernel's files tells 0 for its size, the other 4096.
TEST(FileCopy, FilesWhoseSizeIsUntrueAndFilesOfOthers) {
    const TempFolder folder;
    const std::string target = folder.write("target", "of root's");
    fs::permissions(folder.path(), fs::perms::all);
    fs::permissions(target, fs::perms{0666});
    const Unprivileged somebody;
    for (const char* source : {"/proc/version", "/sys/kernel/mm/transparent_hugepage/enabled"}) {
        if (!fs::exists(source)) continue;
        EXPECT_NE(CopyFileA(source, target.c_str(), FALSE), FALSE) << source;
        EXPECT_EQ(read_bytes(target), read_bytes(source));
    }
}

TEST(FileCopy, HolesStay) {
    const TempFolder folder;
    const std::string source = folder.write("source", "");
    const std::string target = folder / "target";
    constexpr int64_t size = int64_t{1} << 24;
    fs::resize_file(source, size);
    std::fstream(source, std::ios::in | std::ios::out).seekp(size / 2) << "middle";
    ASSERT_NE(CopyFileA(source.c_str(), target.c_str(), TRUE), FALSE);
    struct stat status = {};
    ASSERT_EQ(stat(target.c_str(), &status), 0);
    EXPECT_LT(status.st_blocks, 1000);
    EXPECT_TRUE(read_bytes(target) == read_bytes(source));
}

#endif

}  // namespace
