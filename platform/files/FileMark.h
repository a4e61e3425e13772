#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

// What tells whether a name still names the same file, and whether anybody wrote to it, cut it or linked it
// elsewhere in between. A plain value; equal marks mean nobody did, as far as the clock of the file system
// sees.
struct FileMark {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t links = 0;
  std::int64_t size = 0;
  std::int64_t modifiedSeconds = 0;
  std::int64_t modifiedNanoseconds = 0;

  bool operator==(const FileMark&) const = default;
  bool isSameFileAs(const FileMark& other) const { return device == other.device && inode == other.inode; }

  // Nothing where there is no such file. A link is looked at itself, not followed.
  static std::optional<FileMark> of(int descriptor);
  static std::optional<FileMark> of(const std::string& path);
};

}  // namespace platform
