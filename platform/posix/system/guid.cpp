// Random bytes of the kernel, fetched some pages at a time: a system call for each identifier would
// be most of its time. The kernel wipes the pages in each child of this process, a bare clone
// included, so that none gives what its parent has; wiped, they are empty and free. What was given
// out is erased.
#include "platform/guid.h"

#include <sys/mman.h>
#include <sys/random.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <mutex>

#include "platform/critical_section.h"

namespace {

// False without random bytes.
bool fetch(uint8_t* bytes, size_t size) {
    while (size > 0) {
        const ssize_t got = getrandom(bytes, size, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

// All zero from the start.
struct Pool {
    platform::Lock lock;
    size_t left;
    uint8_t bytes[4 * 4096 - sizeof(platform::Lock) - sizeof(size_t)];

    bool take(void* out, size_t size) {
        const std::lock_guard guard(lock);
        if (left < size) {
            if (!fetch(bytes, sizeof bytes)) return false;
            left = sizeof bytes;
        }
        left -= size;
        memcpy(out, bytes + left, size);
        memset(bytes + left, 0, size);
        return true;
    }
};

// Null where the kernel can't wipe.
Pool* make_pool() {
    void* pages =
        mmap(nullptr, sizeof(Pool), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) return nullptr;
    if (madvise(pages, sizeof(Pool), MADV_WIPEONFORK) == 0) return static_cast<Pool*>(pages);
    munmap(pages, sizeof(Pool));
    return nullptr;
}

}  // namespace

HRESULT CoCreateGuid(GUID* guid) {
    static Pool* const pool = make_pool();
    if (guid == nullptr) return E_FAIL;
    const bool made = pool != nullptr ? pool->take(guid, sizeof *guid)
                                      : fetch(reinterpret_cast<uint8_t*>(guid), sizeof *guid);
    if (!made) return E_FAIL;
    guid->Data3 = static_cast<WORD>((guid->Data3 & 0x0FFF) | 0x4000);
    guid->Data4[0] = static_cast<BYTE>((guid->Data4[0] & 0x3F) | 0x80);
    return S_OK;
}
