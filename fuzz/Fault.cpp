// Reads: one fault of --virtual-fault.
// Checks: a fault that was read, written with its position, reads back the same.
#include "Fault.h"

#include "Check.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (const auto fault = virtualscanner::parseFault(textOf({bytes, size})))
    check(virtualscanner::parseFault(virtualscanner::textOf(*fault)) == fault);
  return 0;
}
