// What mappings and views do beside what shared_memory.h and file_map.h make of them.
#include "platform/file_mapping.h"

#include "platform/files.h"
#include "support/common.h"
#include "support/error_if.h"
#include "support/handles.h"
#include "support/object_name.h"
namespace {

HANDLE memory(DWORD size, const std::string& name = "") {
    return CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name.c_str());
}
HANDLE open_mapping(const std::string& name) {
    return OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name.c_str());
}
char* view_of(HANDLE mapping, DWORD offset = 0, size_t size = 0) {
    return static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, offset, size));
}

TEST(FileMapping, ViewsAreTheMemoryAndOutliveTheHandles) {
    const std::string name = new_name();
    HANDLE handles[] = {memory(3 * 65536, name), memory(1, name)};
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    char* const whole = view_of(handles[0]);
    char* const part = view_of(handles[1], 65536, 10);
    ASSERT_TRUE(whole != nullptr && part != nullptr);
    const std::tuple<DWORD, size_t, DWORD> refused[] = {{4096, 10, ERROR_MAPPED_ALIGNMENT},
                                                        {65536, 3 * 65536, ERROR_ACCESS_DENIED},
                                                        {3 * 65536, 1, ERROR_INVALID_PARAMETER}};
    for (const auto& [offset, size, error] : refused) {
        EXPECT_EQ(error_if(view_of(handles[0], offset, size) == nullptr), error) << offset;
    }
    EXPECT_EQ(platform::view_size(whole), 3U * 65536);
    EXPECT_EQ(platform::view_size(part), 4096U);
    EXPECT_EQ(platform::view_size(whole + 4096), 0U);
    for (HANDLE handle : handles) CloseHandle(handle);
    EXPECT_EQ(error_if(open_mapping(name) == nullptr), DWORD{ERROR_FILE_NOT_FOUND});
    part[3] = 'x';
    EXPECT_EQ(whole[65539], 'x');
    for (char* view : {whole, part}) EXPECT_NE(UnmapViewOfFile(view), FALSE);
    EXPECT_EQ(error_if(UnmapViewOfFile(part) == FALSE), DWORD{ERROR_INVALID_ADDRESS});
}

#if !defined(_WIN32)

TEST(FileMapping, AForkedChildSharesBlocksAndTakesNothingAway) {
    const std::string name = new_name();
    HANDLE named = memory(1, name);
    const Handle unnamed(memory(1));
    char* const views[] = {view_of(named), view_of(unnamed)};
    int done[2];
    int go[2];
    ASSERT_EQ(pipe(done) + pipe(go), 0);
    char byte = 0;
    const pid_t child = fork();
    if (child == 0) {
        strcpy(views[0], "named");
        strcpy(view_of(unnamed), "unnamed");
        UnmapViewOfFile(views[0]);
        const bool heard = write(done[1], "x", 1) == 1 && read(go[0], &byte, 1) == 1;
        _exit(heard && Handle(open_mapping(name)) != nullptr ? 7 : 1);
    }
    EXPECT_EQ(read(done[0], &byte, 1), 1);
    EXPECT_STREQ(views[0], "named");
    EXPECT_STREQ(views[1], "unnamed");
    CloseHandle(named);
    EXPECT_EQ(write(go[1], "x", 1), 1);
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
    const std::string names[] = {new_name(), new_name()};
    ChildProcess alive("hold_blocks", {names[1]});
    EXPECT_EQ(alive.read_line(), "ready");
    {
        ChildProcess killed("hold_blocks", {names[0], names[1]});
        EXPECT_EQ(killed.read_line(), "ready");
    }
    object_folder().write("=foreign", "of somebody else");
    const auto is_there = [](const std::string& name) {
        return fs::exists(object_folder() / ("=" + name));
    };
    EXPECT_TRUE(is_there(names[0]));
    const Handle another(memory(1, new_name()));
    EXPECT_FALSE(is_there(names[0]));
    EXPECT_TRUE(is_there(names[1]) && is_there("foreign"));
    const auto descriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = descriptors();
    CloseHandle(memory(1, new_name()));
    EXPECT_EQ(descriptors(), before);  // the memory is given back at once
}

// By the name, in a process that doesn't have the file open itself.
CHILD_ROLE(view_file) {
    const Handle mapping(open_mapping(args[0]));
    const char* view = mapping != nullptr ? view_of(mapping) : nullptr;
    tell_parent(view != nullptr ? view : std::to_string(GetLastError()));
    return 0;
}

TEST(FileMapping, AFileIsFoundByItsPathAsLongAsItIsTheSame) {
    const std::string name = new_name();
    const std::string path = object_folder().write("file", "text");
    const int fd = _open(path.c_str(), _O_RDWR);
    auto* const file = reinterpret_cast<HANDLE>(_get_osfhandle(fd));
    EXPECT_EQ(
        error_if(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 1 << 20, 0, nullptr) == nullptr),
        DWORD{ERROR_DISK_FULL});
    const Handle mapping(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, name.c_str()));
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
