#include "StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <initializer_list>

namespace platform {

void reserveStandardDescriptors() noexcept {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // open() returns the lowest free number, which is the closed descriptor's. Read-only, so that writing
    // fails.
    if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDONLY) < 0) return;
  }
}

}  // namespace platform
