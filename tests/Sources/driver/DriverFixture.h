#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "CScannerDriver.h"
#include "Dialogue.h"
#include "Log.h"
#include "ScriptedUsbStack.h"

// A scripted USB stack with one scanner that drivers will find: pipe 1 takes requests, pipe 2 gives replies,
// pipe 3 gives the image. The log is not printed. Leaving anything held, or misusing it, fails the test.
class DriverFixture : public testing::Test {
 protected:
  static constexpr std::uint8_t outPipe = 1;
  static constexpr std::uint8_t replyPipe = 2;
  static constexpr std::uint8_t dataPipe = 3;

  DriverFixture() { platform::useLogSink(&silence_); }
  ~DriverFixture() override { platform::useLogSink(nullptr); }
  void TearDown() override { EXPECT_THAT(usb.misuse(), testing::IsEmpty()); }

  void plugScannerIn() {
    usb.addInterface({fakes::bulkOut(2, 64), fakes::bulkIn(11, 128), fakes::bulkIn(8, 512)});
  }

  // A driver with the scanner open; its calls so far are discarded.
  void openScanner() {
    plugScannerIn();
    driver.reset(CScannerDriver::create());
    usb.forgetCalls();
  }

  // Replies to the five calls of a job, the second one naming it.
  void queueReplies(const std::string& jobName = "job1") {
    for (const std::string& result :
         {std::string("ok"), jobName, std::string("ok"), std::string("ok"), std::string("ok")}) {
      usb.queueRead(replyPipe, response(result));
    }
  }

  // One whole job whose image arrives as one read, then silence.
  int scan(const std::string& picture) {
    queueReplies();
    usb.queueRead(dataPipe, imagePacket(picture));
    usb.queueStatus(dataPipe, platform::kIOUSBTransactionTimeout);
    return driver->startScan();
  }

  fakes::ScriptedUsbStack usb;
  fakes::ChosenUsbStack chosen{usb};
  std::unique_ptr<CScannerDriver> driver;

 private:
  class Silence final : public platform::LogSink {
   public:
    void line(const platform::LogLine& /*line*/) override {}
  };
  Silence silence_;
};
