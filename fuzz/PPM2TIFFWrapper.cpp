// Reads: the picture that the scanner sends, with the conversion to a raster.
// Checks: the raster has the announced size: the picture's bytes, then zeros.
#include <cstdlib>

#include "Check.h"
#include "FileKeeping.h"
#include "PpmHeader.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  platform::keepFiles(false);
  const platform::DataRef data(platform::Data::withBytes(bytes, size));
  const PpmHeader header(data.get());
  // Larger pictures only take time. The worker passes none on whose header announces more than 256 MiB.
  if (header.rasterBytes() > 65536) return 0;
  auto* raster = static_cast<unsigned char*>(std::malloc(1));  // an earlier block, to be freed
  std::uint32_t width = 0, height = 0, samples = 0, length = 0;
  check(ConvertPPMToTIFF(data.get(), &raster, &length, 0, 0, &width, &height, &samples) == 0);
  check(std::vector<unsigned char>(raster, raster + length) == header.expectedRaster());
  std::free(raster);
  return 0;
}
