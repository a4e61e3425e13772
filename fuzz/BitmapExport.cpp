// Reads: a bitmap and its description, with the export to TIFF.
// Checks: a documented result, and a file that holds the pixels unchanged.
#include "BitmapExport.h"

#include <cstdlib>

#include "BitmapInput.h"
#include "Check.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const BitmapInput input({bytes, size});
  if (input.isTooLarge()) return 0;
  auto* tiff = static_cast<unsigned char*>(std::malloc(1));  // an earlier block, to be freed
  std::uint32_t length = 1;
  const std::int32_t result = ConvertCMBitmapToTIFF(input.pixels.data(), &input.bitmap, &tiff, &length,
                                                    nullptr, input.across, input.down);
  const std::string_view file = textOf({tiff, length}), pixels = textOf(input.pixels);
  check(result == 0 || ((result == -1 || result == -50) && length == 1));
  check(result != 0 || file.starts_with(std::string_view("MM\0*", 4)));
  check(result != 0 || !input.isPacked() || file.find(pixels) != std::string_view::npos);
  std::free(tiff);
  return 0;
}
