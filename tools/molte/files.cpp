#include "files.h"

#include <cstdio>
#include <memory>
#include <system_error>

#include "interrupt.h"
#include "tool.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <process.h>
#define getpid _getpid
#else
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace tool {

namespace {

std::string read_to_end(std::FILE* file, const std::string& failed) {
    std::string all;
    char part[65536];
    for (size_t size; (size = std::fread(part, 1, sizeof part, file)) > 0;) {
        end_if_interrupted();
        all.append(part, size);
    }
    if (std::ferror(file) != 0) throw Failure(failed);
    return all;
}

std::string standard_input() {
#if defined(_WIN32)
    _setmode(0, _O_BINARY);
#endif
    return read_to_end(stdin, "Standard input can't be read");
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

void write_to(const std::string& name, std::string_view data, const std::string& failed) {
    ORVEX_HFILE* handle = ORVEX_HFILE_NewBinaryFile(name.c_str());
    if (handle == nullptr) throw Failure(failed);
    const auto size = static_cast<int64_t>(data.size());
    if (size > 0 && ORVEX_HFILE_Write(handle, data.data(), size) != size) {
        Failure failure(failed);
        ORVEX_HFILE_Close(&handle);
        throw failure;
    }
    check(ORVEX_HFILE_Close(&handle), failed);
}

// What a symbolic link leads to is replaced, not the link.
std::string link_followed(const std::string& argument) {
    std::error_code error;
    const fs::path place = native_path(argument);
    if (!fs::is_symlink(place, error)) return argument;
    const fs::path target = fs::canonical(place, error);
    return error ? argument : path_text(target);
}

}  // namespace

std::string read_whole(const std::string& argument) {
    if (argument == "-") return standard_input();
    const std::string name = library_path(argument);
    const std::string failed = "\"" + shown(argument) + "\" can't be read";
    check(ORVEX_FileLenByFileName(name.c_str()), failed);
    if (fs::is_directory(native_path(argument))) throw Failure(failed + ": it is a folder");
    std::error_code none;
    if (fs::is_other(native_path(argument), none)) {  // a pipe, which has no length
        const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(name.c_str(), "rb"));
        if (file == nullptr) throw Failure(failed);
        return read_to_end(file.get(), failed);
    }
    uint8_t* data = nullptr;
    int32_t length = 0;
    const int32_t result = check(ORVEX_LoadBinDataFile(name.c_str(), &data, &length), failed);
    if (result == 0) return "";
    std::string all(reinterpret_cast<const char*>(data), static_cast<size_t>(length));
    ORVEX_free(data);
    return all;
}

void refuse_existing(const std::string& argument, bool replace) {
    std::error_code none;
    if (replace || argument == "-" || !fs::exists(native_path(argument), none)) return;
    throw Failure("\"" + shown(argument) + "\" exists already");
}

void refuse_filled(const std::string& argument) {
    const fs::path folder = native_path(argument);
    if (folder.filename() == "." || folder.filename() == "..") {  // can't be moved to
        throw Failure("\"" + shown(argument) + "\" is no name of a folder to be made", kUsage);
    }
    std::error_code none;
    const auto kind = fs::symlink_status(folder, none).type();
    if (kind == fs::file_type::not_found) return;
    if (kind == fs::file_type::directory && fs::is_empty(folder, none)) return;
    throw Failure("\"" + shown(argument) + "\" exists already, and is no empty folder");
}

Beside::Beside(const std::string& argument) : place_(native_path(argument)) {
    if (!place_.has_filename()) place_ = place_.parent_path();  // it ended with a slash
    place_ = fs::absolute(place_);
    std::error_code none;
    const fs::file_status status = fs::status(place_, none);
    if (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status)) {
        throw Failure("\"" + shown(argument) + "\" is a device; - is standard output");
    }
    beside_ = place_;
    beside_ += ".molte-" + std::to_string(getpid());
    remove_at_end(beside_);
}

Beside::~Beside() {
    std::error_code ignored;  // nothing better can be done about it
    if (!kept_) fs::remove_all(beside_, ignored);
    leave_at_end(beside_);
}

std::string Beside::for_library() const {
    return library_path(path_text(beside_));
}

void Beside::keep() {
    end_if_interrupted();
    std::error_code error;
    if (fs::is_directory(beside_, error)) fs::remove(place_, error);  // an empty one
    const auto there = fs::status(place_, error).type();
    if (there != fs::file_type::not_found && there != fs::file_type::regular) {
        throw Failure("\"" + shown(path_text(place_)) + "\" is there, and is no file");
    }
    fs::rename(beside_, place_, error);
    if (error) {
        throw Failure("\"" + shown(path_text(place_)) +
                      "\" can't be put in its place: " + error.message());
    }
    kept_ = true;
}

void write_whole(Output& out, const std::string& argument, std::string_view data) {
    if (argument == "-") return out.bytes(data);
    const std::string failed = "\"" + shown(argument) + "\" can't be written";
    std::error_code none;
    const fs::file_status old = fs::status(native_path(argument), none);
    if (fs::is_directory(old)) throw Failure(failed + ": it is a folder");
    if (fs::is_other(old)) return write_to(library_path(argument), data, failed);
    Beside file(link_followed(argument));
    write_to(file.for_library(), data, failed);
    if (fs::is_regular_file(old)) fs::permissions(file.path(), old.permissions(), none);
    file.keep();
}

}  // namespace tool
