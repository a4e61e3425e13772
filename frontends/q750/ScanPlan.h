#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "PictureFormat.h"
#include "PictureWriter.h"
#include "ScanRequest.h"

namespace frontend {

// Everything that "q750 scan" is to do, decided from its options before any device is touched.
struct ScanPlan {
  ScanRequest request;                // without `scanner`, which is chosen later
  std::optional<std::string> device;  // the scanner by its name; nothing for the only real one
  std::string output;                 // with the places for numbers, see FileName.h
  PictureFormat format = PictureFormat::tiff;
  PictureSettings pictureSettings;
  std::uint32_t pages = 1;
  std::uint32_t firstPage = 1;  // the number of the first one in names of files
  bool toStandardOutput = false;
  bool filePerPage = false;
  bool append = false;             // to the document, if it exists
  bool noClobber = false;          // a file that exists is an error
  std::vector<std::string> notes;  // sentences for the user: where the picture differs from the request
};

// Checks and interprets the options. Opens no device, and no file but the virtual scanner's paper. Throws
// UsageError for values that are wrong or contradict each other.
ScanPlan planScan(const ScanOptions& options);

// The value of --timeout. Throws UsageError for anything that is out of the range of ScanLimits.h.
std::chrono::milliseconds timeoutOf(const std::string& timeout);

}  // namespace frontend
