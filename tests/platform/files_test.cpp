// Files by descriptor and by name.
#include "platform/files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "platform/last_error.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#endif

namespace {

namespace fs = std::filesystem;

constexpr int kRead = 32768;
constexpr int kUpdate = 32770;
constexpr int kNew = 33538;
constexpr int kExclusive = 34050;
constexpr int kOwner = 384;

int make(const std::string& name, int flags = kNew) {
    return _open(name.c_str(), flags, kOwner);
}

TEST(Files, OpenFlags) {
    const TempFolder folder;
    const std::string full = folder.write("full", "12345");
    const std::string none = folder / "none";
    const struct {
        std::string name;
        int flags, error;
        DWORD last_error;
        int64_t length;
    } rows[] = {
        {full, kRead, 0, 0, 5},
        {full, 32769, 0, 0, 5},
        {full, kUpdate, 0, 0, 5},
        {full, 33026, 0, 0, 5},
        {full, kExclusive, EEXIST, ERROR_FILE_EXISTS, 0},
        {full, 34562, EEXIST, ERROR_FILE_EXISTS, 0},
        {full, 384, 0, 0, 5},  // read, create, not inherited
        {full, kNew, 0, 0, 0},
        {none, kRead, ENOENT, ERROR_FILE_NOT_FOUND, 0},
        {none, kUpdate, ENOENT, ERROR_FILE_NOT_FOUND, 0},
        {none, kExclusive, 0, 0, 0},
        {folder.str(), kRead, EACCES, ERROR_ACCESS_DENIED, 0},
        {folder.str(), kUpdate, EACCES, ERROR_ACCESS_DENIED, 0},
        {folder.str(), kNew, EACCES, ERROR_ACCESS_DENIED, 0},
    };
    for (const auto& row : rows) {
        errno = 0;
        SetLastError(0);
        const int fd = make(row.name, row.flags);
        EXPECT_EQ(errno, row.error) << row.name << " " << row.flags;
        EXPECT_EQ(fd >= 0, row.error == 0) << row.name << " " << row.flags;
        if (row.error != 0) {
            EXPECT_EQ(GetLastError(), row.last_error) << row.name << " " << row.flags;
        }
        if (fd < 0) continue;
        EXPECT_EQ(_filelengthi64(fd), row.length) << row.name << " " << row.flags;
        EXPECT_EQ(_close(fd), 0);
    }
}

TEST(Files, BytesArePlacedAsTold) {
    const TempFolder folder;
    const std::string name = folder / "f";
    const int fd = make(name);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(_write(fd,
                     "ab\r\n\x1A"
                     "c",
                     6),
              6);
    EXPECT_EQ(_telli64(fd), 6);
    EXPECT_EQ(_lseeki64(fd, 0x100000002, SEEK_SET), 0x100000002);
    EXPECT_EQ(_lseeki64(fd, -1, SEEK_SET), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(_lseeki64(fd, -2, SEEK_END), 4);
    char byte[2] = {};
    EXPECT_EQ(_read(fd, byte, 1), 1);
    EXPECT_EQ(byte[0], '\x1A');
    EXPECT_EQ(_read(fd, byte, 2), 1);
    EXPECT_EQ(_read(fd, byte, 2), 0);
    EXPECT_EQ(_lseeki64(fd, 3, SEEK_SET), 3);
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(fd));
    EXPECT_NE(SetEndOfFile(handle), 0);
    EXPECT_EQ(_lseeki64(fd, 5, SEEK_SET), 5);
    EXPECT_NE(SetEndOfFile(handle), 0);
    EXPECT_EQ(_telli64(fd), 5);
    EXPECT_EQ(_commit(fd), 0);
    _close(fd);
    EXPECT_EQ(read_bytes(name), std::string("ab\r\0\0", 5));

    const int appends = _open(name.c_str(), _O_RDWR | _O_APPEND | _O_BINARY);
    EXPECT_EQ(_write(appends, "1", 1), 1);
    EXPECT_EQ(_lseeki64(appends, 0, SEEK_SET), 0);
    EXPECT_EQ(_write(appends, "2", 1), 1);
    _close(appends);
    EXPECT_EQ(read_bytes(name).substr(5), "12");
}

TEST(Files, WhatIsNotOpenFails) {
    struct _stat64 status;
    EXPECT_EQ(_filelengthi64(99), -1);
    EXPECT_EQ(_telli64(99), -1);
    EXPECT_EQ(_get_osfhandle(99), -1);
    EXPECT_EQ(_fstat64(99, &status), -1);
    EXPECT_EQ(_close(99), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(SetEndOfFile(INVALID_HANDLE_VALUE), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST(Files, StatusAndTimes) {
    const TempFolder folder;
    const std::string name = folder.write("f", "123");
    struct __utimbuf64 times = {.actime = 1000000001, .modtime = 1234567890};
    ASSERT_EQ(_utime64(name.c_str(), &times), 0);
    struct _stat64 status = {};
    ASSERT_EQ(_stat64(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 3);
    EXPECT_EQ(status.st_mtime, 1234567890);
    EXPECT_EQ(status.st_atime, 1000000001);
    EXPECT_EQ(status.st_mode & (_S_IFMT | _S_IREAD | _S_IWRITE), _S_IFREG | _S_IREAD | _S_IWRITE);
    struct _stat64 wide = {};
    ASSERT_EQ(_wstat64(std::wstring(name.begin(), name.end()).c_str(), &wide), 0);
    EXPECT_EQ(wide.st_mtime, status.st_mtime);
    EXPECT_EQ(wide.st_size, status.st_size);
    ASSERT_EQ(_stat64(folder.str().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & _S_IFMT, _S_IFDIR);
    EXPECT_EQ(_stat64((folder / "none").c_str(), &status), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(_utime64((folder / "none").c_str(), &times), -1);
}

TEST(Files, ReadOnlyAndBack) {
    const TempFolder folder;
    const std::string name = folder.write("f", "x");
    struct _stat64 status = {};
    ASSERT_EQ(_chmod(name.c_str(), _S_IREAD), 0);
    ASSERT_EQ(_stat64(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & (_S_IREAD | _S_IWRITE), _S_IREAD);
    ASSERT_EQ(_chmod(name.c_str(), status.st_mode | kOwner), 0);
    ASSERT_EQ(_stat64(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & (_S_IREAD | _S_IWRITE), kOwner);
    EXPECT_EQ(_chmod((folder / "none").c_str(), kOwner), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(Files, FoldersAndNames) {
    const TempFolder folder;
    const std::string sub = folder / "sub";
    EXPECT_EQ(_mkdir(sub.c_str()), 0);
    EXPECT_EQ(_mkdir(sub.c_str()), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(_unlink(sub.c_str()), -1);
    EXPECT_EQ(errno, EACCES);
    const std::string file = folder.write("sub/f", "");
    EXPECT_EQ(_rmdir(sub.c_str()), -1);
    EXPECT_EQ(errno, ENOTEMPTY);
    EXPECT_EQ(GetLastError(), ERROR_DIR_NOT_EMPTY);
    EXPECT_EQ(_access(file.c_str(), 0), 0);
    EXPECT_EQ(_access(file.c_str(), 6), 0);
    EXPECT_EQ(_unlink(file.c_str()), 0);
    EXPECT_EQ(_access(file.c_str(), 0), -1);
    EXPECT_EQ(_unlink(file.c_str()), -1);
    EXPECT_EQ(errno, ENOENT);

    const fs::path before = fs::current_path();
    EXPECT_EQ(_chdir(sub.c_str()), 0);
    char present[1024];
    EXPECT_EQ(_getcwd(present, sizeof present), present);
    EXPECT_TRUE(fs::equivalent(present, sub));
    EXPECT_EQ(_getcwd(present, 3), nullptr);
    EXPECT_EQ(errno, ERANGE);
    fs::current_path(before);
    EXPECT_EQ(_rmdir(sub.c_str()), 0);
    EXPECT_EQ(_chdir(sub.c_str()), -1);
}

TEST(Files, RenameNeverReplaces) {
    const TempFolder folder;
    const std::string a = folder.write("a", "1");
    const std::string b = folder.write("b", "2");
    const std::string c = folder / "c";
    EXPECT_EQ(platform::rename_file(a.c_str(), b.c_str()), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(read_bytes(b), "2");
    EXPECT_EQ(platform::rename_file(a.c_str(), c.c_str()), 0);
    EXPECT_EQ(read_bytes(c), "1");
    EXPECT_FALSE(fs::exists(a));
    EXPECT_EQ(platform::rename_file(a.c_str(), b.c_str()), -1);
    EXPECT_EQ(errno, ENOENT);
    const std::string folders[] = {folder / "full", folder / "empty", folder / "other"};
    ASSERT_EQ(_mkdir(folders[0].c_str()) | _mkdir(folders[1].c_str()), 0);
    folder.write("full/x", "3");
    EXPECT_EQ(platform::rename_file(folders[0].c_str(), folders[1].c_str()), -1);
    EXPECT_EQ(platform::rename_file(folders[0].c_str(), folders[2].c_str()), 0);
    EXPECT_EQ(read_bytes(folder / "other/x"), "3");
}

TEST(Files, TemporaryNamesDiffer) {
    const TempFolder folder;
    const TempFolder other;
    std::set<std::string> names;
    const auto temporary = [&](const char* given) {
        char* name = _tempnam(given, "pfx");
        std::string text = name != nullptr ? name : "";
        free(name);
        EXPECT_EQ(_access(text.c_str(), 0), -1) << text;
        return text;
    };
    for (int i = 0; i < 50; ++i) {
        const int fd = make(temporary(folder.str().c_str()));
        ASSERT_GE(fd, 0);
        _close(fd);
    }
#if !defined(_WIN32)
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 50);
    EXPECT_EQ(temporary((folder / "none").c_str()).rfind("/tmp\\pfx", 0), 0u);
    EXPECT_EQ(temporary("/").rfind("/pfx", 0), 0u);
    setenv("TMP", other.str().c_str(), 1);
    EXPECT_EQ(temporary(folder.str().c_str()).rfind(other.str() + "\\pfx", 0), 0u);
    unsetenv("TMP");
#endif
}

TEST(CopyFile, ContentAndState) {
    const TempFolder folder;
    std::string content(3'000'001, 'x');
    for (size_t i = 0; i < content.size(); i += 4099) content[i] = static_cast<char>(i);
    const std::string source = folder.write("source", content);
    const std::string target = folder.write("target", std::string(4'000'000, 'o'));
    struct __utimbuf64 times = {.actime = 1000000001, .modtime = 1234567890};
    ASSERT_EQ(_utime64(source.c_str(), &times), 0);
    EXPECT_EQ(CopyFileA(source.c_str(), target.c_str(), TRUE), 0);
    EXPECT_EQ(GetLastError(), ERROR_FILE_EXISTS);
    EXPECT_EQ(fs::file_size(target), 4'000'000u);
    ASSERT_NE(CopyFileA(source.c_str(), target.c_str(), FALSE), 0);
    EXPECT_TRUE(read_bytes(target) == content);
    struct _stat64 status = {};
    ASSERT_EQ(_stat64(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_mtime, 1234567890);

    ASSERT_EQ(_chmod(source.c_str(), _S_IREAD), 0);
    const std::string fresh = folder / "fresh";
    ASSERT_NE(CopyFileA(source.c_str(), fresh.c_str(), TRUE), 0);
    ASSERT_EQ(_stat64(fresh.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & _S_IWRITE, 0);
    EXPECT_TRUE(read_bytes(fresh) == content);
}

TEST(CopyFile, Refusals) {
    const TempFolder folder;
    const std::string file = folder.write("f", "123");
    const std::string none = folder / "none";
    const std::string deep = folder / "none/f";
    const struct {
        std::string from, to;
        DWORD error;
    } rows[] = {
        {file, file, ERROR_SHARING_VIOLATION},     {none, folder / "n", ERROR_FILE_NOT_FOUND},
        {file, deep, ERROR_PATH_NOT_FOUND},        {folder.str(), none, ERROR_ACCESS_DENIED},
        {file, folder.str(), ERROR_ACCESS_DENIED},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CopyFileA(row.from.c_str(), row.to.c_str(), FALSE), 0) << row.from << row.to;
        EXPECT_EQ(GetLastError(), row.error) << row.from << " " << row.to;
    }
    EXPECT_EQ(read_bytes(file), "123");
    EXPECT_FALSE(fs::exists(none));
}

#if !defined(_WIN32)

unsigned mode_of(const std::string& name) {
    struct _stat64 status = {};
    return _stat64(name.c_str(), &status) == 0 ? status.st_mode & 07777u : 0xFFFFu;
}

TEST(Files, PermissionsOfOwnerGroupAndOthers) {
    const TempFolder folder;
    const std::string name = folder.write("f", "");
    const struct {
        unsigned before;
        int mode;
        unsigned after;
    } rows[] = {
        {0444, 0x180, 0644},    // the owner's bits alone: the others stay
        {0644, 0x180, 0644},    //
        {0755, 0x180, 0755},    //
        {0664, 0x100, 0444},    // read only for everyone
        {0600, 0, 0000},        //
        {0644, 0100664, 0664},  // a whole mode is taken as it is
        {0664, 0100644, 0644},  //
        {0664, 0100464, 0444},  // but without the owner nobody writes
    };
    for (const auto& row : rows) {
        fs::permissions(name, fs::perms{row.before});
        EXPECT_EQ(_chmod(name.c_str(), row.mode), 0);
        EXPECT_EQ(mode_of(name), row.after) << std::oct << row.before << " " << row.mode;
    }
    const mode_t mask = umask(0);
    const struct {
        int permission;
        unsigned mode;
    } made[] = {{384, 0600}, {0644, 0644}, {0100755, 0755}, {0x8102, 0400}, {07666, 0664}};
    for (const auto& row : made) {
        ASSERT_EQ(_unlink(name.c_str()), 0);
        const int fd = _open(name.c_str(), kNew, row.permission);
        EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
        _close(fd);
        EXPECT_EQ(mode_of(name), row.mode) << std::oct << row.permission;
    }
    umask(mask);
}

TEST(Files, RefusedPermission) {
    const TempFolder folder;
    fs::permissions(folder.path(), fs::perms::all);
    const std::string foreign = folder.write("foreign", "x");
    const Unprivileged somebody;
    const std::string own = folder / "own";
    _close(make(own));
    ASSERT_EQ(_chmod(own.c_str(), _S_IREAD), 0);
    EXPECT_EQ(_open(own.c_str(), kUpdate), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(_access(own.c_str(), 2), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(_access(own.c_str(), 4), 0);
    EXPECT_EQ(CopyFileA(foreign.c_str(), own.c_str(), FALSE), 0);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(_chmod(own.c_str(), kOwner), 0);
    EXPECT_NE(CopyFileA(foreign.c_str(), own.c_str(), FALSE), 0);
    // To be told what is so already isn't refused, even by a stranger.
    if (getuid() != 0) GTEST_SKIP() << "only root makes files of another owner";
    EXPECT_EQ(_chmod(foreign.c_str(), 0100644), 0);
    EXPECT_EQ(_chmod(foreign.c_str(), 0100666), -1);
}

TEST(Files, UnknownFlagsAreRefused) {
    const TempFolder folder;
    const std::string name = folder.write("f", "123");
    for (const int flags : {0x4000, 0x40, 3, 0x8200, 0x10000}) {
        errno = 0;
        EXPECT_EQ(make(name, flags), -1) << flags;
        EXPECT_EQ(errno, EINVAL) << flags;
    }
    EXPECT_EQ(read_bytes(name), "123");
}

TEST(Files, FullDisk) {
    const int fd = _open("/dev/full", 32769);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(_write(fd, "x", 1), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
    _close(fd);
    EXPECT_EQ(_write(fd, "x", 0x80000000u), -1);
    EXPECT_EQ(errno, EINVAL);
}

// A limit on the size of files stands for the disk that fills up on the way.
class SizeLimit {
 public:
    explicit SizeLimit(rlim_t size) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {.rlim_cur = size, .rlim_max = before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~SizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    SizeLimit(const SizeLimit&) = delete;
    SizeLimit& operator=(const SizeLimit&) = delete;

 private:
    rlimit before_ = {};
    void (*handler_)(int);
};

TEST(Files, AShortWriteTellsWhy) {
    const TempFolder folder;
    const std::string source = folder.write("source", std::string(100'000, 'x'));
    const int fd = make(folder / "f");
    const std::string target = folder / "target";
    {
        const SizeLimit limit(10);
        errno = 0;
        EXPECT_EQ(_write(fd, "0123456789abcdef", 16), 10);
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(CopyFileA(source.c_str(), target.c_str(), FALSE), 0);
        EXPECT_EQ(errno, EFBIG);
    }
    EXPECT_FALSE(fs::exists(target)) << "a failed copy leaves nothing";
    _close(fd);
}

TEST(CopyFile, HolesStay) {
    const TempFolder folder;
    const std::string source = folder / "source";
    const int fd = make(source);
    constexpr int64_t size = int64_t{1} << 32;
    ASSERT_EQ(_lseeki64(fd, size / 2, SEEK_SET), size / 2);
    ASSERT_EQ(_write(fd, "middle", 6), 6);
    ASSERT_EQ(_lseeki64(fd, size, SEEK_SET), size);
    ASSERT_NE(SetEndOfFile(reinterpret_cast<HANDLE>(_get_osfhandle(fd))), 0);
    _close(fd);
    const std::string target = folder / "target";
    ASSERT_NE(CopyFileA(source.c_str(), target.c_str(), TRUE), 0);
    struct stat status = {};
    ASSERT_EQ(stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, size);
    EXPECT_LT(status.st_blocks, 1000);
    const int copy = _open(target.c_str(), kRead);
    char text[6] = {};
    EXPECT_EQ(_lseeki64(copy, size / 2, SEEK_SET), size / 2);
    EXPECT_EQ(_read(copy, text, 6), 6);
    EXPECT_EQ(std::string(text, 6), "middle");
    _close(copy);
}

TEST(CopyFile, OfWhatTellsNoSize) {
    const TempFolder folder;
    const std::string target = folder / "version";
    ASSERT_NE(CopyFileA("/proc/version", target.c_str(), TRUE), 0);
    EXPECT_EQ(read_bytes(target), read_bytes("/proc/version"));
    EXPECT_EQ(CopyFileA("/dev/zero", target.c_str(), FALSE), 0);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

#endif

}  // namespace
