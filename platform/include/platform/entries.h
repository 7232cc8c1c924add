// Entries of the current folder by names that a stranger chose, and nothing beyond them. Names are
// spelled as platform/files.h says, and so are failures told.
#pragma once

namespace platform {

// Whether a name can be that of an entry, and leads nowhere else: it isn't empty, "." or "..", and
// holds no delimiter. On Windows it neither holds a colon or another sign that no name has, nor
// ends in a dot or a blank, which would be cut, nor names a device ("nul.txt").
bool is_entry_name(const char* name);

// Lets its owner read and write an entry, but not by way of a link: ELOOP.
int add_owner_mode(const char* name);

// Makes a folder the current one, but not by way of a link: ENOTDIR.
int enter_folder(const char* name);

// Makes a plain file or empties one, and opens it to be read and written (as _open does), but not
// by way of a link (ELOOP), nor what is no plain file (EACCES).
int create_entry(const char* name, int permission);

}  // namespace platform
