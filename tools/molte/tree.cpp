#include "tree.h"

#include <algorithm>

#include "interrupt.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace fs = std::filesystem;

namespace tool {

namespace {

// A junction of Windows is a link to a folder as well.
bool is_link(const fs::directory_entry& entry) {
    std::error_code none;
#if defined(_WIN32)
    const DWORD attributes = GetFileAttributesW(entry.path().c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        return true;
    }
#endif
    return entry.is_symlink(none);
}

class Walk {
 public:
    Walk(const LeftBehind& left_behind, std::vector<Entry>* entries)
        : left_behind_(left_behind), entries_(entries) {}

    void folder(const fs::path& folder, const std::string& below) {
        std::error_code error;
        std::vector<fs::directory_entry> all;
        for (fs::directory_iterator at(folder, error), end; !error && at != end;
             at.increment(error)) {
            all.push_back(*at);
        }
        if (error) left_behind_(below.empty() ? "." : below, "it can't be read");
        std::sort(all.begin(), all.end());
        for (const auto& entry : all) take(entry, below);
    }

 private:
    void take(const fs::directory_entry& entry, const std::string& below) {
        end_if_interrupted();
        const std::string shown_path = below + path_text(entry.path().filename());
        std::error_code error;
        const auto kind = entry.status(error).type();
        if (kind == fs::file_type::directory && is_link(entry)) {
            return left_behind_(shown_path, "it is a link to a folder");
        }
        if (kind == fs::file_type::not_found) {
            return left_behind_(shown_path, "it is a link that leads nowhere");
        }
        if (kind != fs::file_type::directory && kind != fs::file_type::regular) {
            return left_behind_(shown_path, "it is neither file nor folder");
        }
        Entry found;
        try {
            found.path = below + library_path(path_text(entry.path().filename()));
            if (found.path.find('\\') != std::string::npos) {
                return left_behind_(shown_path, "a backslash in a name separates folders");
            }
            if (!state_of(library_path(path_text(entry.path())), &found.state)) {
                return left_behind_(shown_path, "it can't be read");
            }
        } catch (const Failure& failure) {
            return left_behind_(shown_path, failure.what());
        }
        entries_->push_back(found);
        if (kind == fs::file_type::directory) folder(entry.path(), found.path + "/");
    }

    const LeftBehind& left_behind_;
    std::vector<Entry>* entries_;
};

}  // namespace

int64_t Entry::size() const {
    return is_folder() ? 0 : static_cast<int64_t>(Char8To_uint8(state.nSize));
}

std::string Entry::folder() const {
    const size_t end = path.rfind('/');
    return end == std::string::npos ? "" : path.substr(0, end);
}

std::string Entry::name() const {
    return path.substr(path.rfind('/') + 1);
}

std::vector<Entry> entries_of(const fs::path& folder, const LeftBehind& left_behind) {
    std::vector<Entry> entries;
    Walk(left_behind, &entries).folder(folder, "");
    return entries;
}

bool state_of(const std::string& name, OXFILESTAT* state) {
    OXSTAT64 native{};
    *state = {};
    if (ORVEX_FileStatByFileName(name.c_str(), &native) < 0) {
        ORVEX_Err_ClearError();  // who asked tells it
        return false;
    }
    ORVEX_FileSetModeToFS(&native, state);
    return true;
}

std::string name_text([[maybe_unused]] const Tool& tool, const std::string& bytes) {
#if defined(_WIN32)
    char* text = MOLTELIB_Utf8FromCodePage(bytes.c_str(), GetACP());
    const std::string utf8 = text != nullptr ? text : bytes;
    ORVEX_free(text);
    return shown(utf8);
#else
    return shown(utf8_from(bytes, tool.settings.encoding).value_or(bytes));
#endif
}

}  // namespace tool
