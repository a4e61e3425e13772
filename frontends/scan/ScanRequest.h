#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PictureLayout.h"
#include "ScanLimits.h"
#include "ScanSettings.h"
#include "Tone.h"

namespace frontend {

// Options of the virtual scanner alone.
struct VirtualScannerOptions {
  std::string paper;                 // a PNG, JPEG or PNM file on the glass; empty for the test chart
  std::vector<std::string> faults;   // to inject: "stall", "stall:7"
  std::uint32_t packetSize = 0;      // image bytes in one packet; 0 for the default
  bool realTime = false;             // whether USB time-outs take real time or expire at once
  std::uint32_t warmUpMs = 0;        // before the first byte of the picture
  std::uint32_t bytesPerSecond = 0;  // of the picture; 0 for as fast as it is read
};

// One scan by one scanner, as a front end requests it from a worker.
struct ScanRequest {
  std::string scanner;    // its name, see ScannerName.h
  ScanSettings settings;  // mode gray where there is a threshold
  // Makes the picture lineart: gray values below it become black, the others white.
  std::optional<std::uint8_t> threshold;
  // Applied to every sample of a color or gray picture. Neutral where there is a threshold: of a tone and a
  // threshold, only the threshold would show.
  Tone tone;
  // Time-out for silence: the scan ends as timed out when the scanner sends no byte for longer, the wait for
  // the first byte included. At least 1; 2^32 and more count as 2^32 - 1.
  std::chrono::milliseconds timeout = limits::defaultTimeout;
  VirtualScannerOptions virtualScanner;
  bool verbose = false;  // whether the worker prints the library's log to standard error
};

// The layout of the picture: the scanner delivers exactly what is requested.
PictureLayout expectedLayout(const ScanRequest& request);

}  // namespace frontend
