#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "CScannerDriver.h"
#include "CallLog.h"
#include "DriverHandle.h"
#include "EmulatedUsbfs.h"
#include "HurriedUsbStack.h"
#include "LibusbStack.h"
#include "Log.h"
#include "PageImage.h"
#include "ScannerInterface.h"
#include "VirtualUsbStack.h"

namespace {

using namespace virtualscanner;

constexpr PageRequest page{75, false, 0, 0, 637, 876};

// What the host and the device can observe of a scan.
struct Outcome {
  int status = -1;
  bool open = false;
  std::uint32_t width = 0, rows = 0, bytesPerPixel = 0;
  std::vector<std::uint8_t> raster;
  std::vector<std::string> calls;
  std::uint32_t transfers = 0;

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << "status " << std::hex << outcome.status << std::dec << (outcome.open ? " open " : " closed ")
       << outcome.width << "x" << outcome.rows << "x" << outcome.bytesPerPixel << ", "
       << outcome.raster.size() << " bytes with hash "
       << std::hash<std::string>()({outcome.raster.begin(), outcome.raster.end()}) << ", "
       << outcome.calls.size() << " calls, " << outcome.transfers << " transfers";
}

Outcome scanOnce(const VirtualScanner& scanner, const CallLog& calls, intptr_t handle) {
  EXPECT_EQ(SetScanParameterEx(handle, 75, 75, 2, 0, 0, 10200, 14028), 1);
  Outcome outcome;
  outcome.status = StartScan(handle);
  const CScannerDriver& driver = driverBehind(handle);
  const ConvertedImage& image = driver.convertedImage();
  outcome.open = driver.deviceOpen();
  outcome.width = image.rowWidthPixels;
  outcome.rows = image.rowCount;
  outcome.bytesPerPixel = image.bytesPerPixel;
  outcome.raster.assign(image.pixels, image.pixels + image.length);
  outcome.calls = *calls;
  outcome.transfers = scanner.transfers();
  return outcome;
}

// Two scans, the second one after closing, plugging the device in again if it was unplugged, and opening.
using Outcomes = std::pair<Outcome, Outcome>;

template <typename PlugIn>
Outcomes scanTwice(VirtualScanner& scanner, platform::UsbStack& stack, const PlugIn& plugIn) {
  const CallLog calls = recordCalls(scanner);
  platform::useUsbStack(&stack);
  Outcomes outcomes;
  intptr_t handle = EnableScanner();
  outcomes.first = scanOnce(scanner, calls, handle);
  EXPECT_EQ(DisableScanner(handle), 1);
  plugIn();
  handle = EnableScanner();
  outcomes.second = scanOnce(scanner, calls, handle);
  EXPECT_EQ(DisableScanner(handle), 1);
  platform::useUsbStack(nullptr);
  return outcomes;
}

Outcomes overVirtualStack(const ScannerOptions& options) {
  VirtualScanner scanner(Paper::testChart(), options);
  VirtualUsbStack stack(scanner);
  return scanTwice(scanner, stack, [&scanner] {
    scanner.setFaults({});
    scanner.plugIn();
  });
}

Outcomes overLibusb(const ScannerOptions& options, bool largeRequests, std::uint32_t divisor) {
  VirtualScanner scanner(Paper::testChart(), options);
  EmulatedUsbfs usbfs(scanner, {.largeRequests = largeRequests});
  platform::LibusbStack stack;
  HurriedUsbStack hurried(stack, divisor);
  const Outcomes outcomes = scanTwice(scanner, hurried, [&usbfs] {
    bool pluggedIn = true;
    usbfs.withScanner([&pluggedIn](VirtualScanner& device) {
      device.setFaults({});
      pluggedIn = device.pluggedIn();
    });
    if (!pluggedIn) usbfs.plugIn();
  });
  EXPECT_EQ(usbfs.requestsInFlight(), 0U);
  return outcomes;
}

struct Case {
  std::vector<Fault> faults;

  std::string name() const {
    std::string name;
    for (const Fault& fault : faults) {
      for (const char letter : describe(fault.kind).name) name += letter == '-' ? '_' : letter;
      name += std::to_string(fault.position) + "_";
    }
    return name + "end";
  }
};

class SameOutcome : public testing::TestWithParam<Case> {
 protected:
  SameOutcome() { platform::useLogSink(&quiet_); }
  ~SameOutcome() override { platform::useLogSink(nullptr); }

  ScannerOptions options() const {
    ScannerOptions options;
    options.packetPayload = 1000;
    options.faults = GetParam().faults;
    return options;
  }
  // A pause of a busy machine counts as silence of the device where it is longer than a divided time-out.
  // Such an attempt is repeated with longer ones.
  void expectSameOutcome(bool largeRequests) {
    testing::internal::CaptureStderr();
    Outcomes expected = overVirtualStack(options());
    Outcomes outcomes;
    for (const std::uint32_t divisor : {100U, 20U, 5U}) {
      outcomes = overLibusb(options(), largeRequests, divisor);
      // A read in several requests is several transfers to the device.
      if (!largeRequests) {
        expected.first.transfers = outcomes.first.transfers;
        expected.second.transfers = outcomes.second.transfers;
      }
      if (outcomes == expected) break;
    }
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(outcomes.first, expected.first);
    EXPECT_EQ(outcomes.second, expected.second);
    EXPECT_TRUE(outcomes.second.raster == paintPage(Paper::testChart(), page)) << "everything works again";
  }

 private:
  struct QuietSink final : platform::LogSink {
    void line(const platform::LogLine&) override {}
  };
  QuietSink quiet_;
};

TEST_P(SameOutcome, OverLibusbInLargeRequests) {
  expectSameOutcome(true);
}

using enum FaultKind;
constexpr auto untilGone = [](FaultKind kind, std::uint32_t position) {
  return Case{{{kind, position}, {unplug, 12}}};
};

INSTANTIATE_TEST_SUITE_P(
    Faults, SameOutcome,
    testing::Values(Case{}, Case{{{stall, 8}}}, untilGone(stall, 1), untilGone(stall, 2), untilGone(stall, 3),
                    untilGone(stall, 7), Case{{{stall, 14}}}, Case{{{timeOut, 7}}}, Case{{{timeOut, 8}}},
                    Case{{{timeOut, 6}}}, Case{{{timeOut, 15}}}, untilGone(timeOut, 1), untilGone(timeOut, 4),
                    Case{{{unplug, 1}}}, Case{{{unplug, 4}}}, Case{{{unplug, 7}}}, Case{{{unplug, 9}}},
                    Case{{{unplug, 13}}}, Case{{{unplug, 14}}}, Case{{{unplug, 17}}},
                    untilGone(shortWrite, 2), Case{{{shortWrite, 5}}}, untilGone(exceptionReply, 2),
                    Case{{{exceptionReply, 4}}}, untilGone(splitReply, 2), Case{{{splitReply, 5}}},
                    Case{{{garbageReply, 1}}}, untilGone(garbageReply, 2), Case{{{garbage, 100000}}},
                    Case{{{truncatedImage, 100500}}}, Case{{{wrongHeader, 1}}}, Case{{{wrongHeader, 2}}},
                    Case{{{wrongHeader, 3}}}, Case{{{wrongHeader, 4}}}, Case{{{silence, 3}}},
                    untilGone(silence, 0)),
    [](const auto& row) { return row.param.name(); });

// The positions of these do not count transfers.
class SameOutcomeInSmallRequests : public SameOutcome {};

TEST_P(SameOutcomeInSmallRequests, OverLibusb) {
  expectSameOutcome(false);
}

INSTANTIATE_TEST_SUITE_P(Faults, SameOutcomeInSmallRequests,
                         testing::Values(Case{}, Case{{{shortWrite, 5}}}, Case{{{exceptionReply, 4}}},
                                         Case{{{splitReply, 5}}}, Case{{{garbageReply, 3}}},
                                         Case{{{garbage, 100000}}}, Case{{{truncatedImage, 100500}}},
                                         Case{{{wrongHeader, 1}}}, Case{{{stall, 4}, {unplug, 12}}},
                                         Case{{{unplug, 5}}}),
                         [](const auto& row) { return row.param.name(); });

}  // namespace
