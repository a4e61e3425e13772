#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "ConversionEnvironment.h"
#include "Data.h"
#include "PPM2TIFFWrapper.h"
#include "RecordingLogSink.h"
#include "SystemVersion.h"
#include "TemporaryFolder.h"

// Converts in a separate environment, with the variables that a host would have.
class ConversionTest : public testing::Test {
 protected:
  ConversionTest() { conversionEnvironment().tiffPath = tiffPath; }
  ~ConversionTest() override {
    std::free(raster);
    conversionEnvironment() = designed_;
    platform::restoreSystemVersion();
  }

  int convert(platform::Data* data) {
    return ConvertPPMToTIFF(data, &raster, &rasterLength, 300, 300, &width, &height, &samplesPerPixel);
  }
  int convert(const std::string& ppm) {
    const platform::DataRef data(platform::Data::withBytes(ppm.data(), ppm.size()));
    return convert(data.get());
  }
  // From now on there is no memory for a raster block; refusedBytes is the size that was requested.
  static void refuseBlocks() {
    conversionEnvironment().allocateZeroed = [](std::size_t count, std::size_t size) -> void* {
      refusedBytes = count * size;
      return nullptr;
    };
  }
  std::string rasterText() const { return {reinterpret_cast<const char*>(raster), rasterLength}; }
  bool wroteTiff() const { return !folder.names().empty(); }

  static constexpr std::uint32_t unset = 77;
  static inline std::size_t refusedBytes = 0;

  TemporaryFolder folder;
  const std::string tiffPath = folder / "scan.tiff";
  RecordingLogSink log;
  unsigned char* raster = nullptr;
  std::uint32_t rasterLength = unset;
  std::uint32_t width = unset;
  std::uint32_t height = unset;
  std::uint32_t samplesPerPixel = unset;

 private:
  const ConversionEnvironment designed_ = conversionEnvironment();
};
