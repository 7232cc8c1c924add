// A named object file as somebody may have left it: opened, and its blocks moved between chains.
// Nothing here lengthens it.
#include "frame.h"

namespace {

class OpenFile {
 public:
    explicit OpenFile(const char* path) : open_(NOBF_OpenFile(path, &file_) > 0) {}
    ~OpenFile() { must(NOBF_CloseFile(&file_) == 1 && file_.pMap == nullptr); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    NOBF_FILE* get() { return open_ ? &file_ : nullptr; }

 private:
    NOBF_FILE file_{};
    bool open_;
};

}  // namespace

// One byte of moves for each step, four steps; then the file.
void try_input(std::string_view input) {
    if (input.size() < 4 || input.size() > 16384) return;
    const std::string_view steps = input.substr(0, 4);
    const std::string_view bytes = input.substr(4);
    const char* const path = file_of(bytes);
    OpenFile open(path);
    NOBF_FILE* const file = open.get();
    if (file == nullptr) {
        must(read_bytes(path) == bytes);
        return;
    }
    const size_t whole =
        32 + static_cast<size_t>(file->nBlockCount) * static_cast<size_t>(file->nBlockSize);
    must(file->nBlockSize % 1024 == 0 && whole == bytes.size());
    NOBF_MEMOBJECT object{};
    NOBF_InitNamedObject(&object.stObject, "fuzz");
    object.pFile = file;
    for (const char step : steps) {
        const int32_t block = step & 7;
        const int32_t where = (step >> 3 & 7) - 2;
        NOBF_BLOCKHEAD head;
        NOBF_ReadBlockHead(file, block, &head);
        switch (step >> 6 & 3) {
            case 0:
                NOBF_RemoveFromLink(file, &file->pMap->stFree, block, 128);
                break;
            case 1:
                NOBF_InsertToLink(file, &object.stObject, where, block, 256);
                break;
            case 2:
                NOBF_FreeBlock(&object.stObject, block);
                break;
            default:
                NOBF_RemoveFromLink(file, &object.stObject, block, 256);
        }
    }
    // A head is all that a step writes behind the end.
    must(read_bytes(path).size() <= bytes.size() + 8 * 32768);
}
