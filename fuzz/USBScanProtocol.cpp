// Reads: the scanner's byte stream, with the library's packet parser.
// Checks: cutting changes nothing; the worker's reader agrees until it finds the stream unreadable.
#include "Check.h"
#include "LeakSweep.h"
#include "ParserSession.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  // A packet of this length is dispatched forever, by design; the worker ends the scan at its header.
  if (textOf({bytes, size}).find("\xFF\xFF\xFF\xF8") != std::string_view::npos) return 0;
  const LeakSweep sweep;
  PacketTranscript whole, cut, watched;
  ParserSession(whole).feed({bytes, size});
  ParserSession cutSession(cut);
  inPieces({bytes, size}, [&](Bytes piece) { cutSession.feed(piece); });
  wire::PacketReader watch(watched);
  const bool sound = watch.feed(bytes, size);

  check(cut.packets() == whole.packets() && cut.markers() == whole.markers());
  check(whole.packets().starts_with(watched.packets()));
  check(!sound || whole.packets() == watched.packets());
  return 0;
}
