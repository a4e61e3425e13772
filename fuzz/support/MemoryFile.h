#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

// A regular file that has a path but is not on a disk, for readers that open their input themselves.
class MemoryFile {
 public:
  MemoryFile() : descriptor_(memfd_create("input", MFD_CLOEXEC)) {}
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(descriptor_); }

  void write(std::string_view content) {
    const auto size = static_cast<ssize_t>(content.size());
    if (ftruncate(descriptor_, 0) != 0 || pwrite(descriptor_, content.data(), content.size(), 0) != size)
      std::abort();
  }
  int descriptor() const { return descriptor_; }
  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};
