#include "CapabilitiesDocument.h"

#include "Bed.h"
#include "EsclNames.h"
#include "ScanLimits.h"
#include "XmlWriter.h"

namespace frontend::share {
namespace {

void writeIdentity(XmlWriter& xml, const ShareIdentity& identity, std::string_view address) {
  xml.leaf("pwg:Version", escl::version);
  xml.leaf("pwg:MakeAndModel", escl::makeAndModel);
  xml.leaf("pwg:SerialNumber", identity.serialNumber);
  xml.leaf("scan:Manufacturer", escl::manufacturer);
  xml.leaf("scan:UUID", identity.uuid);
  if (address.empty()) return;
  xml.leaf("scan:AdminURI", std::string(address) + "/");
  xml.leaf("scan:IconURI", std::string(address) + std::string(escl::iconPath));
}

void writeSizes(XmlWriter& xml) {
  xml.leaf("scan:MinWidth", escl::advertisedSmallestSide);
  xml.leaf("scan:MaxWidth", escl::advertisedWidth);
  xml.leaf("scan:MinHeight", escl::advertisedSmallestSide);
  xml.leaf("scan:MaxHeight", escl::advertisedHeight);
  xml.leaf("scan:MaxScanRegions", 1);
}

void writeColorModes(XmlWriter& xml) {
  xml.open("scan:ColorModes");
  for (const escl::NamedMode& mode : escl::colorModes) xml.leaf("scan:ColorMode", mode.name);
  xml.close();
}

void writeContentTypes(XmlWriter& xml) {
  xml.open("scan:ContentTypes");
  for (const char* type : {"Photo", "Text", "TextAndPhoto"}) xml.leaf("pwg:ContentType", type);
  xml.close();
}

// Both elements: some clients read one, some the other, and send the one that they read.
// CompressionFactorSupport is omitted: clients disagree about whether a higher value is better.
void writeFormats(XmlWriter& xml) {
  xml.open("scan:DocumentFormats");
  for (const escl::NamedFormat& format : escl::formats) xml.leaf("pwg:DocumentFormat", format.mimeType);
  for (const escl::NamedFormat& format : escl::formats) xml.leaf("scan:DocumentFormatExt", format.mimeType);
  xml.close();
}

// Discrete values: some clients do not support ranges.
void writeResolutions(XmlWriter& xml, std::string_view colorMode, ColorMode mode) {
  xml.open("scan:SupportedResolutions");
  xml.leaf("scan:ColorMode", colorMode);
  xml.open("scan:DiscreteResolutions");
  for (const std::uint32_t resolution : bedResolutions) {
    if (trueResolution(mode, resolution) != resolution) continue;
    xml.open("scan:DiscreteResolution");
    xml.leaf("scan:XResolution", resolution);
    xml.leaf("scan:YResolution", resolution);
    xml.close();
  }
  xml.close();
  xml.close();
}

void writeProfile(XmlWriter& xml) {
  xml.open("scan:SettingProfiles");
  xml.open("scan:SettingProfile");
  writeColorModes(xml);
  writeContentTypes(xml);
  writeFormats(xml);
  // Gray last: a client that takes the last list for every mode offers all resolutions.
  writeResolutions(xml, "RGB24", ColorMode::color);
  writeResolutions(xml, "Grayscale8", ColorMode::gray);
  xml.open("scan:ColorSpaces");
  xml.leaf("scan:ColorSpace", "sRGB");
  xml.close();
  xml.close();
  xml.close();
}

void writePlaten(XmlWriter& xml) {
  xml.open("scan:Platen");
  xml.open("scan:PlatenInputCaps");
  writeSizes(xml);
  writeProfile(xml);
  xml.open("scan:SupportedIntents");
  for (const char* intent : {"Document", "Photo", "Preview", "TextAndGraphic"})
    xml.leaf("scan:Intent", intent);
  xml.close();
  xml.leaf("scan:MaxOpticalXResolution", bedResolutions.back());
  xml.leaf("scan:MaxOpticalYResolution", bedResolutions.back());
  xml.leaf("scan:MaxPhysicalWidth", escl::advertisedWidth);
  xml.leaf("scan:MaxPhysicalHeight", escl::advertisedHeight);
  xml.close();
  xml.close();
}

void writeThreshold(XmlWriter& xml) {
  xml.open("scan:ThresholdSupport");
  xml.leaf("scan:Min", 0);
  xml.leaf("scan:Max", limits::highestThreshold);
  xml.leaf("scan:Normal", limits::defaultThreshold);
  xml.leaf("scan:Step", 1);
  xml.close();
}

}  // namespace

std::string capabilitiesDocument(const ShareIdentity& identity, std::string_view address) {
  XmlWriter xml("scan:ScannerCapabilities");
  writeIdentity(xml, identity, address);
  writePlaten(xml);
  writeThreshold(xml);
  return xml.finish();
}

}  // namespace frontend::share
