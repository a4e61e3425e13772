#pragma once

#include <string>

// The names of files that are not complete: ".q750-1234-89abcdef.part", with the process that writes them.
// Such a file is locked (flock) while it is being written.
namespace frontend {

// A new name in the folder, as a path. Not derived from the final name, which may already have the greatest
// length that the file system allows.
std::string privateNameIn(const std::string& folder);

// The same for a file that is complete but cannot have its own name, without an extension:
// "folder/q750-saved-89abcdef". Visible, and never removed.
std::string savedNameIn(const std::string& folder);

// Removes the files with private names that killed processes left in the folder: regular files of this user
// whose process does not exist any more and that nobody has locked. Either of the two alone would do on most
// systems; the lock also protects files of another machine or container, where process ids mean nothing, and
// the id a file that is not locked yet. Never throws; what it cannot examine or remove stays.
void removeAbandonedFiles(const std::string& folder);

}  // namespace frontend
