// What mappings and views do beside what shared_memory.h and file_map.h make of them.
#include "platform/file_mapping.h"

#include "platform/files.h"
#include "support/common.h"
#include "support/error_if.h"
#include "support/handles.h"
#include "support/object_name.h"
#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

constexpr DWORD kPage = 4096;

HANDLE memory(DWORD size, const std::string& name = "", DWORD protection = PAGE_READWRITE) {
    return CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, protection, 0, size, name.c_str());
}
HANDLE open_mapping(const std::string& name) {
    return OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name.c_str());
}
char* view_of(HANDLE mapping, DWORD offset = 0, size_t size = 0) {
    return static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, offset, size));
}

TEST(FileMapping, ViewsAreTheMemoryAndOutliveTheHandles) {
    const std::string name = new_name();
    HANDLE first = memory(3 * 65536, name);
    EXPECT_EQ(GetLastError(), 0U);
    HANDLE second = memory(1, name);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    char* const whole = view_of(first);
    char* const part = view_of(second, 65536, 10);
    ASSERT_TRUE(whole != nullptr && part != nullptr);
    EXPECT_EQ(platform::view_size(whole), 3U * 65536);
    EXPECT_EQ(platform::view_size(part), kPage);
    EXPECT_EQ(platform::view_size(whole + kPage), 0U);
    CloseHandle(first);
    CloseHandle(second);
    EXPECT_EQ(error_if(open_mapping(name) == nullptr), DWORD{ERROR_FILE_NOT_FOUND});
    part[3] = 'x';
    EXPECT_EQ(whole[65539], 'x');
    const Handle another(memory(65536, name));
    char* const fresh = view_of(another);
    EXPECT_EQ(fresh[0], '\0');
    for (char* view : {whole, part, fresh}) EXPECT_NE(UnmapViewOfFile(view), FALSE);
    EXPECT_EQ(error_if(UnmapViewOfFile(part) == FALSE), DWORD{ERROR_INVALID_ADDRESS});
}

TEST(FileMapping, RefusesWhatItCannotDo) {
    const Handle block(memory(100));
    const Handle read_only(memory(100, new_name(), PAGE_READONLY));
    const Handle event(manual());
    const auto view = [](HANDLE mapping, DWORD access, DWORD offset, size_t size) {
        return error_if(MapViewOfFile(mapping, access, 0, offset, size) == nullptr);
    };
    EXPECT_EQ(view(block, FILE_MAP_READ, 4096, 10), DWORD{ERROR_MAPPED_ALIGNMENT});
    EXPECT_EQ(view(block, FILE_MAP_READ, 0, kPage + 1), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(view(block, FILE_MAP_READ, 65536, 1), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(view(read_only, FILE_MAP_WRITE, 0, 0), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(view(event, FILE_MAP_READ, 0, 0), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(error_if(memory(0) == nullptr), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error_if(memory(1, "", 0) == nullptr), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(error_if(wait_for(block) == WAIT_FAILED), DWORD{ERROR_ACCESS_DENIED});
}

#if !defined(_WIN32)

// Runs that in a forked child; its result.
template <typename Body>
int in_fork(Body body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(FileMapping, AForkedChildSharesBlocksAndTakesNothingAway) {
    const std::string name = new_name();
    HANDLE named = memory(kPage, name);
    const Handle unnamed(memory(kPage));
    char* const views[] = {view_of(named), view_of(unnamed)};
    EXPECT_EQ(in_fork([&] {
                  strcpy(views[0], "named");
                  strcpy(view_of(unnamed), "unnamed");
                  return UnmapViewOfFile(views[0]) != FALSE && CloseHandle(named) != FALSE ? 7 : 1;
              }),
              7);
    EXPECT_STREQ(views[0], "named");
    EXPECT_STREQ(views[1], "unnamed");
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {  // lives on, as a service does
        char go = 0;
        _exit(read(ready[0], &go, 1) == 1 && Handle(open_mapping(name)) != nullptr ? 7 : 1);
    }
    UnmapViewOfFile(views[0]);
    CloseHandle(named);
    EXPECT_EQ(write(ready[1], "x", 1), 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_EQ(open_mapping(name), nullptr);
}

CHILD_ROLE(hold_blocks) {
    for (const std::string& name : args) view_of(memory(1 << 20, name))[0] = 'x';
    tell_parent("ready");
    hear_parent();
    return 0;
}

TEST(FileMapping, WhatKilledHoldersLeaveGoesWithTheNextBlock) {
    const std::string names[] = {new_name(), new_name(), new_name()};
    ChildProcess alive("hold_blocks", {names[2]});
    EXPECT_EQ(alive.read_line(), "ready");
    {
        ChildProcess killed("hold_blocks", {names[0], names[1], names[2]});
        EXPECT_EQ(killed.read_line(), "ready");
    }
    object_folder().write("=foreign", "of somebody else");
    const Handle another(memory(1, new_name()));
    std::set<std::string> left;
    for (const auto& entry : fs::directory_iterator(object_folder().path())) {
        left.insert(entry.path().filename().string());
    }
    EXPECT_FALSE(left.contains("=" + names[0]) || left.contains("=" + names[1]));
    EXPECT_TRUE(left.contains("=" + names[2]) && left.contains("=foreign"));
}

TEST(FileMapping, NoRoomIsAnErrorThatLeavesNothing) {
    const std::string name = new_name();
    EXPECT_EQ(error_if(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 1 << 20, 0,
                                          name.c_str()) == nullptr),
              DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(error_if(open_mapping(name) == nullptr), DWORD{ERROR_FILE_NOT_FOUND});
    const std::string path = object_folder().write("file", "12345");
    const int fd = _open(path.c_str(), _O_RDWR);
    auto* const file = reinterpret_cast<HANDLE>(_get_osfhandle(fd));
    const auto too_long = [&](const char* its_name) {
        return error_if(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 1 << 20, 0, its_name) ==
                        nullptr);
    };
    EXPECT_EQ(too_long(name.c_str()), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(too_long(nullptr), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(read_bytes(path), "12345");
    _close(fd);
}

// By the name, in a process that has the file not open itself.
CHILD_ROLE(view_file) {
    const Handle mapping(open_mapping(args[0]));
    if (mapping == nullptr) {
        tell_parent(std::to_string(GetLastError()));
        return 0;
    }
    const char* view = view_of(mapping);
    tell_parent(view != nullptr ? view : std::to_string(GetLastError()));
    return 0;
}

TEST(FileMapping, AFileIsFoundByItsPathAsLongAsItIsTheSame) {
    const std::string name = new_name();
    const std::string path = object_folder().write("file", "text");
    const int fd = _open(path.c_str(), _O_RDWR);
    const Handle mapping(CreateFileMappingA(reinterpret_cast<HANDLE>(_get_osfhandle(fd)), nullptr,
                                            PAGE_READWRITE, 0, 0, name.c_str()));
    const auto seen = [&] { return ChildProcess("view_file", {name}).read_line(); };
    EXPECT_EQ(seen(), "text");
    ASSERT_EQ(_locking(fd, _LK_NBLCK, 1), 0);
    _close(fd);  // and with it the lock, whatever the mapping holds
    const int other = _open(path.c_str(), _O_RDWR);
    EXPECT_EQ(_locking(other, _LK_NBLCK, 1), 0);
    _close(other);
    fs::resize_file(path, 3);
    EXPECT_EQ(seen(), std::to_string(ERROR_FILE_INVALID));
    fs::rename(path, path + "2");
    EXPECT_EQ(seen(), std::to_string(ERROR_FILE_NOT_FOUND));
    object_folder().write("file", "other");
    EXPECT_EQ(seen(), std::to_string(ERROR_FILE_INVALID));
}

#endif

}  // namespace
