// Reads: | variant:1 | and set-up packets of the host, with the virtual scanner.
// Checks: replies fit the host's buffer; only endpoints of the current setting are halted.
#include "StandardRequests.h"

#include "Check.h"
#include "Target.h"
#include "VirtualScanner.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace virtualscanner;
  ScannerOptions options;
  options.alternateSettings = size > 0 && bytes[0] % 2 == 1;
  VirtualScanner scanner(Paper::plain({}), options);
  StandardRequests requests(options.alternateSettings);
  for (std::size_t at = 1; at + platform::usb::setupSize <= size; at += platform::usb::setupSize) {
    const SetupPacket setup = platform::usb::readSetup(bytes + at);
    const auto room = std::make_unique_for_overwrite<std::uint8_t[]>(setup.length);
    const Transfer transfer = scanner.control(setup, room.get());
    const auto answer = requests.perform(setup);
    check(transfer.moved == (answer ? std::min<std::size_t>(answer->size(), setup.length) : 0));
    for (const Endpoint& endpoint : multifunctionEndpoints())
      check(!requests.isHalted(endpoint.address) || requests.has(endpoint.address));
  }
  return 0;
}
