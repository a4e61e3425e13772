#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
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

// What a page of 75 dots per inch of part of the bed has.
constexpr std::uint32_t rowBytes = 229 * 3, rows = 264;

std::vector<char> scannedOverVirtualStack() {
  VirtualScanner scanner;
  VirtualUsbStack stack(scanner);
  platform::useUsbStack(&stack);
  const intptr_t handle = EnableScanner();
  EXPECT_EQ(SetScanParameterEx(handle, 75, 75, 0, 333, 777, 4001, 5005), 1);
  EXPECT_EQ(StartScan(handle), 0);
  std::vector<char> bytes(std::size_t{rowBytes} * rows);
  std::uint32_t got = 0;
  while (got < bytes.size()) {
    std::uint32_t delivered = 0;
    const auto left = static_cast<std::uint32_t>(bytes.size()) - got;
    EXPECT_EQ(ReadImage(handle, reinterpret_cast<std::uint8_t*>(&bytes[got]), left, &delivered), 0);
    if (delivered == 0) break;
    got += delivered;
  }
  EXPECT_EQ(DisableScanner(handle), 1);
  platform::useUsbStack(nullptr);
  return bytes;
}

// The library as it is built, in a program in C, with the time-outs that it has.
TEST(Plugin, ScansThroughTheSystemsOwnUsbForAHostThatLoadsIt) {
  VirtualScanner scanner;
  EmulatedUsbfs usbfs(scanner, {});
  TemporaryFolder folder;
  const std::string result = folder / "rows";
  const std::string command = std::string(Q750_HOST) + " " + Q750_PLUGIN + " " + result + " " +
                              std::to_string(rowBytes) + " " + std::to_string(rows);
  ASSERT_EQ(std::system(command.c_str()), 0);
  std::ifstream file(result, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  EXPECT_TRUE(bytes == scannedOverVirtualStack());
  EXPECT_EQ(scanner.lastRequest(), (ScanRequest{75, true, 20, 48, 229, 264}));
  EXPECT_EQ(usbfs.requestsInFlight(), 0U);
}

}  // namespace
