#include "support/child_process.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>

#include "support/asleep.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
extern char** environ;
#endif

namespace {
std::map<std::string, ChildRole>& roles() {
    static std::map<std::string, ChildRole> table;
    return table;
}
constexpr const char* kRoleOption = "--child-role";
}  // namespace

RegisterRole::RegisterRole(const char* name, ChildRole role) {
    roles()[name] = role;
}

bool run_child_role(int argc, char** argv, int* exit_code) {
    if (argc < 3 || std::string(argv[1]) != kRoleOption) return false;
#if !defined(_WIN32)
    // A shell lets what it starts in the background ignore the first two.
    for (const int signal : {SIGINT, SIGQUIT, SIGHUP, SIGTERM}) std::signal(signal, SIG_DFL);
#endif
    const auto role = roles().find(argv[2]);
    *exit_code =
        role == roles().end() ? 120 : role->second(std::vector<std::string>(argv + 3, argv + argc));
    return true;
}

void tell_parent(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

std::string hear_parent() {
    std::string line;
    std::getline(std::cin, line);
    return line;
}

#if defined(_WIN32)

struct ChildProcess::System {
    PROCESS_INFORMATION process{};
    FILE* to_child = nullptr;
    FILE* from_child = nullptr;
    bool ended = false;
};

// The own end of a pipe, as a stream that the child doesn't inherit.
static FILE* own_end(HANDLE pipe, const char* mode) {
    SetHandleInformation(pipe, HANDLE_FLAG_INHERIT, 0);
    return _fdopen(_open_osfhandle(reinterpret_cast<intptr_t>(pipe), 0), mode);
}

ChildProcess::ChildProcess(const std::string& role, const std::vector<std::string>& args,
                           const std::string& called)
    : system_(std::make_unique<System>()) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE in[2];
    HANDLE out[2];
    CreatePipe(&in[0], &in[1], &inherit, 0);
    CreatePipe(&out[0], &out[1], &inherit, 0);
    system_->to_child = own_end(in[1], "wb");
    system_->from_child = own_end(out[0], "rb");
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, sizeof program);
    std::string command =
        "\"" + (called.empty() ? program : called) + "\" " + kRoleOption + " " + role;
    for (const auto& arg : args) command += " \"" + arg + "\"";
    STARTUPINFOA start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = in[0];
    start.hStdOutput = out[1];
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    // The emulator fails a start now and then, when another child has just been killed.
    for (int tries = 1; CreateProcessA(program, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                       nullptr, &start, &system_->process) == 0;
         ++tries) {
        if (GetLastError() == ERROR_INTERNAL_ERROR && tries < 5) continue;
        std::fprintf(stderr, "no child process: %lu\n", GetLastError());
        std::abort();
    }
    CloseHandle(in[0]);
    CloseHandle(out[1]);
}

void ChildProcess::kill() {
    if (!system_->ended) TerminateProcess(system_->process.hProcess, 0xFFFFFFFF);
}

void ChildProcess::until_asleep() const {
    ::until_asleep("");
}

int ChildProcess::wait() {
    WaitForSingleObject(system_->process.hProcess, INFINITE);
    system_->ended = true;
    DWORD code = 0;
    GetExitCodeProcess(system_->process.hProcess, &code);
    return static_cast<int>(code);
}

#else

struct ChildProcess::System {
    pid_t pid = -1;
    FILE* to_child = nullptr;
    FILE* from_child = nullptr;
    bool ended = false;
    int code = -1;
};

ChildProcess::ChildProcess(const std::string& role, const std::vector<std::string>& args,
                           const std::string& called)
    : system_(std::make_unique<System>()) {
    int in[2];
    int out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) std::abort();
    std::vector<std::string> words = {called.empty() ? "/proc/self/exe" : called, kRoleOption,
                                      role};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    if (posix_spawn(&system_->pid, "/proc/self/exe", &actions, nullptr, argv.data(), environ) !=
        0) {
        std::abort();
    }
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    system_->to_child = fdopen(in[1], "w");
    system_->from_child = fdopen(out[0], "r");
    std::signal(SIGPIPE, SIG_IGN);
}

void ChildProcess::kill() {
    if (!system_->ended) ::kill(system_->pid, SIGKILL);
}

void ChildProcess::until_asleep() const {
    ::until_asleep(std::to_string(system_->pid));
}

int ChildProcess::wait() {
    if (!system_->ended) {
        int status = 0;
        waitpid(system_->pid, &status, 0);
        system_->ended = true;
        system_->code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return system_->code;
}

#endif

ChildProcess::~ChildProcess() {
    kill();
    wait();
    std::fclose(system_->to_child);
    std::fclose(system_->from_child);
}

std::string ChildProcess::read_line() {
    std::string line;
    int c = 0;
    while ((c = std::fgetc(system_->from_child)) != EOF && c != '\n') {
        if (c != '\r') line += static_cast<char>(c);
    }
    return line;
}

void ChildProcess::send_line(const std::string& line) {
    std::fprintf(system_->to_child, "%s\n", line.c_str());
    std::fflush(system_->to_child);
}
