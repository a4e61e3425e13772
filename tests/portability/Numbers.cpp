#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "BitmapExport.h"
#include "Dictionary.h"
#include "DoubleElem.h"
#include "JobParameters.h"
#include "MessageText.h"
#include "OutputFolder.h"
#include "RecordingLogSink.h"
#include "ScannerInterface.h"
#include "StringUtils.h"

namespace {

constexpr int resolutions[] = {75, 150, 200, 300, 400, 600, 7, 97, 1199, 1200, 2401, 100003, 0, -200};

const double doubles[] = {0.0,
                          -0.0,
                          0.1,
                          1.0 / 3,
                          2.5,
                          -7.999999999999999,
                          0.0000005,
                          0.00000049999999999999999,
                          123456789.123456789,
                          16777217,
                          2147483647.5,
                          -2147483648.5,
                          4294967295.9999995,
                          9007199254740993.0,
                          3.4028235677973366e38,
                          1e300,
                          5e-324,
                          std::numeric_limits<double>::max(),
                          std::numeric_limits<double>::infinity(),
                          std::numeric_limits<double>::quiet_NaN()};

// Sizes in pixels, which the driver prints, for edges of every kind.
void writeSizes() {
  const RecordingLogSink quiet;
  const intptr_t handle = EnableScanner();
  const auto printSize = [&] {
    unsigned long width = 0;
    unsigned long height = 0;
    GetScanParameter(handle, &width, &height);
  };
  for (const int resolution : resolutions) {
    for (std::uint32_t edge = 0; edge < 300; ++edge) {
      SetScanParameterEx(handle, resolution, 1200 - resolution, 0, edge, 0, edge * 15, 4000000000U + edge);
      printSize();
      const double inches = edge / 37.0;
      SetScanParameter(handle, resolution, resolution, 0, inches, 0.1, inches * 1.7, 0.1 + edge * 0.01);
      printSize();
    }
  }
  DisableScanner(handle);
}

void writeJobParameters(const OutputFolder& folder) {
  std::string all;
  for (const int resolution : resolutions) {
    for (std::int32_t edge = 0; edge < 3000; edge = edge * 3 + 1) {
      for (const std::uint32_t color : {0U, 1U}) {
        const ScanArea area{.xResolution = resolution,
                            .yResolution = resolution,
                            .left = edge,
                            .top = edge / 2,
                            .width = 2400 - edge,
                            .height = edge * 7 + 3,
                            .bitDepth = 24,
                            .colorFlag = color};
        all += response(*jobParameterTree(jobParametersFor(area)));
      }
    }
  }
  folder.write("job-parameters.xml", all);
}

void writeTexts(const OutputFolder& folder) {
  std::string all;
  for (const double number : doubles) {
    DoubleElem element(number);
    all += element.stringValue() + " " + iToString(element.intValue()) + " " + response(element);
    platform::Dictionary dictionary;
    dictionary.set("type", platform::Value("TWON_ONEVALUE"));
    dictionary.set("value", platform::Value(number));
    std::int32_t whole = 0;
    float fraction = 0;
    const std::int32_t wholeResult = GetIntFromDict(&dictionary, &whole);
    const std::int32_t fractionResult = GetFloatFromDict(&dictionary, &fraction);
    all += iToString(wholeResult) + " " + iToString(whole) + " " + iToString(fractionResult) + " " +
           fToString(fraction) + "\n";
  }
  folder.write("numbers.txt", all);
}

}  // namespace

void writeNumbers(const OutputFolder& folder) {
  writeSizes();
  writeJobParameters(folder);
  writeTexts(folder);
}
