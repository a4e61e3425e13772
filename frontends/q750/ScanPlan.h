#pragma once

#include <string>
#include <vector>

#include "CommandLine.h"
#include "PictureFormat.h"
#include "ScanSettings.h"

namespace frontend {

// What a scan is to do, everything decided.
struct ScanPlan {
  ScanSettings settings;
  PictureFormat format = PictureFormat::tiff;
  bool toStandardOutput = false;
  std::vector<std::string> notes;  // what the user should know about how it differs from what was asked for
};

// Decides. Touches no file and no device. Throws UsageError for values that cannot be.
ScanPlan planScan(const ScanOptions& options);

}  // namespace frontend
