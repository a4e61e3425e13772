#pragma once

#include <cstddef>
#include <string>

// The external resources that the conversion uses, one set per process. Changed by LibraryEnvironment, for
// the scan worker, and by tests.
struct ConversionEnvironment {
  // Where the TIFF is written.
  std::string tiffPath = "/tmp/scan.tiff";
  // Allocates the raster's block: zero-filled, or null, like calloc(). free() must accept it.
  void* (*allocateZeroed)(std::size_t count, std::size_t size);
};

ConversionEnvironment& conversionEnvironment();
