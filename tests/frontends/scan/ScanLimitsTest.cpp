#include <gtest/gtest.h>

#include "Bed.h"
#include "ScanLimits.h"
#include "ScanRequest.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;

TEST(TimeoutFromSeconds, TakesDecimalSecondsFromATenthToADay) {
  EXPECT_EQ(limits::timeoutFromSeconds("0.1"), 100ms);
  EXPECT_EQ(limits::timeoutFromSeconds("2.5"), 2500ms);
  EXPECT_EQ(limits::timeoutFromSeconds("30"), 30s);
  EXPECT_EQ(limits::timeoutFromSeconds("86400"), 24h);
}

TEST(TimeoutFromSeconds, RefusesWhatIsNoNumberOrOutOfRange) {
  for (const char* text : {"", "ten", "5s", " 5", "5 ", "-1", "0", "0.09", "86400.1", "1e99", "nan", "inf"})
    EXPECT_EQ(limits::timeoutFromSeconds(text), std::nullopt) << text;
}

TEST(ScanLimits, HaveDefaultsThatTheScannerCanScanWith) {
  EXPECT_TRUE(isBedResolution(limits::defaultResolution));
  EXPECT_EQ(trueResolution(limits::defaultMode, limits::defaultResolution), limits::defaultResolution);
  EXPECT_TRUE(isBedResolution(highestColorResolution));
  EXPECT_GE(limits::defaultTimeout, limits::shortestTimeout);
  EXPECT_LE(limits::defaultTimeout, limits::longestTimeout);
  EXPECT_EQ(limits::defaultThreshold, 128) << "half of 255, rounded up";
}

TEST(ScanLimits, AreTheDefaultsOfARequest) {
  const ScanRequest request;
  EXPECT_EQ(request.timeout, limits::defaultTimeout);
  EXPECT_EQ(request.settings.resolution, limits::defaultResolution);
  EXPECT_EQ(request.settings.mode, limits::defaultMode);
}

}  // namespace
