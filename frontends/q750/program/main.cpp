#include <exception>

#include "Program.h"

namespace {

// Before everything else of the program: the libraries that are linked into it have constants that are made
// before main() and take memory.
[[gnu::constructor(101)]] void beginWithoutMemory() {
  std::set_terminate(frontend::endWithoutMemory);
}

}  // namespace

int main(int argc, char** argv) {
  return frontend::runProgram(argc, argv);
}
