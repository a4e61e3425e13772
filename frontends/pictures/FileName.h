#pragma once

#include <cstdint>
#include <string>

namespace frontend {

// The extension of the last component, without its point and in lower case; empty where there is none. A
// leading point hides a file and begins no extension.
std::string extensionOf(const std::string& path);

// The name of one file of a numbered series. The number replaces the first "%d" of the last component, or
// "%03d", which pads it with zeros to a width of 1 to 9; without one it is inserted before the extension:
// "page-2.png". Everything else stays as it is, so a name never reaches printf().
std::string numberedName(const std::string& path, std::uint32_t number);

}  // namespace frontend
