#pragma once

#include <cstdint>
#include <memory>

#include "MapElem.h"
#include "ScanArea.h"

// What a job tells the device about the scan: computed from the area that the host set. Fixed values of the
// parameter tree are not here. The codes are the device's own.
struct JobParameters {
  std::int32_t originalMediaSize;
  std::int32_t contentType;
  std::int32_t bitDepth;
  std::int32_t resolution;  // dots per inch, both directions
  // Corner to corner in pixels at `resolution`; vertical values are scaled by the horizontal factor as well.
  std::int32_t windowLeft;
  std::int32_t windowTop;
  std::int32_t windowRight;
  std::int32_t windowBottom;
};

// Defined for every area: what cannot be represented saturates, and a horizontal resolution of 0 makes what
// dividing by it makes.
JobParameters jobParametersFor(const ScanArea& area);

// The tree that the calls "enterHostUSBSendMode" and "create" carry. Throws std::bad_alloc.
std::unique_ptr<MapElem> jobParameterTree(const JobParameters& parameters);
