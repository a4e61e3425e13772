// Reads: the body of a request for a scan.
// Checks: an accepted area lies on the bed and the picture is no smaller; a refusal is a printable sentence.
#include "ScanTicket.h"

#include "Bed.h"
#include "Check.h"
#include "Pieces.h"
#include "SettingText.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace frontend;
  const auto result = share::readTicket(textOf({bytes, size}));
  if (const auto* refusal = std::get_if<share::TicketRefusal>(&result)) {
    check(refusal->sentence.ends_with('.') && refusal->sentence == printable(refusal->sentence));
    return 0;
  }
  const auto& [settings, threshold, format, picture] = std::get<share::ScanTicket>(result);
  const PixelArea area = settings.area, bed = wholeBed(settings.resolution);
  check(isBedResolution(picture.resolution) && area.width > 0 && area.height > 0);
  check(area.left + area.width <= bed.width && area.top + area.height <= bed.height);
  check(picture.width >= area.width && picture.height >= area.height && picture.height <= 7016);
  return 0;
}
