#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PictureLayout.h"
#include "ScanLimits.h"
#include "ScanSettings.h"

namespace frontend {

// What the virtual scanner alone understands.
struct VirtualScannerOptions {
  std::string paper;                // a PNG or PNM file on the glass; empty for the built-in test chart
  std::vector<std::string> faults;  // "stall", "stall@7": what goes wrong on purpose
  std::uint32_t packetSize = 0;     // image bytes in one packet; 0 for its own choice
  // Whether its time-outs take the time that they say; otherwise they pass at once.
  bool realTime = false;
  std::uint32_t warmUpMs = 0;        // before the first byte of the picture
  std::uint32_t bytesPerSecond = 0;  // of the picture; 0 for as fast as it is read
};

// What a front end asks a worker for: one scan by one scanner.
struct ScanRequest {
  std::string scanner;    // as ScannerList.h names it
  ScanSettings settings;  // mode gray where there is a threshold
  // Makes the picture lineart: grey values below it become black, the others white.
  std::optional<std::uint8_t> threshold;
  // The longest silence of the scanner, the one before the first byte included; longer ones end the scan as
  // timed out. At least 1; 2^32 and more count as 2^32 - 1.
  std::chrono::milliseconds timeout = limits::defaultTimeout;
  VirtualScannerOptions virtualScanner;
  bool verbose = false;  // whether the worker shows the library's log on standard error
};

// The layout that the picture of such a request has: the scanner delivers what it was asked for.
PictureLayout expectedLayout(const ScanRequest& request);

}  // namespace frontend
