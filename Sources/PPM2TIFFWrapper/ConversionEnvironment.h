#pragma once

#include <cstddef>
#include <string>

// What the conversion takes from its surroundings, one for the process. LibraryEnvironment changes it for the
// scan worker, and tests do.
struct ConversionEnvironment {
  // Where the TIFF goes.
  std::string tiffPath = "/tmp/scan.tiff";
  // Gets the raster's block: zero-filled, or null, as calloc(). free() must be able to take it.
  void* (*allocateZeroed)(std::size_t count, std::size_t size);
};

ConversionEnvironment& conversionEnvironment();
