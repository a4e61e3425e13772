#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "Bed.h"
#include "CallLog.h"
#include "ConversionEnvironment.h"
#include "FailingAllocation.h"
#include "Fault.h"
#include "FileKeeping.h"
#include "HookedUsbStack.h"
#include "Log.h"
#include "ScanSession.h"
#include "ScriptedUsbStack.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

namespace {

using namespace frontend;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using virtualscanner::Paper;

ScanSettings smallScan(ColorMode mode = ColorMode::color) {
  return {75, mode, {100, 60, 317, 211}};
}

// Keeps the picture of one scan.
class Page final : public PictureListener {
 public:
  std::optional<ScanOutcome> begins(const PictureHeader& header) override {
    width = header.width();
    height = header.height();
    bytesPerPixel = header.bytesPerPixel();
    return std::nullopt;
  }
  bool raster(const std::uint8_t* bytes, std::size_t count) override {
    pixels.insert(pixels.end(), bytes, bytes + count);
    return true;
  }
  // Takes memory, as a report does.
  void isWhole() override { report = std::string(100, ' '); }

  std::string report;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t bytesPerPixel = 0;
  std::vector<std::uint8_t> pixels;
};

// The scanner small enough that a small scan takes many transfers.
class Scanning : public testing::Test {
 protected:
  static virtualscanner::ScannerOptions manyTransfers() {
    virtualscanner::ScannerOptions options;
    options.packetPayload = 5000;
    options.transferBytes = 20000;
    return options;
  }

  ScanOutcome scan(const ScanSettings& settings, SessionHooks hooks = {}) {
    session.reset();  // the one before, which holds the scanner
    page = {};
    hooks.picture = &page;
    session = std::make_unique<ScanSession>(stack, settings, hooks);
    return session->run();
  }
  void inject(const char* fault) { scanner.setFaults({*virtualscanner::parseFault(fault)}); }

  virtualscanner::VirtualScanner scanner{Paper::testChart(), manyTransfers()};
  const CallLog calls = recordCalls(scanner);
  virtualscanner::VirtualUsbStack stack{scanner};
  Page page;
  std::unique_ptr<ScanSession> session;
};

// Whether the page is what lies on the glass.
void expectChart(const Page& page, const ScanSettings& settings) {
  ASSERT_EQ(page.width, settings.area.width);
  ASSERT_EQ(page.height, settings.area.height);
  ASSERT_EQ(page.bytesPerPixel, settings.bytesPerPixel());
  const std::size_t rowBytes = std::size_t{page.width} * page.bytesPerPixel;
  ASSERT_EQ(page.pixels.size(), rowBytes * page.height);
  std::vector<std::uint8_t> expected(std::size_t{page.width} * 3);
  for (std::uint32_t y = 0; y < page.height; ++y) {
    Paper::testChart()->paintRow(settings.resolution, settings.area.top + y, settings.area.left, page.width,
                                 expected.data());
    std::vector<std::uint8_t> row = expected;
    if (settings.mode == ColorMode::gray) {
      row.resize(page.width);
      for (std::size_t x = 0; x < row.size(); ++x) {
        row[x] = virtualscanner::greyOf({expected[3 * x], expected[3 * x + 1], expected[3 * x + 2]});
      }
    }
    ASSERT_TRUE(std::equal(row.begin(), row.end(), page.pixels.data() + y * rowBytes)) << "row " << y;
  }
}

TEST_F(Scanning, DeliversThePageOfTheGlassInEveryModeAndResolution) {
  for (const ColorMode mode : {ColorMode::color, ColorMode::gray}) {
    for (const std::uint32_t resolution : bedResolutions) {
      if (trueResolution(mode, resolution) != resolution) continue;
      const ScanSettings settings{resolution, mode, {resolution / 2, resolution / 3 + 1, 151, 97}};
      EXPECT_EQ(scan(settings).status, ScanStatus::good);
      expectChart(page, settings);
    }
  }
}

TEST_F(Scanning, DeliversTheWholeGlass) {
  const ScanSettings settings{75, ColorMode::color, wholeBed(75)};
  EXPECT_EQ(scan(settings).sentence, "The page was scanned.");
  expectChart(page, settings);
}

TEST_F(Scanning, LeavesTheScannerReady) {
  scan(smallScan());
  session.reset();
  EXPECT_EQ(stack.unreleased().total(), 0U);
  EXPECT_THAT(*calls, ElementsAre("system.enterHostUSBSendMode", "jobFactory.create", HasSubstr(".start"),
                                  HasSubstr(".scanJob.done"), "system.exitHostUSBSendMode"));
}

TEST_F(Scanning, BringsTheUsbStackOfTheProcessBack) {
  platform::UsbStack* before = &platform::usbStack();
  scan(smallScan());
  EXPECT_NE(&platform::usbStack(), before);
  session.reset();
  EXPECT_EQ(&platform::usbStack(), before);
}

// What a host gets, and what people who share the machine would: the library's copy of the
// picture, its files.
TEST_F(Scanning, MakesNoCopyOfThePictureAndNoFiles) {
  const auto allocationBefore = conversionEnvironment().allocateZeroed;
  EXPECT_TRUE(platform::filesAreKept());
  EXPECT_TRUE(scan(smallScan()).good());
  EXPECT_FALSE(platform::filesAreKept());
  EXPECT_EQ(conversionEnvironment().allocateZeroed(1, 1), nullptr);
  session.reset();
  EXPECT_TRUE(platform::filesAreKept());
  EXPECT_EQ(conversionEnvironment().allocateZeroed, allocationBefore);
}

struct FaultCase {
  const char* fault;
  ScanStatus status;
  const char* words;
};

TEST_F(Scanning, TellsEveryFaultByStatusAndSentence) {
  const FaultCase cases[] = {
      {"stall@1", ScanStatus::ioError, "the pipe stalled"},
      {"stall@4", ScanStatus::ioError, "the pipe stalled"},
      {"stall@7", ScanStatus::ioError, "the pipe stalled"},
      {"stall@9", ScanStatus::ioError, "the pipe stalled"},
      {"time-out@1", ScanStatus::timedOut, "does not respond (request \"enterHostUSBSendMode\")"},
      {"time-out@4", ScanStatus::good, ""},
      {"time-out@6", ScanStatus::good, ""},
      {"time-out@7", ScanStatus::good, ""},
      {"time-out@9", ScanStatus::good, ""},
      {"short-write@2", ScanStatus::timedOut, "does not respond (request \"create\")"},
      {"unplug@1", ScanStatus::noDevice, "was disconnected"},
      {"unplug@6", ScanStatus::noDevice, "was disconnected"},
      {"unplug@9", ScanStatus::noDevice, "was disconnected"},
      {"exception-reply@2", ScanStatus::refused, "Its reason: \"refused by fault injection\""},
      {"exception-reply@3", ScanStatus::refused, "refused the scan"},
      {"exception-reply@4", ScanStatus::good, ""},
      {"split-reply@1", ScanStatus::good, ""},
      {"split-reply@2", ScanStatus::good, ""},
      {"split-reply@3", ScanStatus::good, ""},
      {"garbage-reply@2", ScanStatus::badData, "unreadable reply (request \"create\")"},
      {"garbage-reply@5", ScanStatus::good, ""},
      {"garbage@0", ScanStatus::badData, "garbled"},
      {"garbage@100000", ScanStatus::badData, "garbled"},
      {"truncated-image@0", ScanStatus::timedOut, "sent no data for 30 seconds"},
      {"truncated-image@10", ScanStatus::timedOut, "sent no data for 30 seconds"},
      {"truncated-image@100000", ScanStatus::timedOut, "rows arrived, then no data for 30 seconds"},
      {"wrong-header@1", ScanStatus::badData, "cannot be read: its header gives no size"},
      {"wrong-header@2", ScanStatus::badData, "cannot be read: its format is unknown"},
      {"wrong-header@3", ScanStatus::badData, "cannot be read: its header gives an impossible size"},
      {"wrong-header@4", ScanStatus::badData, "cannot be read: it begins with no header"},
      {"silence@3", ScanStatus::good, ""},
      {"silence@119", ScanStatus::good, ""},
      {"silence@120", ScanStatus::timedOut, "sent no data for 30 seconds"},
      {"silence@0", ScanStatus::timedOut, "sent no data for 30 seconds"},
  };
  for (const FaultCase& one : cases) {
    scanner.plugIn();
    inject(one.fault);
    const ScanOutcome outcome = scan(smallScan());
    EXPECT_EQ(outcome.status, one.status) << one.fault << ": " << outcome.sentence;
    EXPECT_THAT(outcome.sentence, HasSubstr(one.words)) << one.fault;
    EXPECT_EQ(page.pixels.size() == std::size_t{317 * 211 * 3}, outcome.good()) << one.fault;
    session.reset();
    EXPECT_EQ(stack.unreleased().total(), 0U) << one.fault;
  }
}

TEST_F(Scanning, WorksAgainAfterEveryFault) {
  for (const auto& fault : virtualscanner::faultTable()) {
    scanner.plugIn();
    scanner.setFaults({{fault.kind, fault.defaultPosition}});
    scan(smallScan());
    session.reset();
    scanner.setFaults({});
    if (!scanner.pluggedIn()) scanner.plugIn();
    EXPECT_TRUE(scan(smallScan()).good()) << fault.name;
    expectChart(page, smallScan());
    session.reset();
  }
}

TEST_F(Scanning, PrintsNothingEvenWhereTheScannerTalksNonsense) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (const char* fault :
       {"garbage-reply@1", "garbage-reply@2", "garbage-reply@4", "garbage@0", "wrong-header@4"}) {
    inject(fault);
    scan(smallScan());
    session.reset();
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Scanning, CanBeCancelledBeforeAnyTransfer) {
  HookedUsbStack counting(stack, [](int) {});
  ScanSession(counting, smallScan(), {}).run();
  const int all = counting.transfers();
  ASSERT_GT(all, 12);
  for (int at = 1; at <= all; ++at) {
    Cancellation cancel;
    HookedUsbStack hooked(stack, [&](int transfer) {
      if (transfer == at) cancel.request();
    });
    SessionHooks hooks;
    hooks.cancel = &cancel;
    ScanSession cancelled(hooked, smallScan(), hooks);
    const ScanOutcome outcome = cancelled.run();
    EXPECT_EQ(outcome.status, ScanStatus::cancelled) << "at transfer " << at;
    // The transfer in progress is the last, except those that only report success to the scanner.
    EXPECT_EQ(hooked.transfers(), at < all - 4 ? at : all) << "at transfer " << at;
  }
  EXPECT_EQ(stack.unreleased().total(), 0U);
  EXPECT_TRUE(scan(smallScan()).good());
}

TEST_F(Scanning, TellsThatTheLibraryRanOutOfMemory) {
  HookedUsbStack hooked(stack, [](int transfer) {
    if (transfer == 12) throw std::bad_alloc();
  });
  EXPECT_EQ(ScanSession(hooked, smallScan(), {}).run().status, ScanStatus::noMemory);
  EXPECT_EQ(stack.unreleased().total(), 0U);
}

// A scan for each allocation that it makes, each from a scanner of its own: after some the next one would be
// refused. Most failures are reported as such. The driver mistakes those of its search for a missing scanner,
// and continues without a reply that it could not store. Returns the number of scans.
int failEachAllocation(const virtualscanner::ScannerOptions& options, const ScanSettings& settings) {
  int n = 1;
  int outOfMemory = 0;
  for (bool happened = true; happened; ++n) {
    virtualscanner::VirtualScanner scanner(Paper::testChart(), options);
    virtualscanner::VirtualUsbStack stack(scanner);
    Page page;
    SessionHooks hooks;
    hooks.picture = &page;
    ScanOutcome outcome;
    {
      ScanSession session(stack, settings, hooks);
      const FailingAllocation nth(n);
      outcome = session.run();
      happened = nth.happened();
    }
    if (outcome.status == ScanStatus::noMemory) ++outOfMemory;
    if (outcome.good()) expectChart(page, settings);
    EXPECT_EQ(stack.unreleased().total(), 0U) << "allocation " << n;
    EXPECT_TRUE(happened || outcome.good()) << outcome.sentence;
  }
  EXPECT_GT(outOfMemory, 100);
  return n;
}

TEST_F(Scanning, EndsInOrderWhicheverAllocationFails) {
  EXPECT_GT(failEachAllocation(manyTransfers(), smallScan()), 500);
}

// A library that misses this transfer has missed the picture.
TEST_F(Scanning, EndsInOrderWhicheverAllocationFailsWhereThePictureIsOneTransfer) {
  EXPECT_GT(failEachAllocation({}, {75, ColorMode::color, {15, 15, 89, 59}}), 500);
}

TEST_F(Scanning, DoesNotBeginWhenItIsCancelledAlready) {
  Cancellation cancel;
  cancel.request();
  SessionHooks hooks;
  hooks.cancel = &cancel;
  EXPECT_EQ(scan(smallScan(), hooks).sentence, "The scan was cancelled; nothing was saved.");
  EXPECT_THAT(*calls, IsEmpty());
}

TEST_F(Scanning, CanBeGivenMoreOrLessPatience) {
  inject("silence@9");
  SessionHooks hooks;
  hooks.timeoutMs = 10 * 250;
  EXPECT_TRUE(scan(smallScan(), hooks).good());
  session.reset();
  inject("silence@9");
  hooks.timeoutMs = 9 * 250;
  EXPECT_THAT(scan(smallScan(), hooks).sentence, HasSubstr("no data for 3 seconds"));
}

TEST_F(Scanning, WaitsForNothingAfterTheLastByte) {
  EXPECT_TRUE(scan(smallScan()).good());
  EXPECT_EQ(stack.nowMs(), 0U);
}

TEST_F(Scanning, WaitsAMomentWhereTheScannerEndsItsPictureInNoVisibleWay) {
  auto options = manyTransfers();
  options.zeroLengthPackets = virtualscanner::ZeroLengthPackets::never;
  options.transferBytes = 512;
  virtualscanner::VirtualScanner other(Paper::testChart(), options);
  virtualscanner::VirtualUsbStack otherStack(other);
  EXPECT_TRUE(ScanSession(otherStack, smallScan(), {}).run().good());
  EXPECT_LE(otherStack.nowMs(), 1000U);
}

TEST_F(Scanning, TellsThatNoScannerIsThere) {
  scanner.unplug();
  const ScanOutcome outcome = scan(smallScan());
  EXPECT_EQ(outcome.status, ScanStatus::noDevice);
  EXPECT_THAT(outcome.sentence, HasSubstr("No scanner was found."));
}

TEST_F(Scanning, WorksWithTheAlternateSetting) {
  virtualscanner::ScannerOptions options;
  options.alternateSettings = true;
  virtualscanner::VirtualScanner other(Paper::testChart(), options);
  virtualscanner::VirtualUsbStack otherStack(other);
  EXPECT_TRUE(ScanSession(otherStack, smallScan(), {}).run().good());
}

TEST_F(Scanning, GivesTheLibrarysLogToWhoWantsIt) {
  class CountingSink final : public platform::LogSink {
   public:
    void line(const platform::LogLine& /*line*/) override { ++lines; }
    int lines = 0;
  } sink;
  SessionHooks hooks;
  hooks.log = &sink;
  scan(smallScan(), hooks);
  EXPECT_EQ(sink.lines, 7);
}

TEST(OpeningAScanner, TellsWhyItFailed) {
  const struct {
    platform::IOReturn failure;
    ScanStatus status;
  } cases[] = {
      {platform::kIOReturnExclusiveAccess, ScanStatus::busy},
      {platform::kIOReturnBusy, ScanStatus::busy},
      {platform::kIOReturnNotPermitted, ScanStatus::accessDenied},
      {platform::kIOReturnNotPrivileged, ScanStatus::accessDenied},
      {platform::kIOReturnNoDevice, ScanStatus::noDevice},
      {platform::kIOReturnIOError, ScanStatus::ioError},
  };
  for (const auto& one : cases) {
    fakes::ScriptedUsbStack usb;
    usb.addInterface({fakes::bulkOut(2), fakes::bulkIn(11), fakes::bulkIn(8)});
    usb.failNext("interface 1.open", one.failure);
    { EXPECT_EQ(ScanSession(usb, smallScan(), {}).run().status, one.status); }
    EXPECT_THAT(usb.leftovers(), IsEmpty());
  }
}

TEST(OpeningAScanner, RefusesADeviceWithoutTheThreePipes) {
  fakes::ScriptedUsbStack usb;
  usb.addInterface({fakes::bulkOut(2), fakes::bulkIn(11)});
  const ScanOutcome outcome = ScanSession(usb, smallScan(), {}).run();
  EXPECT_EQ(outcome.status, ScanStatus::noDevice);
  EXPECT_THAT(outcome.sentence, HasSubstr("not a Quenvar Q750"));
}

TEST(OpeningAScanner, GivesEverythingBackWhicheverCallFails) {
  for (int n = 1; n < 30; ++n) {
    fakes::ScriptedUsbStack usb;
    usb.addInterface({fakes::bulkOut(2), fakes::bulkIn(11), fakes::bulkIn(8)});
    usb.failCall(n, platform::kIOReturnIOError);
    { EXPECT_FALSE(ScanSession(usb, smallScan(), {}).run().good()); }
    EXPECT_THAT(usb.leftovers(), IsEmpty()) << "call " << n;
    EXPECT_THAT(usb.misuse(), IsEmpty()) << "call " << n;
  }
}

}  // namespace
