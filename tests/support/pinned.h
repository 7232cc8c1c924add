// What owns something, and so is neither copied nor moved.
#pragma once

struct Pinned {
    Pinned() = default;
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;
};
