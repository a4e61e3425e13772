#include <unistd.h>

#include <cstddef>
#include <exception>
#include <string_view>

#include "ExitCode.h"
#include "Program.h"
#include "StackLimit.h"

namespace {

// Every command, with what libraries take for it, has been seen to work with 32 KiB.
constexpr std::size_t neededStackBytes = 40 * 1024;

// A stack that is too small ends a program with a signal and no word, at any time.
void refuseSmallStack() {
  constexpr std::string_view message =
      "q750: The stack is limited to less than this program needs. Raise the limit, for example with "
      "ulimit -s 8192.\n";
  if (platform::mainStackRoom() >= neededStackBytes) return;
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, message.data(), message.size());
  _exit(static_cast<int>(frontend::ExitCode::noMemory));
}

void begin() {
  refuseSmallStack();
  std::set_terminate(frontend::endWithoutMemory);
}

// Before the constructors of libraries (System V ABI, DT_PREINIT_ARRAY), which take stack and memory, and
// throw where there is none.
[[gnu::section(".preinit_array"), gnu::used]] void (*beforeLibraries)() = begin;

}  // namespace

int main(int argc, char** argv) {
  return frontend::runProgram(argc, argv);
}
