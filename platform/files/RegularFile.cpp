#include "RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace platform {
namespace {

using State = FileContent::State;

constexpr std::size_t blockSize = 4096;

FileContent unreadable(int error) {
  return {error == ENOENT || error == ENOTDIR ? State::missing : State::unreadable, {}, error};
}

// Reads one byte more than is allowed: the size that the system reports may be out of date by then, and is 0
// for the files of /proc.
FileContent contentOf(int descriptor, std::size_t largest) {
  std::string bytes;
  std::size_t length = 0;
  while (length <= largest) {
    bytes.resize(std::min(length + blockSize, largest + 1));
    const ssize_t count = read(descriptor, bytes.data() + length, bytes.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return unreadable(errno);
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  if (length > largest) return {State::tooLarge, {}, 0};
  bytes.resize(length);
  return {State::read, std::move(bytes), 0};
}

}  // namespace

std::string FileContent::problem(std::size_t largest) const {
  if (state == State::notRegular) return "this is not a regular file";
  if (state == State::tooLarge) return "the file is larger than " + std::to_string(largest) + " bytes";
  return "cannot be read: " + std::string(std::strerror(error));
}

std::string OpenedFile::problem() const {
  if (error == 0) return "is not a regular file";
  return "cannot be opened: " + std::string(std::strerror(error));
}

OpenedFile openRegularFile(const std::string& path) noexcept {
  // Opening a FIFO, or a device that waits for its line, would block. The type of the file must be read from
  // the open one: another could take its name between the two calls.
  OwnedDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  // The errors of opening a socket, or a device that has no driver.
  if (file.get() < 0 && (errno == ENXIO || errno == ENODEV)) return {};
  struct stat status {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) return {{}, errno};
  if (!S_ISREG(status.st_mode)) return {};
  return {std::move(file), 0};
}

FileContent readRegularFile(const std::string& path, std::size_t largest) {
  const OpenedFile file = openRegularFile(path);
  if (file.error != 0) return unreadable(file.error);
  if (file.descriptor.get() < 0) return {State::notRegular, {}, 0};
  return contentOf(file.descriptor.get(), largest);
}

}  // namespace platform
