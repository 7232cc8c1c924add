// A second process for the tests that are about processes: the test program starts itself again
// with the name of a role and arguments; the role is a function registered under that name.
//
//     CHILD_ROLE(holds_lock) { ...; return 0; }           // runs in the child; args as vector
//     ChildProcess child("holds_lock", {path});
//     EXPECT_EQ(child.read_line(), "locked");              // what the child told
//     child.send_line("go");  EXPECT_EQ(child.wait(), 0);
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/pinned.h"

using ChildRole = int (*)(const std::vector<std::string>& args);

struct RegisterRole {
    RegisterRole(const char* name, ChildRole role);
};

#define CHILD_ROLE(name)                                           \
    static int role_##name(const std::vector<std::string>& args);  \
    static const RegisterRole register_##name(#name, role_##name); \
    static int role_##name([[maybe_unused]] const std::vector<std::string>& args)

class ChildProcess : public Pinned {
 public:
    // called: what it is told to be its program; empty: this one.
    explicit ChildProcess(const std::string& role, const std::vector<std::string>& args = {},
                          const std::string& called = "");
    ~ChildProcess();  // kills a child that still runs

    // The next line of the child's standard output, without its end; empty at its end.
    std::string read_line();
    void send_line(const std::string& line);
    // Returns once it sleeps in the kernel, or is gone.
    void until_asleep() const;
    // Ends the child at once, with no chance to clean up (SIGKILL, TerminateProcess).
    void kill();
    // Waits for its end; the exit code, or -1 when it was killed.
    int wait();

 private:
    struct System;
    std::unique_ptr<System> system_;
};

// In a role: tell the parent a line, and wait for one from it.
void tell_parent(const std::string& line);
std::string hear_parent();

// Runs the role named on the command line, if there is one; else false.
bool run_child_role(int argc, char** argv, int* exit_code);
