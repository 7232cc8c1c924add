// A named object file as somebody may have left it: opened, and its blocks moved between chains.
// Nothing here lengthens it.
#include "frame.h"

// One byte of moves for each step, four steps; then the file.
void try_input(std::string_view input) {
    if (input.size() < 4 || input.size() > 16384) return;
    const std::string_view steps = input.substr(0, 4);
    const std::string_view bytes = input.substr(4);
    const char* const path = file_of(bytes);
    NOBF_FILE file{};
    if (NOBF_OpenFile(path, &file) < 0) {
        must(file.pMap == nullptr && read_bytes(path) == bytes);
        return;
    }
    const auto size = static_cast<size_t>(file.nBlockSize);
    must(size % 1024 == 0 && 32 + static_cast<size_t>(file.nBlockCount) * size == bytes.size());
    NOBF_MEMOBJECT object{};
    NOBF_InitNamedObject(&object.stObject, "fuzz");
    object.pFile = &file;
    for (const char step : steps) {
        const int32_t block = step & 7;
        const int32_t where = (step >> 3 & 7) - 2;
        NOBF_BLOCKHEAD head;
        NOBF_ReadBlockHead(&file, block, &head);
        const int move = step >> 6 & 3;
        if (move == 0) NOBF_RemoveFromLink(&file, &file.pMap->stFree, block, 128);
        if (move == 1) NOBF_InsertToLink(&file, &object.stObject, where, block, 256);
        if (move == 2) NOBF_FreeBlock(&object.stObject, block);
        if (move == 3) NOBF_RemoveFromLink(&file, &object.stObject, block, 256);
    }
    must(NOBF_CloseFile(&file) == 1 && file.pMap == nullptr);
    // A head is all that a step writes behind the end.
    must(read_bytes(path).size() <= bytes.size() + 8 * 32768);
}
