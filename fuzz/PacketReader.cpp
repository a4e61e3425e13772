// Reads: the scanner's byte stream, with the worker's packet reader.
// Checks: the same packets, and the same verdict, however the stream is cut and whatever came before a reset.
#include "PacketReader.h"

#include "Check.h"
#include "PacketTranscript.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  PacketTranscript whole, cut;
  wire::PacketReader reader(whole), cutReader(cut);
  const bool readable = reader.feed(bytes, size);

  cutReader.feed(bytes, size);
  cutReader.reset();  // whatever came before is of no effect
  cut = {};
  bool cutReadable = true;
  inPieces({bytes, size}, [&](Bytes piece) { cutReadable = cutReader.feed(piece.data(), piece.size()); });

  check(cutReadable == readable && cutReader.insidePacket() == reader.insidePacket());
  check(cut.packets() == whole.packets());
  return 0;
}
