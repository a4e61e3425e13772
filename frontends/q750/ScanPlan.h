#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "PictureFormat.h"
#include "PictureWriter.h"
#include "ScanRequest.h"

namespace frontend {

// What a scan is to do, everything decided but the scanner.
struct ScanPlan {
  ScanRequest request;  // `scanner` is empty
  std::string output;
  PictureFormat format = PictureFormat::tiff;
  PictureSettings pictureSettings;
  std::uint32_t pages = 1;
  bool toStandardOutput = false;
  bool filePerPage = false;
  std::vector<std::string> notes;  // what the user should know about how it differs from what was asked for
};

// Decides. Touches no device, and no file but the virtual scanner's paper. Throws UsageError for values that
// cannot be.
ScanPlan planScan(const ScanOptions& options);

// "2.5" seconds: 0.1 to 86400. Throws UsageError for anything else.
std::chrono::milliseconds timeoutOf(const std::string& timeout);

}  // namespace frontend
