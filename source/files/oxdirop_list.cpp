// Lists of the files in folders and trees.
#include <cstdio>
#include <cstring>

#include "files/oxdirop.h"
#include "moltelib/array.h"
#include "moltelib/directory.h"
#include "moltelib/file.h"

using molte::here;
using molte::kNoState;
using molte::SystemError;
using molte::directory::all_entries;
using molte::directory::Find;
using molte::directory::is_folder;
using molte::directory::kModule;
using molte::directory::too_long;
using molte::directory::WalkPath;

namespace {

using molte::kBadArgument;
constexpr uint32_t kBadCall = 401;
constexpr int32_t kShortNameSize = 128;
constexpr int32_t kFirstInFolder = 8;
constexpr int32_t kFirstInTree = 1024;
constexpr int32_t kTreeGrowth = 8;

// The list becomes the caller's; an empty one is freed.
template <typename Element>
int32_t hand_over(PA* array, Element** list) {
    const int32_t count = array->nCount;
    if (count > 0) {
        *list = static_cast<Element*>(array->pData);
    } else {
        PA_Release(array);
    }
    return count;
}

// How a list names its elements, and finds them.
struct ListForm {
    int32_t (*add_file)(PA* array, const char* relative, const char* name, const OXSTAT64& state);
    const char* rest_at_root;  // the end of the pattern behind "root\"; deeper it is "\*"
};

// Walks a tree. Folder is where the walk stands, relative the part of it under the root, which is
// what the elements' names are made of.
class TreeLister {
 public:
    TreeLister(PA* array, const ListForm& form) : array_(array), form_(form) {}

    int32_t list(const char* root, const char* relative) {
        if (root == nullptr || relative == nullptr) return kModule.fail(here(), kBadArgument);
        if (!folder_.append(root) || !folder_.append("\\") || !folder_.append(relative)) {
            return too_long(here(), relative);
        }
        relative_start_ = folder_.length() - std::strlen(relative);
        return list_here();
    }

 private:
    int32_t list_here() {
        const size_t length = folder_.length();
        Find find(folder_.text(), length > relative_start_ ? "\\*" : form_.rest_at_root);
        if (!find.found()) return kModule.trace(here());
        for (; find.found(); find.next()) {
            if (!find.is_dots() && add(find) < 0) return -1;
            folder_.cut(length);
        }
        return 1;
    }

    int32_t add(const Find& find) {
        OXSTAT64 state;
        if (find.state(folder_.text(), &state) != 0) {
            if (find.is_link()) return 1;  // leads nowhere
            kModule.fail_text(here(), kNoState, SystemError::runtime, find.name());
            return kModule.trace(here());
        }
        if (!is_folder(state)) {
            return form_.add_file(array_, folder_.text() + relative_start_, find.name(), state);
        }
        if (find.is_link()) return 1;
        if (!folder_.append(find.name()) || !folder_.append("\\")) {
            return too_long(here(), find.name());
        }
        return list_here() > 0 ? 1 : kModule.trace(here());
    }

    PA* array_;
    ListForm form_;
    WalkPath folder_;
    size_t relative_start_ = 0;
};

int32_t add_short(PA* array, const char* relative, const char* name, const OXSTAT64& /*state*/) {
    char element[kShortNameSize] = {};
    const int length = snprintf(element, sizeof element, "%s%s", relative, name);
    if (length >= kShortNameSize) return too_long(here(), name);
    return PA_Append(array, element) > 0 ? 1 : kModule.trace(here());
}

int32_t add_long(PA* array, const char* relative, const char* name, const OXSTAT64& state) {
    OXFILESTAT element{};
    const int length =
        snprintf(element.szName, sizeof element.szName, "%s%c%s", relative, '\\', name);
    if (length >= OXFILESTAT_NAME_SIZE) return too_long(here(), name);
    ORVEX_FileSetModeToFS(&state, &element);
    return PA_Append(array, &element) > 0 ? 1 : kModule.trace(here());
}

template <typename Element>
int32_t list_tree(const char* root, Element** list,
                  int32_t (*worker)(const char*, const char*, PA*)) {
    if (list == nullptr) return kModule.fail(here(), kBadArgument);
    PA array;
    if (PA_Init(&array, sizeof(Element), kFirstInTree) < 0) return kModule.trace(here());
    array.nGrowBy = kTreeGrowth;
    if (worker(root, "", &array) < 0) {
        PA_Release(&array);
        return kModule.trace(here());
    }
    return hand_over(&array, list);
}

int32_t add_entry(PA* array, const Find& find, const char* folder) {
    OXFILESTAT element;
    if (ORVEX_FileFindCopyName(&find.data(), &element) < 0) return kModule.trace(here());
    OXSTAT64 state;
    if (find.state(folder, &state) != 0) return 1;  // passed over
    ORVEX_FileSetModeToFS(&state, &element);
    return PA_Append(array, &element) > 0 ? 1 : kModule.trace(here());
}

int32_t list_folder(const char* folder, PA* array) {
    Find find(folder, all_entries(folder), false);  // with the short names
    if (!find.found()) return kModule.trace(here());
    for (; find.found(); find.next()) {
        if (!find.is_dots() && add_entry(array, find, folder) < 0) return -1;
    }
    return 1;
}

}  // namespace

int32_t ORVEX_GetFileListInDir(const char* pszDir, OXFILESTAT** ppList) {
    if (pszDir == nullptr || ppList == nullptr) {
        return kModule.fail(here(), kBadCall, SystemError::none, "pn=%p pp=%p",
                            static_cast<const void*>(pszDir), static_cast<const void*>(ppList));
    }
    PA array;
    if (PA_Init(&array, sizeof(OXFILESTAT), kFirstInFolder) < 0) return kModule.trace(here());
    if (list_folder(pszDir, &array) < 0) {
        PA_Release(&array);
        return kModule.trace(here());
    }
    return hand_over(&array, ppList);
}

int32_t ORVEX_RecurGetFileList(const char* pszDir, char (**ppList)[128]) {
    return list_tree(pszDir, ppList, ORVEX_UTIL_RecurFileList);
}

int32_t ORVEX_RecurGetFileListLong(const char* pszDir, OXFILESTAT** ppList) {
    return list_tree(pszDir, ppList, ORVEX_UTIL_RecurFileListLong);
}

int32_t ORVEX_UTIL_RecurFileList(const char* pszRoot, const char* pszRelative, PA* pArray) {
    return TreeLister(pArray, {add_short, "\\*"}).list(pszRoot, pszRelative);
}

int32_t ORVEX_UTIL_RecurFileListLong(const char* pszRoot, const char* pszRelative, PA* pArray) {
    return TreeLister(pArray, {add_long, "*"}).list(pszRoot, pszRelative);
}
