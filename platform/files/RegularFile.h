#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "OwnedDescriptor.h"

namespace platform {

// The result of reading a small file.
struct FileContent {
  enum class State : std::uint8_t {
    read,
    missing,     // there is no such file, or no folder for it
    notRegular,  // a folder, a FIFO, a socket or a device
    tooLarge,
    unreadable,  // `error` gives the reason
  };

  State state;
  std::string bytes;  // all of the file if it was read; empty otherwise
  int error = 0;      // an errno

  // Why an existing file was not read, as a clause; `largest` as passed to readRegularFile().
  std::string problem(std::size_t largest) const;
};

// A file that was to be opened for reading.
struct OpenedFile {
  OwnedDescriptor descriptor;  // none if it could not be opened
  int error = 0;               // an errno; 0 if it is open or not a regular file

  // Why there is none, as a clause: "is not a regular file".
  std::string problem() const;
};

// Opens a file of the user for reading, in this process or for another one: never blocks on a FIFO, acquires
// no terminal, triggers no device. Follows links to regular files. Any thread. Never throws.
OpenedFile openRegularFile(const std::string& path) noexcept;

// Reads a file that somebody else may have put there, such as the settings of a user: opens it as
// openRegularFile() does and keeps at most `largest` + 1 bytes of it in memory, although a file may grow
// while it is read. Any thread. Throws std::bad_alloc.
FileContent readRegularFile(const std::string& path, std::size_t largest);

}  // namespace platform
