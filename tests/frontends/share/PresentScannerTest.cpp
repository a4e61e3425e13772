#include <gtest/gtest.h>

#include "ScannerPresence.h"

namespace {

using namespace frontend;
using share::presentScanner;

ScannerEntry real(const std::string& name) {
  return {name, "Quenvar", "Q750", "flatbed scanner", false, true, ""};
}

TEST(PresentScanner, IsTheOneThatTheDeviceNameMeans) {
  const std::vector<ScannerEntry> both{real("usb:1-2"), real("usb:2-1"), virtualScanner()};
  EXPECT_EQ(presentScanner(both, ""), "usb:1-2");
  EXPECT_EQ(presentScanner(both, "usb"), "usb:1-2");
  EXPECT_EQ(presentScanner(both, "usb:2-1"), "usb:2-1");
  EXPECT_EQ(presentScanner(both, "usb:3-1"), "");
  EXPECT_EQ(presentScanner(both, "virtual"), "virtual");
}

TEST(PresentScanner, IsNeverTheVirtualOneInPlaceOfARealOne) {
  EXPECT_EQ(presentScanner({virtualScanner()}, ""), "");
  EXPECT_EQ(presentScanner({virtualScanner()}, "usb"), "");
  EXPECT_EQ(presentScanner({}, "virtual"), "");
}

TEST(PresentScanner, MayBeOneThatNobodyHasAccessToYet) {
  ScannerEntry locked = real("usb:1-2");
  locked.accessible = false;
  EXPECT_EQ(presentScanner({locked}, ""), "usb:1-2");
}

}  // namespace
