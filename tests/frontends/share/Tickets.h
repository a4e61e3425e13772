#pragma once

#include <string>

#include "ScanTicket.h"

// ScanSettings documents for tests.

// A document with these elements, in the prefixes that clients use.
inline std::string ticketOf(const std::string& elements) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
         "<scan:ScanSettings xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\" "
         "xmlns:scan=\"http://schemas.hp.com/imaging/escl/2011/05/03\">" +
         elements + "</scan:ScanSettings>";
}

inline std::string element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

// The elements that set a color mode and a resolution.
inline std::string modeAndResolution(const std::string& mode, const std::string& resolution) {
  return element("scan:ColorMode", mode) + element("scan:XResolution", resolution) +
         element("scan:YResolution", resolution);
}

// One region, in the order in which most clients send it.
inline std::string regionElement(const std::string& left, const std::string& top, const std::string& width,
                                 const std::string& height, const std::string& attributes = "") {
  return "<pwg:ScanRegions" + attributes + "><pwg:ScanRegion>" +
         element("pwg:ContentRegionUnits", "escl:ThreeHundredthsOfInches") + element("pwg:XOffset", left) +
         element("pwg:YOffset", top) + element("pwg:Width", width) + element("pwg:Height", height) +
         "</pwg:ScanRegion></pwg:ScanRegions>";
}

// A ticket in one line, to compare: "color 300: 2550x3507+0+0, jpeg, 3x8 2550x3507 at 300", or the refusal.
std::string summaryOf(const std::string& document);
