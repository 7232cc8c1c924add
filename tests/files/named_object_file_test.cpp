#include "support/posix.h"
#include "support/scenes.h"
#include "support/unprivileged.h"

namespace {

using NamedObjectFile = InFolder;

std::string number(int64_t value) {
    uint8_t field[4];
    uint4ToChar4(static_cast<uint32_t>(value), field);
    return {reinterpret_cast<char*>(field), sizeof field};
}
std::string text_of(const uint8_t* field) {
    return std::to_string(static_cast<int32_t>(Char4To_uint4(field)));
}
int32_t number_of(const std::string& field) {
    return static_cast<int32_t>(std::stol(field));
}

// A map with this block size and two empty chains.
std::string map_of(int64_t block_size) {
    const std::string chain =
        std::string(64, '\0') + std::string(8, '\xFF') + std::string(56, '\0');
    return "\0\0\0\x20\0\0\0\0namedfileobject\0"s + std::string(16, '\0') + number(block_size) +
           std::string(84, '\0') + chain + chain + std::string(640, '\0');
}

template <typename Record>
Record* named(const std::string& name) {
    return Argument(name).as<Record*>();
}

// The file of a scene, which it needn't close.
struct OpenFile : NOBF_FILE {
    ~OpenFile() { NOBF_CloseFile(this); }
};

std::string open_file(const Texts& step) {
    auto* file = named<OpenFile>(step[2]);
    NOBF_CloseFile(file);
    return outcome(NOBF_OpenFile(text_or_null(step[1]), file));
}
// Writes a map with a block size, lengthens it, and opens it as "f".
std::string give_file(const Texts& step) {
    std::string bytes = map_of(number_of(step[2]));
    bytes.resize(static_cast<size_t>(number_of(step[3])));
    std::ofstream(step[1], std::ios::binary) << bytes;
    return open_file({"open", step[1], "f"});
}

// A chain, which is an object's or the one named "free"; its first block, last block, count.
NOBF_OBJECT* chain_of(const std::string& name) {
    if (name == "free") return &named<OpenFile>("f")->pMap->stFree;
    auto* object = named<NOBF_MEMOBJECT>(name);
    object->pFile = named<OpenFile>("f");
    return &object->stObject;
}
std::string set_chain(const Texts& step) {
    NOBF_OBJECT* chain = chain_of(step[1]);
    NOBF_InitNamedObject(chain, step[1].c_str());
    chain->abyChainId[1] = 7;
    uint8_t* const fields[] = {chain->nFirstBlock, chain->nLastBlock, chain->nBlockCount};
    for (size_t i = 0; i < 3; ++i) std::memcpy(fields[i], number(number_of(step[2 + i])).data(), 4);
    return step.back();
}
std::string tell_chain(const Texts& step) {
    const NOBF_OBJECT* chain = chain_of(step[1]);
    return text_of(chain->nFirstBlock) + " " + text_of(chain->nLastBlock) + " " +
           text_of(chain->nBlockCount);
}

// A block and its next and previous.
std::string set_head(const Texts& step) {
    NOBF_BLOCKHEAD head{};
    std::memcpy(head.nNext, number(number_of(step[2])).data(), 4);
    std::memcpy(head.nPrevious, number(number_of(step[3])).data(), 4);
    return outcome(NOBF_SaveBlockHead(named<OpenFile>("f"), number_of(step[1]), &head));
}
std::string tell_head(const Texts& step) {
    NOBF_BLOCKHEAD head;
    const int32_t result = NOBF_ReadBlockHead(named<OpenFile>("f"), number_of(step[1]), &head);
    if (result < 0) return outcome(result);
    return text_of(head.nNext) + " " + text_of(head.nPrevious) + " of " +
           std::to_string(head.abyChainId[1]) + " at " + text_of(head.nIndex);
}

[[maybe_unused]] const bool plays =
    play_scenes<NamedObjectFile>("NamedObjectFile", TEST_ROWS,
                                 {{"create", step_of<NOBF_CreateFile>},
                                  {"given", give_file},
                                  {"open", open_file},
                                  {"close", step_of<NOBF_CloseFile>},
                                  {"size", step_of<ORVEX_FileLenByFileName>},
                                  {"offset", step_of<NOBF_CalcBlockOffset>},
                                  {"chain", set_chain},
                                  {"see_chain", tell_chain},
                                  {"head", set_head},
                                  {"see_head", tell_head},
                                  {"remove", step_of<NOBF_RemoveFromLink>},
                                  {"insert", step_of<NOBF_InsertToLink>},
                                  {"alloc", step_of<NOBF_AllocBlock>},
                                  {"free", step_of<NOBF_FreeBlock>}});

TEST_F(NamedObjectFile, RecordsByteForByte) {
    const std::string name = folder_ / "f";
    EXPECT_EQ(NOBF_CreateFile(name.c_str(), 1025), 0);
    EXPECT_EQ(read_bytes(name), map_of(2048));
    struct {
        NOBF_OBJECT object;
        char behind[8];
    } record;
    std::memset(&record, 'x', sizeof record);
    EXPECT_EQ(NOBF_InitNamedObject(&record.object, std::string(50, 'n').c_str()), 1);
    EXPECT_EQ(bytes_of(record), std::string(24, '\0') + std::string(39, 'n') + '\0' +
                                    std::string(8, '\xFF') + std::string(56, '\0') + "xxxxxxxx");
    // A record of a program's own that needs no map.
    NOBF_FILE file{ORVEX_HFILE_Open(name.c_str(), 0), nullptr, {}, 0, 0, 1024};
    NOBF_BLOCKHEAD block{};
    EXPECT_EQ(NOBF_SaveBlockHead(&file, 1, &block), 1);
    EXPECT_EQ(NOBF_InsertToLink(&file, &record.object, -2, 1, 256), 1);
    EXPECT_EQ(error_of(NOBF_Expand(&file, 1)), "50 onobfile");
    NOBF_CloseFile(&file);
}

#if !defined(_WIN32)
TEST_F(NamedObjectFile, AFileThatCannotBeMadeAnewIsDeleted) {
    const std::string name = folder_.write("f", "old");
    fs::permissions(folder_.path(), fs::perms::all);
    fs::permissions(name, fs::perms::owner_read);
    const Unprivileged somebody;
    EXPECT_EQ(NOBF_CreateFile(name.c_str(), 0), 0);
    EXPECT_EQ(error_of_this_thread(), "7 ofilehop " + name);
    EXPECT_FALSE(fs::exists(name));
}

// Past the last number heads end, and the chain gets its new blocks. The file has holes.
TEST_F(NamedObjectFile, ExpandsUpToTheLastNumber) {
    ASSERT_EQ(give_file({"given", folder_ / "f", "1024", "2080"}), "1");
    auto* file = named<OpenFile>("f");
    for (const std::string old_last : {"-1", "0"}) {
        std::memcpy(file->pMap->stFree.nLastBlock, number(number_of(old_last)).data(), 4);
        file->nBlockCount = INT32_MAX - 1;
        ASSERT_EQ(NOBF_Expand(file, 1), 1);
        NOBF_MAP stored;
        EXPECT_EQ(NOBF_ReadRawData(file, 0, &stored, sizeof stored), 1);
        EXPECT_EQ(bytes_of(stored), bytes_of(*file->pMap));
        EXPECT_EQ(tell_chain({"see_chain", "free"}), "2147483646 2147483646 2147483647");
        EXPECT_EQ(tell_head({"see_head", "2147483646"}), "-1 " + old_last + " of 0 at 2147483646");
        EXPECT_EQ(tell_head({"see_head", "2147483647"}),
                  "2147483646 2147483646 of 0 at 2147483647");
    }
    EXPECT_EQ(tell_head({"see_head", "0"}), "2147483646 0 of 0 at 0");
    EXPECT_EQ(error_of(NOBF_Expand(file, 2)), "50 onobfile");
}

TEST_F(NamedObjectFile, AnExpansionGoesOnUntilItFails) {
    const std::string name = folder_ / "f";
    ASSERT_EQ(give_file({"given", name, "1024", "1056"}), "1");
    NOBF_OBJECT* object = chain_of("o");
    {
        const FileSizeLimit limit(8192);
        EXPECT_EQ(outcome(NOBF_Expand(named<OpenFile>("f"), 2)),
                  "4 ofilehop " + name + " < onobfile < onobfile < onobfile");
        EXPECT_EQ(error_of(NOBF_AllocBlock(object)), "295 onobfile");
    }
    std::string bytes = map_of(1024) + std::string(6172, '\0');
    for (int32_t index = 2; index < 7; ++index) {  // from the last of two on, past the end
        bytes.replace(
            static_cast<size_t>(index + 1) * 1024, 16,
            number(0) + number(index) + number(index == 2 ? -1 : index - 1) + number(index - 1));
    }
    EXPECT_EQ(read_bytes(name), bytes);
}
#endif

}  // namespace
