#include "SystemCalls.h"

#include <dlfcn.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>

namespace {

SystemCalls* current = nullptr;

template <typename Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

SystemCalls::SystemCalls() {
  current = this;
}
SystemCalls::~SystemCalls() {
  current = nullptr;
}

extern "C" ssize_t pwrite64(int descriptor, const void* bytes, std::size_t count, off64_t offset) {
  static auto* const passOn = original<ssize_t(int, const void*, std::size_t, off64_t)>("pwrite64");
  if (current == nullptr) return passOn(descriptor, bytes, count, offset);
  if (current->interruptions > 0) {
    --current->interruptions;
    errno = EINTR;
    return -1;
  }
  if (current->room == 0) {
    errno = ENOSPC;
    return -1;
  }
  const auto taken =
      static_cast<std::size_t>(std::min<std::uint64_t>({count, current->longestWrite, current->room}));
  const ssize_t written = passOn(descriptor, bytes, taken, offset);
  if (written > 0) {
    ++current->writes;
    current->bytesWritten += static_cast<std::uint64_t>(written);
    current->room -= static_cast<std::uint64_t>(written);
  }
  return written;
}

extern "C" int renameat2(int oldFolder, const char* oldPath, int newFolder, const char* newPath,
                         unsigned flags) {
  static auto* const passOn = original<int(int, const char*, int, const char*, unsigned)>("renameat2");
  if (current != nullptr && !current->canExchange) {
    errno = EINVAL;
    return -1;
  }
  return passOn(oldFolder, oldPath, newFolder, newPath, flags);
}
