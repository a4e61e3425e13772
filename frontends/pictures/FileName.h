#pragma once

#include <cstdint>
#include <string>

namespace frontend {

// The extension of the last component, without its point and in lower case; empty where there is none. A
// leading point hides a file and begins no extension.
std::string extensionOf(const std::string& path);

// In the names that users give for output, the last component may contain a place for the number of the page:
// "%d", or "%03d", which pads it with zeros to a width of 1 to 9. "%%" stands for a percent sign. Folders are
// taken as they are, and no name ever reaches printf().

// The first text after a percent sign that is none of these, with the sign: "%s"; empty where all are valid.
// The functions below expect a valid name.
std::string invalidPlaceIn(const std::string& path);
// Whether there is a place for the number.
bool hasPlaceForNumber(const std::string& path);
// The name with the number in all its places, and with its percent signs.
std::string expandedName(const std::string& path, std::uint32_t number);
// The same for one file of a series: without a place, the number is inserted before the extension,
// "page-2.png".
std::string numberedName(const std::string& path, std::uint32_t number);

}  // namespace frontend
