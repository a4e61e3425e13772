#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "Bed.h"
#include "PictureFormat.h"

// The words and numbers of eSCL that more than one part of the server needs: what the capabilities advertise
// and what tickets may request are the same constants.
namespace frontend::share::escl {

// Written with exactly the prefixes "pwg:" and "scan:", which some programs match as text; read by URI.
inline constexpr std::string_view pwgNamespace = "http://www.pwg.org/schemas/2010/12/sm";
inline constexpr std::string_view scanNamespace = "http://schemas.hp.com/imaging/escl/2011/05/03";

inline constexpr std::string_view version = "2.63";
inline constexpr std::string_view xmlContentType = "text/xml";
inline constexpr std::string_view makeAndModel = "Quenvar Q750";
inline constexpr std::string_view manufacturer = "Quenvar";

// Every path of the protocol begins with it.
inline constexpr std::string_view rootPath = "/eSCL";
inline constexpr std::string_view iconPath = "/eSCL/icon.png";

// Lengths are in 1/300 inch, whatever the resolution. The advertised height is that of A4, one unit more than
// the bed has: clients derive the paper sizes that they offer from it, and would cut every A4 page.
inline constexpr std::uint32_t unitsPerInch = 300;
inline constexpr std::uint32_t bedWidth = bedWidthInHundredths * unitsPerInch / 100;
inline constexpr std::uint32_t bedHeight = bedHeightInHundredths * unitsPerInch / 100;
inline constexpr std::uint32_t advertisedWidth = bedWidth;
inline constexpr std::uint32_t advertisedHeight = bedHeight + 1;
inline constexpr std::uint32_t advertisedSmallestSide = 16;

struct NamedMode {
  std::string_view name;
  PictureMode mode;
};

inline constexpr std::array<NamedMode, 3> colorModes = {{
    {"BlackAndWhite1", PictureMode::lineart},
    {"Grayscale8", PictureMode::gray},
    {"RGB24", PictureMode::color},
}};

struct NamedFormat {
  std::string_view mimeType;
  PictureFormat format;
};

// Without PDF and JPEG, which the protocol requires, some clients do not list the scanner; PNG is lossless.
inline constexpr std::array<NamedFormat, 3> formats = {{
    {"application/pdf", PictureFormat::pdf},
    {"image/jpeg", PictureFormat::jpeg},
    {"image/png", PictureFormat::png},
}};

// Of one of `formats`.
constexpr std::string_view mimeTypeOf(PictureFormat format) {
  return std::find_if(formats.begin(), formats.end(),
                      [=](const NamedFormat& named) { return named.format == format; })
      ->mimeType;
}

}  // namespace frontend::share::escl
