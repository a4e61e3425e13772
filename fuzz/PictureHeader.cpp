// Reads: the header of a picture that passes through the worker.
// Checks: cutting changes nothing, sizes keep their limits, the library finds the same header.
#include "PictureHeader.h"

#include "Check.h"
#include "Pieces.h"
#include "PpmHeader.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  frontend::PictureHeader header, cut;
  const std::size_t taken = header.feed(bytes, size);
  std::size_t cutTaken = 0;
  inPieces({bytes, size}, [&](Bytes piece) { cutTaken += cut.feed(piece.data(), piece.size()); });
  check(cutTaken == taken && cut.state() == header.state() && cut.complaint() == header.complaint());
  if (header.state() != frontend::PictureHeader::State::complete) return 0;
  check(header.rasterBytes() > 0 && header.rasterBytes() <= frontend::PictureHeader::largestRaster);
  const platform::DataRef data(platform::Data::withBytes(bytes, size));
  const PpmHeader found(data.get());
  check(found.width == header.width() && found.height == header.height());
  check(found.samples() == header.bytesPerPixel() && found.raster.size() == size - taken);
  return 0;
}
