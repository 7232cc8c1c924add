// The road of one failed read: a program brings the library up in an installation, reads a file
// past its end three callers deep, and shows how the failure is recorded, traced up the callers,
// printed and logged.
//
//     failed_read INSTALLATION [FILE]
#include <cstdio>
#include <string>

#include "installation.h"
#include "moltelib.h"
#include "terminal.h"

namespace {

constexpr const char* kModule = "failed_read";

// Each caller that passes a failure on adds its own line to the history of the record.
int32_t passed_on(int32_t line) {
    ORVEX_Err_AddNL(line, kModule);
    return -1;
}

int32_t read_exactly(ORVEX_HFILE* file, void* buffer, int64_t length) {
    if (ORVEX_HFILE_Read(file, buffer, length) != length) return passed_on(__LINE__);
    return 1;
}

int32_t read_record(ORVEX_HFILE* file, int64_t position) {
    if (ORVEX_HFILE_Seek(file, position, 0) != position) return passed_on(__LINE__);
    unsigned char record[64];
    if (read_exactly(file, record, sizeof record) < 0) return passed_on(__LINE__);
    return 1;
}

int32_t read_all_records(ORVEX_HFILE* file) {
    for (int64_t position = 0;; position += 64) {
        if (read_record(file, position) < 0) return passed_on(__LINE__);
    }
}

void show_log() {
    char name[512];
    uint8_t* text = nullptr;
    int32_t length = 0;
    ORVEX_ERRLOG_Close();
    if (ORVEX_ERRLOG_GetFileName(name) < 0 || ORVEX_LoadBinDataFile(name, &text, &length) < 1) {
        std::printf("The log can't be read.\n");
        return;
    }
    std::printf("\n---- %s\n", name);
    std::fwrite(text, 1, static_cast<size_t>(length), stdout);
    ORVEX_free(text);
}

int fail(const char* what) {
    std::printf("%s\n", what);
    terminal::show_error();
    return 1;
}

int run(const std::string& installation, const char* given) {
    if (!make_installation(installation.c_str())) return fail("The installation can't be made.");
    if (ORVEX_BASE_InitVar() < 0) return fail("The library can't be brought up.");

    std::string name = given != nullptr ? given : installation + "\\TEMP\\sample.dat";
    if (given == nullptr) {
        const std::string sample(200, '.');
        if (ORVEX_SaveBinDataToFile(name.c_str(), sample.data(),
                                    static_cast<int32_t>(sample.size())) < 0) {
            return fail("The sample can't be written.");
        }
    }

    OXSTAT64 status;
    if (ORVEX_FileStatByFileName(name.c_str(), &status) < 0) return fail("There is no such file.");
    if (ORVEX_NameIsPath(name.c_str()) != 0) {
        std::printf("%s is a folder.\n", name.c_str());
        return 1;
    }
    ORVEX_HFILE* file = ORVEX_HFILE_OpenMode(name.c_str(), ORVEX_OPEN_READ, ORVEX_MODE_OWNER);
    if (file == nullptr) return fail("The file can't be opened.");

    read_all_records(file);  // ends by failing at the end of the file
    std::printf("---- the error record of this thread\n");
    terminal::show_error();
    ORVEX_HFILE_Close(&file);

    show_log();
    std::printf("\n---- transfers\nreads %lld, bytes read %lld, writes %lld, bytes written %lld\n",
                static_cast<long long>(g_stBv.n64ReadCount),
                static_cast<long long>(g_stBv.n64ReadByteCount),
                static_cast<long long>(g_stBv.n64WriteCount),
                static_cast<long long>(g_stBv.n64WriteByteCount));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "use: failed_read INSTALLATION [FILE]\n");
        return 2;
    }
    const int result = run(argv[1], argc == 3 ? argv[2] : nullptr);
    ORVEX_BASE_ReleaseVar();
    return result;
}
