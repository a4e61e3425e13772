#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "PageImage.h"
#include "Paper.h"
#include "SupervisedScan.h"

// What tests of supervised scans share.
namespace scans {

using Clock = std::chrono::steady_clock;

inline frontend::ScanRequest small(frontend::ColorMode mode = frontend::ColorMode::color) {
  frontend::ScanRequest request;
  request.scanner = "virtual";
  request.settings = {75, mode, {100, 60, 317, 211}};
  return request;
}

inline frontend::ScanRequest with(const char* fault) {
  frontend::ScanRequest request = small();
  request.virtualScanner.faults = {fault};
  return request;
}

// A longer one: about two seconds, in real time.
inline frontend::ScanRequest slow() {
  frontend::ScanRequest request = small();
  request.virtualScanner.realTime = true;
  request.virtualScanner.bytesPerSecond = 100000;
  return request;
}

inline std::vector<std::uint8_t> readAll(frontend::SupervisedScan& scan, std::size_t chunk = 65536) {
  std::vector<std::uint8_t> all;
  std::vector<std::uint8_t> buffer(chunk);
  while (const std::size_t count = scan.read(buffer.data(), buffer.size())) {
    all.insert(all.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
  }
  return all;
}

// The page on the glass, in this layout.
inline std::vector<std::uint8_t> page(const frontend::ScanRequest& request) {
  const frontend::ScanSettings& settings = request.settings;
  const auto& area = settings.area;
  virtualscanner::PageRequest window;
  window.resolution = settings.resolution;
  window.color = settings.mode == frontend::ColorMode::color;
  window.left = static_cast<std::int32_t>(area.left);
  window.top = static_cast<std::int32_t>(area.top);
  window.width = area.width;
  window.height = area.height;
  const std::vector<std::uint8_t> raster =
      virtualscanner::paintPage(virtualscanner::Paper::testChart(), window);
  if (!request.threshold) return raster;
  const std::size_t rowBytes = frontend::expectedLayout(request).rowBytes();
  std::vector<std::uint8_t> bits(rowBytes * area.height);
  for (std::size_t y = 0; y < area.height; ++y) {
    for (std::size_t x = 0; x < area.width; ++x) {
      if (raster[y * area.width + x] >= *request.threshold) continue;
      bits[y * rowBytes + x / 8] = static_cast<std::uint8_t>(bits[y * rowBytes + x / 8] | (1 << (7 - x % 8)));
    }
  }
  return bits;
}

inline std::size_t openDescriptors() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

inline std::chrono::milliseconds since(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

}  // namespace scans
