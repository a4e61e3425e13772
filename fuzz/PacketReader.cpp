// Reads: the scanner's byte stream, with the worker's packet reader.
// Checks: the same packets, and the same verdict, however the stream is cut into pieces.
#include "PacketReader.h"

#include "Check.h"
#include "PacketTranscript.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  PacketTranscript whole;
  wire::PacketReader reader(whole);
  const bool sound = reader.feed(bytes, size);

  PacketTranscript cut;
  wire::PacketReader cutReader(cut);
  bool cutSound = true;
  inPieces({bytes, size}, [&](Bytes piece) { cutSound = cutReader.feed(piece.data(), piece.size()); });

  check(cutSound == sound && cutReader.insidePacket() == reader.insidePacket());
  check(cut.packets() == whole.packets());
  return 0;
}
