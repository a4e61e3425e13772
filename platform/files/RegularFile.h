#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace platform {

// What reading a small file brought.
struct FileContent {
  enum class State : std::uint8_t {
    read,
    missing,     // there is no such file, or no folder for it
    notRegular,  // a folder, a FIFO, a socket or a device
    tooLarge,
    unreadable,  // `error` gives the reason
  };

  State state;
  std::string bytes;  // all of the file where it was read; empty otherwise
  int error = 0;      // an errno
};

// Reads a file that somebody else may have put there, such as the settings of a user: never blocks on a FIFO,
// acquires no terminal, triggers no device, and keeps no more of it in memory than `largest` bytes and one,
// although a file may grow while it is read. Follows links to regular files. Any thread. Throws
// std::bad_alloc.
FileContent readRegularFile(const std::string& path, std::size_t largest);

}  // namespace platform
