#include "files.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <system_error>

#include "interrupt.h"
#include "tool.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <process.h>
#define getpid _getpid
#else
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace tool {

namespace {

constexpr size_t kPart = 1 << 20;  // is read between two looks at whether to go on

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

// What the system gives a new file when nobody asks for less.
fs::perms usual_permissions() {
    constexpr unsigned kEverybody = 0666;
#if defined(_WIN32)
    return fs::perms{kEverybody};
#else
    const mode_t mask = umask(0);  // it can't be asked without being set
    umask(mask);
    return fs::perms{kEverybody & ~mask};
#endif
}

void write_to(const std::string& name, std::string_view data, const std::string& failed) {
    ORVEX_HFILE* handle = ORVEX_HFILE_NewBinaryFile(name.c_str());
    if (handle == nullptr) throw Failure(failed);
    File file(handle, failed);
    const auto size = static_cast<int64_t>(data.size());
    if (size > 0 && ORVEX_HFILE_Write(handle, data.data(), size) != size) throw Failure(failed);
    file.close();
}

fs::path link_followed(const fs::path& place) {
    constexpr int kMostLinks = 40;  // as the system has it; a circle isn't followed for ever
    std::error_code error;
    fs::path target = place;
    for (int i = 0; i < kMostLinks && fs::is_symlink(target, error); ++i) {
        target = target.parent_path() / fs::read_symlink(target, error);
    }
    return target;
}

void refuse_nameless(const std::string& argument) {
    if (argument.empty()) throw Failure("A file or a folder has a name", kUsage);
}

bool made_for_me(const fs::path& folder) {
#if defined(_WIN32)
    std::error_code ignored;  // the temporary folder is the user's already
    return fs::create_directory(folder, ignored);
#else
    return mkdir(folder.c_str(), S_IRWXU) == 0;
#endif
}

void refuse_without_folder(const fs::path& place) {
    const fs::path folder = fs::absolute(place).parent_path();
    std::error_code none;
    if (fs::is_directory(folder, none)) return;
    throw Failure("There is no folder \"" + shown(path_text(folder)) + "\"");
}

}  // namespace

fs::path without_last_slash(const fs::path& place) {
    return place.has_filename() ? place : place.parent_path();
}

File::File(const std::string& library_name, int32_t flags, int32_t permission, std::string failed)
    : failed_(std::move(failed)),
      handle_(ORVEX_HFILE_OpenMode(library_name.c_str(), flags, permission)) {
    if (handle_ == nullptr) throw Failure(failed_);
}

int64_t File::size() const {
    return check(ORVEX_HFILE_Size(handle_), failed_);
}

void File::write(std::string_view bytes, int64_t position) const {
    const auto size = static_cast<int64_t>(bytes.size());
    if (ORVEX_HFILE_WriteS(handle_, bytes.data(), position, size) != size) throw Failure(failed_);
}

void File::close() {
    check(ORVEX_HFILE_Close(&handle_), failed_);
}

PermissionsKept::PermissionsKept(const std::string& argument) : path_(native_path(argument)) {
    std::error_code none;
    before_ = fs::status(path_, none);
}

PermissionsKept::~PermissionsKept() {
    std::error_code ignored;
    if (fs::status(path_, ignored).permissions() == before_.permissions()) return;
    fs::permissions(path_, before_.permissions(), ignored);
}

std::string read_whole(const std::string& argument) {
    if (argument == "-") return standard_input();
    const std::string name = library_path(argument);
    const std::string failed = "\"" + shown(argument) + "\" can't be read";
    check(ORVEX_FileLenByFileName(name.c_str()), failed);
    if (fs::is_directory(native_path(argument))) throw Failure(failed + ": it is a folder");
    if (is_stream(argument)) {
        const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(name.c_str(), "rb"));
        if (file == nullptr) throw Failure(failed);
        return read_to_end(file.get(), failed);
    }
    const File file(name, ORVEX_OPEN_READ, 0, failed);
    std::string all(static_cast<size_t>(file.size()), '\0');
    for (size_t at = 0, size; at < all.size(); at += size) {
        end_if_interrupted();
        size = std::min(kPart, all.size() - at);
        const auto wanted = static_cast<int64_t>(size);
        if (ORVEX_HFILE_ReadS(file.get(), &all[at], static_cast<int64_t>(at), wanted) != wanted) {
            throw Failure(failed);
        }
    }
    return all;
}

bool is_stream(const std::string& argument) {
    std::error_code none;
    return argument == "-" || fs::is_other(native_path(argument), none);
}

void refuse_existing(const std::string& argument, bool replace) {
    std::error_code none;
    if (argument == "-") return;
    refuse_nameless(argument);
    refuse_without_folder(link_followed(native_path(argument)));
    if (replace || !fs::exists(native_path(argument), none)) return;
    throw Failure("\"" + shown(argument) + "\" exists already");
}

void refuse_filled(const std::string& argument) {
    refuse_nameless(argument);
    const fs::path folder = without_last_slash(native_path(argument));
    if (folder.filename() == "." || folder.filename() == "..") {  // can't be moved to
        throw Failure("\"" + shown(argument) + "\" is no name of a folder to be made", kUsage);
    }
    std::error_code none;
    const auto kind = fs::symlink_status(folder, none).type();
    if (kind == fs::file_type::not_found) return refuse_without_folder(folder);
    if (kind == fs::file_type::directory && fs::is_empty(folder, none)) return;
    throw Failure("\"" + shown(argument) + "\" exists already, and is no empty folder");
}

Passing::Passing() {
    std::random_device random;
    std::error_code error;
    folder_ = fs::temp_directory_path(error);
    if (error) throw Failure("There is no folder for temporary files: " + error.message());
    folder_ /= "molte-" + std::to_string(getpid()) + "-" + std::to_string(random());
    if (!made_for_me(folder_)) {
        throw Failure("The folder \"" + shown(path_text(folder_)) + "\" can't be made");
    }
    remove_at_end(folder_);
}

Passing::~Passing() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
    leave_at_end(folder_);
}

Beside::Beside(const std::string& argument)
    : place_(fs::absolute(link_followed(without_last_slash(native_path(argument))))) {
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

void Beside::keep_file() {
    std::error_code none;
    const fs::file_status old = fs::status(place_, none);
    const bool is_new = !fs::is_regular_file(old);
    fs::permissions(beside_, is_new ? usual_permissions() : old.permissions(), none);
    keep();
}

void write_whole(Output& out, const std::string& argument, std::string_view data) {
    if (argument == "-") return out.bytes(data);
    const std::string failed = "\"" + shown(argument) + "\" can't be written";
    std::error_code none;
    const fs::file_status old = fs::status(native_path(argument), none);
    if (fs::is_directory(old)) throw Failure(failed + ": it is a folder");
    if (fs::is_other(old)) return write_to(library_path(argument), data, failed);
    Beside file(argument);
    write_to(file.for_library(), data, failed);
    file.keep_file();
}

}  // namespace tool
