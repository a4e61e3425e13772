#include "JobParameters.h"

#include <utility>

#include "IntegerElem.h"
#include "NumericConversion.h"

namespace {

constexpr std::int32_t maxColorResolution = 300;  // colour is requested at this one at most

// The area is sent as a photo if it ends within 4 x 6 inches from the origin, measured in 1/600 inch.
constexpr double mediaUnitsPerInch = 600.0;
constexpr double photoWidth = 2400.0;
constexpr double photoHeight = 3600.0;
constexpr std::int32_t photoMedia = 12;
constexpr std::int32_t pageMedia = 2;

constexpr std::int32_t bilevelContent = 0;
constexpr std::int32_t greyContent = 1;
constexpr std::int32_t colorContent = 2;
constexpr std::int32_t colorBits = 24;
constexpr std::int32_t greyBits = 8;

constexpr std::int32_t compression = 4;
constexpr std::int32_t fileFormat = 4;
constexpr std::int32_t orientation = 0;
constexpr std::int32_t darkness = 5;
constexpr std::int32_t contrast = 5;
constexpr std::int32_t source = 2;

// Wraps at 32 bits: edges of areas far outside the bed overflow.
std::int32_t wrappedSum(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::int32_t mediaSize(const ScanArea& area) {
  // The horizontal resolution scales both directions: the parameter tree has only one.
  const double scale = mediaUnitsPerInch / static_cast<double>(static_cast<float>(area.xResolution));
  const bool photo = scale * wrappedSum(area.left, area.width) < photoWidth &&
                     scale * wrappedSum(area.top, area.height) < photoHeight;
  return photo ? photoMedia : pageMedia;
}

std::int32_t scaled(float factor, std::int32_t value) {
  // volatile: rounds the product to single precision even if the processor computes with higher precision.
  const volatile float product = factor * static_cast<float>(value);
  return saturatedToInt32(static_cast<float>(product));
}

template <typename Child>
Child* addOwned(MapElem& map, const char* name, std::unique_ptr<Child> child) {
  map.addChild(name, child.get());
  return child.release();
}

void addInteger(MapElem& map, const char* name, std::int32_t value) {
  addOwned(map, name, std::make_unique<IntegerElem>(value));
}

MapElem& addMap(MapElem& map, const char* name) {
  return *addOwned(map, name, std::make_unique<MapElem>());
}

void addCorner(MapElem& window, const char* name, std::int32_t x, std::int32_t y) {
  MapElem& corner = addMap(window, name);
  addInteger(corner, "x", x);
  addInteger(corner, "y", y);
}

}  // namespace

JobParameters jobParametersFor(const ScanArea& area) {
  const bool color = area.colorFlag != 0;
  JobParameters parameters{};
  parameters.originalMediaSize = mediaSize(area);
  const std::int32_t withoutColor = area.bitDepth == 1 ? bilevelContent : greyContent;
  parameters.contentType = color ? colorContent : withoutColor;
  parameters.bitDepth = color ? colorBits : greyBits;
  const bool reduced = color && area.xResolution > maxColorResolution;
  parameters.resolution = reduced ? maxColorResolution : area.xResolution;

  // volatile for the same reason as in scaled().
  const volatile float quotient =
      static_cast<float>(parameters.resolution) / static_cast<float>(area.xResolution);
  const float factor = quotient;
  parameters.windowLeft = scaled(factor, area.left);
  parameters.windowTop = scaled(factor, area.top);
  parameters.windowRight = scaled(factor, wrappedSum(area.left, area.width));
  parameters.windowBottom = scaled(factor, wrappedSum(area.top, area.height));
  return parameters;
}

std::unique_ptr<MapElem> jobParameterTree(const JobParameters& parameters) {
  auto tree = std::make_unique<MapElem>();
  MapElem& document = addMap(*tree, "documentParameters");
  addInteger(document, "compression", compression);
  addInteger(document, "fileFormat", fileFormat);

  MapElem& scan = addMap(*tree, "scanParameters");
  addInteger(scan, "orientation", orientation);
  addInteger(scan, "darkness", darkness);
  addInteger(scan, "contrast", contrast);
  addInteger(scan, "originalMediaSize", parameters.originalMediaSize);
  addInteger(scan, "contentType", parameters.contentType);
  addInteger(scan, "bitdepth", parameters.bitDepth);
  addInteger(scan, "resolution", parameters.resolution);
  addInteger(scan, "source", source);
  MapElem& window = addMap(scan, "scanWindow");
  addCorner(window, "topLeft", parameters.windowLeft, parameters.windowTop);
  addCorner(window, "bottomRight", parameters.windowRight, parameters.windowBottom);

  addMap(*tree, "usbParameters");
  return tree;
}
