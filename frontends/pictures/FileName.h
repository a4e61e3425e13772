#pragma once

#include <cstdint>
#include <string>

namespace frontend {

// What follows the last point of the file's name, without the point and in lower case; a leading point hides
// a file and ends no name.
std::string extensionOf(const std::string& path);

// The name of one of several files that belong together: where the name has "%d" (or "%03d", filled with
// zeros to that width, at most 9), the number takes its place; otherwise it stands before the extension,
// "page-2.png". Folders are left as they are.
std::string numberedName(const std::string& path, std::uint32_t number);

}  // namespace frontend
