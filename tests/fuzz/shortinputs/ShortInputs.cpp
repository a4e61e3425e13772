// A target that fails on every input of more than three bytes, to test how the replay handles a failure.
#include "Check.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  check(bytes != nullptr && size <= 3);
  return 0;
}
