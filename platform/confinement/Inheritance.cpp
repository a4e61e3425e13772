#include "Inheritance.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>

namespace platform {

void closeInheritedDescriptors() noexcept {
  close_range(STDERR_FILENO + 1, UINT_MAX, 0);
}

// The system stores the texts at the end of the stack, where clearenv() leaves them.
void forgetEnvironment() noexcept {
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
    explicit_bzero(*entry, std::strlen(*entry));
  clearenv();
}

}  // namespace platform
