// Reads: the address of `q750 virtual --listen`.
// Checks: an address that was read, when written, reads back the same.
#include "ListenAddress.h"

#include "Check.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace virtualscanner;
  if (const auto address = parseListenAddress(textOf({bytes, size})))
    check(parseListenAddress(textOf(*address)) == address);
  return 0;
}
