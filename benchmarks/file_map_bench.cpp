// Mapping a file and reading all of it, from the page cache, beside mmap.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <string>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr size_t kSize = size_t{256} << 20;

void walk(const void* bytes) {
    const auto* const words = static_cast<const uint64_t*>(bytes);
    molte_bench::keep(std::accumulate(words, words + kSize / sizeof *words, uint64_t{0}));
}

void map(ORVEX_HFILE* file) {
    MOLTE_FMAP mapped;
    if (MOLTE_FMAP_Map(&mapped, file, 0, kSize, MOLTE_FMAP_READONLY) != 1) std::abort();
    walk(mapped.pView);
    MOLTE_FMAP_Unmap(&mapped);
}

void call_mmap(int fd) {
    void* const bytes = mmap(nullptr, kSize, PROT_READ, MAP_SHARED, fd, 0);
    if (bytes == MAP_FAILED) std::abort();
    walk(bytes);
    munmap(bytes, kSize);
}

}  // namespace

int main() {
    char root[] = "/tmp/moltelib-bench-XXXXXX";
    const std::string path = std::string(mkdtemp(root)) + "/data";
    const std::vector<uint8_t> bytes(kSize, 7);
    ORVEX_HFILE* file = ORVEX_HFILE_NewBinaryFile(path.c_str());
    if (ORVEX_HFILE_Write(file, bytes.data(), kSize) != static_cast<int64_t>(kSize)) std::abort();
    molte_bench::pair(
        "map and walk 256 MiB", "mmap", [&] { map(file); }, [&] { call_mmap(file->fd); }, 15);
    ORVEX_HFILE_Close(&file);
    std::filesystem::remove_all(root);
}
