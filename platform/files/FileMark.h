#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

// Recognises a file and its state. Equal marks mean that a name still names the same file and that no process
// wrote to it, truncated it or linked it elsewhere in between, as far as the file system's time stamps show.
// A plain value.
struct FileMark {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t links = 0;
  std::int64_t size = 0;
  std::int64_t modifiedSeconds = 0;
  std::int64_t modifiedNanoseconds = 0;

  bool operator==(const FileMark&) const = default;
  bool isSameFileAs(const FileMark& other) const { return device == other.device && inode == other.inode; }

  // Empty if the file does not exist. A link is not followed.
  static std::optional<FileMark> of(int descriptor);
  static std::optional<FileMark> of(const std::string& path);
};

}  // namespace platform
