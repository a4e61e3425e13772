#include "StackLimit.h"

#include <pthread.h>
#include <sys/auxv.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>

namespace platform {

std::size_t mainStackRoom() noexcept {
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return SIZE_MAX;
  // The system stores the program's path first, then environment and arguments, which count too.
  const std::uintptr_t top = getauxval(AT_EXECFN);
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  if (top < here) return SIZE_MAX;  // an emulated processor, with a stack of another kind
  const std::uintptr_t used = top - here;
  if (limit.rlim_cur <= used) return 0;
  return static_cast<std::size_t>(std::min<rlim_t>(limit.rlim_cur - used, SIZE_MAX));
}

void setThreadStackSize(std::size_t bytes) noexcept {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return;
  if (pthread_attr_setstacksize(&attributes, bytes) == 0) pthread_setattr_default_np(&attributes);
  pthread_attr_destroy(&attributes);
}

}  // namespace platform
