// Reads: the values of --area and --paper.
// Checks: the area lies on the bed at each resolution, and reads the same again from its pixels.
#include "Area.h"

#include "AreaInput.h"
#include "Bed.h"
#include "Check.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) try {
  using namespace frontend;
  const AreaRequest request = areaOrPaper(std::string(textOf({bytes, size})));
  for (const std::uint32_t resolution : bedResolutions) {
    const PixelArea area = placeOnBed(request, resolution).area, bed = wholeBed(resolution);
    check(area.width > 0 && area.left + area.width <= bed.width);
    check(area.height > 0 && area.top + area.height <= bed.height);
    check(placeOnBed(parseArea(textOf(area)), resolution).area == area);
  }
  return 0;
} catch (const frontend::UsageError&) {
  return 0;
}
