#include "PageRequest.h"

#include <string>

#include "Element.h"
#include "Exceptions.h"
#include "Glass.h"

namespace virtualscanner {
namespace {

constexpr int colorContent = 2;
constexpr int greyContent = 1;

struct Corner {
  std::int64_t x;
  std::int64_t y;
};

Element& child(Element& parent, const char* name) {
  try {
    return *parent.getChildRaw(std::string(name));
  } catch (const ObjectStoreException&) {
    throw ObjectStoreException(std::string("the parameter ") + name + " is missing");
  }
}

int integer(Element& parent, const char* name) {
  Element& element = child(parent, name);
  try {
    return element.intValue();
  } catch (const ObjectStoreException&) {
    throw ObjectStoreException(std::string("the parameter ") + name + " is not a number");
  }
}

Corner corner(Element& window, const char* name) {
  Element& element = child(window, name);
  return {integer(element, "x"), integer(element, "y")};
}

bool readColor(Element& scan) {
  const int contentType = integer(scan, "contentType");
  const int bitdepth = integer(scan, "bitdepth");
  if (contentType == colorContent && bitdepth == 24) return true;
  if (contentType == greyContent && bitdepth == 8) return false;
  throw ObjectStoreException("contentType and bitdepth are neither 2 and 24 (colour) nor 1 and 8 (grey)");
}

void setWindow(PageRequest& request, Corner topLeft, Corner bottomRight) {
  const std::int64_t width = bottomRight.x - topLeft.x;
  const std::int64_t height = bottomRight.y - topLeft.y;
  if (width < 1 || height < 1) throw ObjectStoreException("the scan window is empty");
  const std::int64_t unitsPerPixel = unitsPerInch / request.resolution;
  if (width * unitsPerPixel > largestWindowInGlasses * glassWidth ||
      height * unitsPerPixel > largestWindowInGlasses * glassHeight) {
    throw ObjectStoreException("the scan window is larger than this device can scan");
  }
  request.left = static_cast<std::int32_t>(topLeft.x);
  request.top = static_cast<std::int32_t>(topLeft.y);
  request.width = static_cast<std::uint32_t>(width);
  request.height = static_cast<std::uint32_t>(height);
}

}  // namespace

PageRequest decodePageRequest(Element& parameters) {
  Element& scan = child(parameters, "scanParameters");
  const int resolution = integer(scan, "resolution");
  if (!isResolution(resolution)) {
    throw ObjectStoreException("the resolution is none of 75, 150, 200, 300, 400 and 600 dots per inch");
  }
  PageRequest request;
  request.resolution = static_cast<std::uint32_t>(resolution);
  request.color = readColor(scan);
  Element& window = child(scan, "scanWindow");
  const Corner topLeft = corner(window, "topLeft");
  setWindow(request, topLeft, corner(window, "bottomRight"));
  return request;
}

}  // namespace virtualscanner
