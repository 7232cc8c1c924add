#include "package.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>

#include "progress.h"
#include "tool.h"
#include "tree.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace tool {

namespace {

constexpr int32_t kOwnerOnly = 0600;

struct CloseUnlessStandard {
    void operator()(std::FILE* file) const {
        if (file != stdin) std::fclose(file);
    }
};

void keep_stream(const std::string& argument, File* file, const std::string& failed) {
    std::FILE* opened = argument == "-" ? stdin : std::fopen(library_path(argument).c_str(), "rb");
    if (opened == nullptr) throw Failure(failed);
    const std::unique_ptr<std::FILE, CloseUnlessStandard> stream(opened);
#if defined(_WIN32)
    if (argument == "-") _setmode(0, _O_BINARY);
#endif
    Progress progress("reading", 0);
    std::string part(1 << 18, '\0');
    int64_t at = 0;
    for (size_t size; (size = std::fread(part.data(), 1, part.size(), stream.get())) > 0;) {
        file->write({part.data(), size}, at);
        at += static_cast<int64_t>(size);
        progress.advance(size);
    }
    if (std::ferror(stream.get()) != 0) throw Failure(failed);
}

// One part of a path between separators.
bool is_name_here(const std::string& part) {
#if defined(_WIN32)
    if (part.back() == '.' || part.back() == ' ') return false;
    for (const char c : part) {
        if (static_cast<unsigned char>(c) < ' ' || std::string("<>:\"|?*").find(c) != part.npos) {
            return false;
        }
    }
    std::string device = part.substr(0, part.find('.'));
    std::transform(device.begin(), device.end(), device.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    while (!device.empty() && device.back() == ' ') device.pop_back();
    for (const char* name : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
        if (device == name) return false;
    }
    const bool is_port = device.rfind("COM", 0) == 0 || device.rfind("LPT", 0) == 0;
    return !is_port || device.size() != 4 || device[3] < '0' || device[3] > '9';
#else
    const size_t end = part.find_last_not_of(' ');  // Windows doesn't count blanks at the end
    return end == std::string::npos || part.substr(0, end + 1) != "..";
#endif
}

}  // namespace

int64_t Item::length() const {
    return static_cast<int64_t>(Char8To_uint8(head.n64DataLen));
}

std::string Item::path() const {
    std::string path = folder.empty() ? name : folder + "/" + name;
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

Package::Package(const std::string& argument) : shown_("\"" + shown(argument) + "\"") {
    std::string name = library_path(argument);
    const std::string failed = shown_ + " can't be read";
    if (is_stream(argument)) {
        kept_.emplace();
        name = library_path(kept_->file());
        File file(name, ORVEX_OPEN_ANEW, kOwnerOnly, shown_ + " can't be kept");
        keep_stream(argument, &file, failed);
        file.close();
    } else if (std::filesystem::is_directory(native_path(argument))) {
        throw Failure(failed + ": it is a folder");
    }
    file_.emplace(name, ORVEX_OPEN_READ, 0, failed);
    size_ = file_->size();
    FILEPKG_HEAD head{};
    if (size_ < static_cast<int64_t>(sizeof head)) throw Failure(shown_ + " is no package");
    if (ORVEX_HFILE_ReadS(file_->get(), &head, 0, sizeof head) != sizeof head)
        throw Failure(failed);
    if (FILEPKG_IsFileHeadValid(&head) == 0) throw Failure(shown_ + " is no package");
    at_ = sizeof head;
}

bool Package::next(Item* item) {
    if (at_ >= size_) return false;
    uint8_t* block = nullptr;
    if (FILEPKG_ExtractIntoMemory(file_->get(), at_, &block, 0) < 0) {
        throw Failure(shown_ + " is damaged: there is no item at byte " + std::to_string(at_));
    }
    const std::unique_ptr<uint8_t, void (*)(void*)> owner(block, ORVEX_free);
    item->head = *reinterpret_cast<const FILEPKG_ITEM*>(block);
    const auto* text = reinterpret_cast<const char*>(block + sizeof item->head);
    item->folder.assign(text, Char2To_uint2(item->head.nDirLen));
    item->name.assign(text + item->folder.size() + 1, Char2To_uint2(item->head.nNameLen));
    item->position = at_;
    item->content =
        at_ + static_cast<int64_t>(sizeof item->head + item->folder.size() + item->name.size() + 2);
    at_ += FILEPKG_UTIL_ItemLen(&item->head);
    return true;
}

std::optional<std::string> path_below(const Item& item) {
    const std::string path = item.path();
    const bool has_drive = path.size() > 1 && path[1] == ':' && std::isalpha(path[0] & 0x7F) != 0;
    if (path.find('\0') != std::string::npos || path[0] == '/' || has_drive) return {};
    std::string below;
    for (size_t at = 0, end; at <= path.size(); at = end + 1) {
        end = std::min(path.find('/', at), path.size());
        const std::string part = path.substr(at, end - at);
        if (part.empty() || part == ".") continue;
        if (!is_name_here(part)) return {};
        below += (below.empty() ? "" : "/") + part;
    }
    if (below.empty() && !item.is_folder()) return {};
    return below;
}

}  // namespace tool
