#include "ScanTicket.h"

#include <charconv>

#include "Bed.h"
#include "EsclNames.h"
#include "SettingText.h"
#include "TicketRegion.h"
#include "TicketXml.h"

namespace frontend::share {
namespace {

using Vocabulary = TicketElement::Vocabulary;

constexpr unsigned badRequest = 400;
constexpr unsigned conflict = 409;

// The settings for a client that states only its purpose; explicit ones take precedence. An intent that is
// not listed is treated as none.
struct Intent {
  std::string_view name;
  PictureMode mode;
  std::uint32_t resolution;
  PictureFormat format;
};

constexpr Intent noIntent = {"", PictureMode::color, 300, PictureFormat::jpeg};
constexpr Intent intents[] = {
    {"Document", PictureMode::gray, 300, PictureFormat::pdf},
    {"TextAndGraphic", PictureMode::color, 300, PictureFormat::pdf},
    {"Photo", PictureMode::color, 300, PictureFormat::jpeg},
    {"Preview", PictureMode::color, 75, PictureFormat::jpeg},
    {"Object", PictureMode::color, 300, PictureFormat::jpeg},
    {"BusinessCard", PictureMode::color, 300, PictureFormat::jpeg},
};

// A value for a sentence, cut and made printable, since a client may send anything.
std::string quoted(std::string_view text) {
  constexpr std::size_t longest = 40;
  return "\"" + printable(text.substr(0, longest)) + (text.size() > longest ? "...\"" : "\"");
}

// Thrown inside this file only.
[[noreturn]] void refuse(unsigned code, std::string sentence) {
  throw TicketRefusal{code, std::move(sentence)};
}

[[noreturn]] void refuseValue(std::string_view name, const std::string& value, const char* expected) {
  refuse(conflict, std::string(name) + " " + quoted(value) + " is not possible: expected " + expected + ".");
}

// Decimal digits and nothing else, up to 2^32 - 1.
std::uint32_t numberIn(const TicketElement& element) {
  std::uint32_t value = 0;
  const char* end = element.text.data() + element.text.size();
  const auto [rest, error] = std::from_chars(element.text.data(), end, value);
  if (error != std::errc() || rest != end)
    refuse(badRequest, element.name + " " + quoted(element.text) + " is not a number from 0 to 4294967295.");
  return value;
}

// In one of the two vocabularies, because clients disagree about which.
const TicketElement* inEither(const TicketElement& parent, std::string_view name) {
  const TicketElement* element = parent.child(Vocabulary::pwg, name);
  return element != nullptr ? element : parent.child(Vocabulary::scan, name);
}

std::uint32_t numberOr(const TicketElement& region, std::string_view name, std::uint32_t otherwise) {
  const TicketElement* element = inEither(region, name);
  return element == nullptr ? otherwise : numberIn(*element);
}

const Intent& intentOf(const TicketElement& root) {
  const TicketElement* element = root.child(Vocabulary::scan, "Intent");
  for (const Intent& intent : intents) {
    if (element != nullptr && element->text == intent.name) return intent;
  }
  return noIntent;
}

void requirePlaten(const TicketElement& root) {
  const TicketElement* source = inEither(root, "InputSource");
  if (source != nullptr && source->text != "Platen") refuseValue(source->name, source->text, "Platen");
}

PictureMode modeOf(const TicketElement& root, const Intent& intent) {
  const TicketElement* element = root.child(Vocabulary::scan, "ColorMode");
  if (element == nullptr) return intent.mode;
  for (const escl::NamedMode& named : escl::colorModes) {
    if (element->text == named.name) return named.mode;
  }
  refuseValue(element->name, element->text, "BlackAndWhite1, Grayscale8 or RGB24");
}

// Both directions have one resolution; a client that gives one of them means both.
std::uint32_t resolutionOf(const TicketElement& root, const Intent& intent) {
  const TicketElement* x = root.child(Vocabulary::scan, "XResolution");
  const TicketElement* y = root.child(Vocabulary::scan, "YResolution");
  if (x == nullptr && y == nullptr) return intent.resolution;
  const std::uint32_t across = numberIn(x != nullptr ? *x : *y);
  const std::uint32_t down = numberIn(y != nullptr ? *y : *x);
  if (across != down)
    refuse(conflict, "XResolution " + std::to_string(across) + " and YResolution " + std::to_string(down) +
                         " differ, which is not possible.");
  if (!isBedResolution(across))
    refuseValue("XResolution", std::to_string(across), "75, 150, 200, 300, 400 or 600");
  return across;
}

// Some clients send both elements, some either. The extended one is the newer and more exact.
PictureFormat formatOf(const TicketElement& root, const Intent& intent) {
  const TicketElement* element = root.child(Vocabulary::scan, "DocumentFormatExt");
  if (element == nullptr) element = root.child(Vocabulary::pwg, "DocumentFormat");
  if (element == nullptr) return intent.format;
  for (const escl::NamedFormat& named : escl::formats) {
    if (element->text == named.mimeType) return named.format;
  }
  refuseValue(element->name, element->text, "application/pdf, image/jpeg or image/png");
}

std::optional<std::uint8_t> thresholdOf(const TicketElement& root, PictureMode mode) {
  if (mode != PictureMode::lineart) return std::nullopt;
  const TicketElement* element = root.child(Vocabulary::scan, "Threshold");
  if (element == nullptr) return limits::defaultThreshold;
  const std::uint32_t value = numberIn(*element);
  if (value > limits::highestThreshold) refuseValue(element->name, element->text, "0 to 255");
  return static_cast<std::uint8_t>(value);
}

// "escl:ThreeHundredthsOfInches": text that looks like a qualified name, but its prefix is bound to nothing.
void requireKnownUnits(const TicketElement& region) {
  const TicketElement* units = inEither(region, "ContentRegionUnits");
  if (units == nullptr) return;
  const std::string_view text = units->text;
  if (text.substr(text.rfind(':') + 1) != "ThreeHundredthsOfInches")
    refuseValue(units->name, units->text, "escl:ThreeHundredthsOfInches");
}

TicketRegion readRegion(const TicketElement& element, bool mustHonor) {
  requireKnownUnits(element);
  TicketRegion region;
  region.left = numberOr(element, "XOffset", 0);
  region.top = numberOr(element, "YOffset", 0);
  region.width = numberOr(element, "Width", escl::advertisedWidth);
  region.height = numberOr(element, "Height", escl::advertisedHeight);
  if (region.width == 0 || region.height == 0) refuse(conflict, "The scan region is empty.");
  if (!touchesBed(region)) refuse(conflict, "The scan region lies outside the scan bed.");
  if (mustHonor && !fitsBed(region)) refuse(conflict, "The scan region extends beyond the scan bed.");
  return region;
}

// Nothing for the whole bed.
std::optional<TicketRegion> regionOf(const TicketElement& root) {
  std::optional<TicketRegion> region;
  for (const TicketElement& list : root.children) {
    if (!list.is(Vocabulary::pwg, "ScanRegions") && !list.is(Vocabulary::scan, "ScanRegions")) continue;
    for (const TicketElement& element : list.children) {
      if (!element.is(Vocabulary::pwg, "ScanRegion") && !element.is(Vocabulary::scan, "ScanRegion")) continue;
      if (region) refuse(conflict, "Only one scan region is possible.");
      region = readRegion(element, list.mustHonor || element.mustHonor);
    }
  }
  return region;
}

PictureLayout layoutOf(const PicturePlace& place, PictureMode mode, std::uint32_t resolution) {
  PictureLayout layout;
  layout.width = place.onBed.width;
  layout.height = place.rows;
  layout.channels = mode == PictureMode::color ? 3 : 1;
  layout.bitsPerChannel = mode == PictureMode::lineart ? 1 : 8;
  layout.resolution = resolution;
  return layout;
}

// Reports the fault that most likely explains the others first.
ScanTicket ticketFrom(const TicketElement& root) {
  requirePlaten(root);
  const Intent& intent = intentOf(root);
  const PictureMode mode = modeOf(root, intent);
  const std::uint32_t resolution = resolutionOf(root, intent);
  const auto region = regionOf(root);
  ScanTicket ticket;
  ticket.format = formatOf(root, intent);
  ticket.threshold = thresholdOf(root, mode);
  ticket.settings.mode = mode == PictureMode::color ? ColorMode::color : ColorMode::gray;
  ticket.settings.resolution = trueResolution(ticket.settings.mode, resolution);
  ticket.settings.area = placeOnBed(region, ticket.settings.resolution).onBed;
  ticket.picture = layoutOf(placeOnBed(region, resolution), mode, resolution);
  return ticket;
}

}  // namespace

std::variant<ScanTicket, TicketRefusal> readTicket(std::string_view body) {
  const auto document = readTicketXml(body);
  if (const auto* complaint = std::get_if<XmlComplaint>(&document))
    return TicketRefusal{badRequest, *complaint};
  try {
    return ticketFrom(std::get<TicketElement>(document));
  } catch (TicketRefusal& refusal) {
    return std::move(refusal);
  }
}

}  // namespace frontend::share
