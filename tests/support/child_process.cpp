#include "support/child_process.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>

#if defined(_WIN32)
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
    HANDLE to_child = nullptr;
    HANDLE from_child = nullptr;
    bool ended = false;
};

ChildProcess::ChildProcess(const std::string& role, const std::vector<std::string>& args)
    : system_(std::make_unique<System>()) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE child_in = nullptr;
    HANDLE child_out = nullptr;
    CreatePipe(&child_in, &system_->to_child, &inherit, 0);
    CreatePipe(&system_->from_child, &child_out, &inherit, 0);
    SetHandleInformation(system_->to_child, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(system_->from_child, HANDLE_FLAG_INHERIT, 0);
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, sizeof program);
    std::string command = std::string("\"") + program + "\" " + kRoleOption + " " + role;
    for (const auto& arg : args) command += " \"" + arg + "\"";
    STARTUPINFOA start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = child_in;
    start.hStdOutput = child_out;
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    if (CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                       &system_->process) == 0) {
        std::fprintf(stderr, "no child process: %lu\n", GetLastError());
        std::abort();
    }
    CloseHandle(child_in);
    CloseHandle(child_out);
}

ChildProcess::~ChildProcess() {
    kill();
    wait();
    CloseHandle(system_->process.hProcess);
    CloseHandle(system_->process.hThread);
    CloseHandle(system_->to_child);
    CloseHandle(system_->from_child);
}

std::string ChildProcess::read_line() {
    std::string line;
    char c = 0;
    DWORD count = 0;
    while (ReadFile(system_->from_child, &c, 1, &count, nullptr) != 0 && count == 1 && c != '\n') {
        if (c != '\r') line += c;
    }
    return line;
}

void ChildProcess::send_line(const std::string& line) {
    const std::string text = line + "\n";
    DWORD written = 0;
    WriteFile(system_->to_child, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

void ChildProcess::kill() {
    if (!system_->ended) TerminateProcess(system_->process.hProcess, 0xFFFFFFFF);
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

ChildProcess::ChildProcess(const std::string& role, const std::vector<std::string>& args)
    : system_(std::make_unique<System>()) {
    int in[2];
    int out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) std::abort();
    std::vector<std::string> words = {"/proc/self/exe", kRoleOption, role};
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

ChildProcess::~ChildProcess() {
    kill();
    wait();
    std::fclose(system_->to_child);
    std::fclose(system_->from_child);
}

std::string ChildProcess::read_line() {
    std::string line;
    int c = 0;
    while ((c = std::fgetc(system_->from_child)) != EOF && c != '\n') line += static_cast<char>(c);
    return line;
}

void ChildProcess::send_line(const std::string& line) {
    std::fprintf(system_->to_child, "%s\n", line.c_str());
    std::fflush(system_->to_child);
}

void ChildProcess::kill() {
    if (!system_->ended) ::kill(system_->pid, SIGKILL);
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
