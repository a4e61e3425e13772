#include "SystemCalls.h"

#include <dlfcn.h>
#include <poll.h>
#include <sys/types.h>

#include <cstdarg>

namespace {

thread_local std::uint64_t count = 0;

// The C library's function of this name, which the one below hides.
template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

std::uint64_t systemCalls() {
  return count;
}

// The dynamic linker prefers a program's own functions to those of libraries.
extern "C" {

struct itimerspec;

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  static auto* const real = next<int(int, unsigned long, ...)>("ioctl");
  std::va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  ++count;
  return real(descriptor, request, argument);
}

int poll(pollfd* descriptors, nfds_t number, int timeoutMs) {
  static auto* const real = next<int(pollfd*, nfds_t, int)>("poll");
  ++count;
  return real(descriptors, number, timeoutMs);
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
  static auto* const real = next<ssize_t(int, void*, std::size_t)>("read");
  ++count;
  return real(descriptor, buffer, size);
}

ssize_t write(int descriptor, const void* buffer, std::size_t size) {
  static auto* const real = next<ssize_t(int, const void*, std::size_t)>("write");
  ++count;
  return real(descriptor, buffer, size);
}

int timerfd_settime(int descriptor, int flags, const itimerspec* value, itimerspec* before) noexcept {
  static auto* const real = next<int(int, int, const itimerspec*, itimerspec*)>("timerfd_settime");
  ++count;
  return real(descriptor, flags, value, before);
}
}
