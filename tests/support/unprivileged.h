// For root no permission is refused; so a test of a refusal runs as somebody else.
#pragma once

#if !defined(_WIN32)

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/pinned.h"

// From here to the end of the block a process of root's acts as an ordinary user. Anybody else is
// one already.
class Unprivileged : public Pinned {
 public:
    Unprivileged() { EXPECT_EQ(seteuid(geteuid() == 0 ? 65534 : geteuid()), 0); }
    ~Unprivileged() { EXPECT_EQ(seteuid(getuid()), 0); }
};

#endif
