// Reads: the stream of a USB/IP client, down to the virtual scanner behind the server.
// Checks: the same replies however the stream is cut; the scanner is free afterwards.
#include "UsbipConnection.h"

#include "Check.h"
#include "LeakSweep.h"
#include "Target.h"
#include "UsbipInput.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace virtualscanner;
  const Bytes stream(bytes, size);
  // Longer transfers, up to the 16 MiB that are allowed, only take time.
  if (announcesTransferOver(4096, stream)) return 0;
  const LeakSweep sweep;
  VirtualScanner scanner(Paper::plain({})), sameScanner(Paper::plain({}));
  UsbipPort port(scanner), samePort(sameScanner);
  check(usbipSession(stream, true, samePort) == usbipSession(stream, false, port));
  check(!port.isTaken() && !samePort.isTaken());
  return 0;
}
