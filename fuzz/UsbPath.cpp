// Reads: the port path in the name of a scanner, as --device has it.
// Checks: each path has one form: one that was read is written back byte for byte, and names the same place.
#include "UsbPath.h"

#include "Check.h"
#include "Pieces.h"
#include "ScannerName.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(textOf({bytes, size}));
  const auto path = platform::UsbPath::parse(text);
  const auto name = frontend::parseScannerName(std::string(frontend::usbScannerPrefix) + text);
  check(path.has_value() == name.has_value());
  check(!path || (path->text() == text && name->location == path->location()));
  return 0;
}
