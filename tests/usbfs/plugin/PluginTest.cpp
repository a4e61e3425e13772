#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "EmulatedUsbfs.h"
#include "ScannerInterface.h"
#include "TemporaryFolder.h"
#include "UsbStack.h"
#include "VirtualUsbStack.h"

namespace {

using namespace virtualscanner;

// The whole bed in colour at 75 dots per inch.
constexpr std::uint32_t width = 637, height = 876;

// The picture as the example writes it: all rows but the last, since rows are delivered with a lead of one.
std::string scannedOverVirtualStack() {
  VirtualScanner scanner;
  VirtualUsbStack stack(scanner);
  platform::useUsbStack(&stack);
  const intptr_t handle = EnableScanner();
  EXPECT_EQ(SetScanParameter(handle, 75, 75, 0, 0.0, 0.0, 8.5, 11.69), 1);
  EXPECT_EQ(StartScan(handle), 0);
  std::vector<std::uint8_t> rows(std::size_t{width} * 3 * height);
  std::uint32_t delivered = 0;
  EXPECT_EQ(ReadImage(handle, rows.data(), static_cast<std::uint32_t>(rows.size()), &delivered), 0);
  EXPECT_EQ(delivered, rows.size());
  EXPECT_EQ(DisableScanner(handle), 1);
  platform::useUsbStack(nullptr);
  return "P6\n637 875\n255\n" + std::string(rows.begin(), rows.end() - width * 3);
}

// What the library's runtime component puts below a prefix, and nothing else of this build.
std::string installedLibraryFolder(const TemporaryFolder& folder) {
  const std::string prefix = folder / "installed";
  const std::string install = std::string(Q750_CMAKE) + " --install " + Q750_BUILD +
                              " --component runtime --prefix " + prefix + " > " + (folder / "log");
  EXPECT_EQ(std::system(install.c_str()), 0);
  return prefix + "/" + Q750_LIBRARY_FOLDER;
}

// The library as it is installed, in a program in C, with its own time-outs.
TEST(Plugin, ScansThroughTheSystemsOwnUsbForAHostThatLoadsIt) {
  VirtualScanner scanner;
  EmulatedUsbfs usbfs(scanner, {});
  TemporaryFolder folder;
  const std::string page = folder / "page.ppm";
  const std::string scan =
      "LD_LIBRARY_PATH=" + installedLibraryFolder(folder) + " " + Q750_EXAMPLE + " " + page + " 75 color";
  ASSERT_EQ(std::system(scan.c_str()), 0);
  std::ifstream file(page, std::ios::binary);
  const std::string picture{std::istreambuf_iterator<char>(file), {}};
  EXPECT_TRUE(picture == scannedOverVirtualStack());
  EXPECT_EQ(scanner.lastRequest(), (PageRequest{75, true, 0, 0, width, height}));
  EXPECT_EQ(usbfs.requestsInFlight(), 0U);
}

}  // namespace
