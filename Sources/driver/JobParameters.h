#pragma once

#include <cstdint>
#include <memory>

#include "MapElem.h"
#include "ScanArea.h"

// The scan as a job describes it to the device, computed from the area that the host set; the fixed values of
// the parameter tree are not part of it. The codes are defined by the device. A plain value.
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

// Defined for every area: values out of range saturate, and a division by a horizontal resolution of 0
// follows floating-point rules. Never fails.
JobParameters jobParametersFor(const ScanArea& area);

// The tree that is the parameter of the calls "enterHostUSBSendMode" and "create",
// detached. Throws std::bad_alloc.
std::unique_ptr<MapElem> jobParameterTree(const JobParameters& parameters);
