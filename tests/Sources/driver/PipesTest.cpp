#include <array>

#include "DriverFixture.h"

namespace {

using platform::kIOReturnAborted;
using platform::kIOReturnNoDevice;
using platform::kIOReturnSuccess;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;

class Pipes : public DriverFixture {
 protected:
  Pipes() { openScanner(); }
};

TEST_F(Pipes, WriteToTheOutPipeWithBothTimeOuts) {
  const std::string bytes = "request";
  EXPECT_EQ(driver->WritePipeWithBuffer(bytes.data(), bytes.size()), kIOReturnSuccess);
  EXPECT_THAT(usb.calls(), ElementsAre("interface 1.writePipeTO(1, 7, 15000, 60000)"));
  EXPECT_EQ(usb.transfers().front().bytes, bytes);
}

TEST_F(Pipes, ReadRepliesFromTheReplyPipe) {
  usb.queueRead(replyPipe, "abc");
  std::array<char, 10> buffer{};
  unsigned long length = buffer.size();
  EXPECT_EQ(driver->ReadControlPipeToBuffer(buffer.data(), &length), kIOReturnSuccess);
  EXPECT_THAT(usb.calls(), ElementsAre("interface 1.readPipeTO(2, 10, 15000, 60000)"));
  EXPECT_EQ(std::string(buffer.data(), length), "abc");
}

TEST_F(Pipes, ReadDataFromTheDataPipe) {
  usb.queueRead(dataPipe, "abc");
  std::array<char, 2> buffer{};
  unsigned long length = buffer.size();
  EXPECT_EQ(driver->ReadDataPipeToBuffer(buffer.data(), &length), kIOReturnSuccess);
  EXPECT_THAT(usb.calls(), ElementsAre("interface 1.readPipeTO(3, 2, 15000, 60000)"));
  EXPECT_EQ(std::string(buffer.data(), length), "ab");
}

TEST_F(Pipes, ReturnTheStatusUnchangedAndTryOnce) {
  std::array<char, 4> buffer{};
  for (const platform::IOReturn status : {platform::kIOUSBTransactionTimeout, platform::kIOUSBPipeStalled}) {
    unsigned long length = buffer.size();
    usb.queueStatus(dataPipe, status);
    EXPECT_EQ(driver->ReadDataPipeToBuffer(buffer.data(), &length), status);
    EXPECT_EQ(length, 0U);
    usb.failNext("interface 1.writePipeTO", status);
    EXPECT_EQ(driver->WritePipeWithBuffer("x", 1), status);
  }
  EXPECT_EQ(usb.calls().size(), 4U);
}

TEST_F(Pipes, NeverTakeMoreBytesThanTheBufferHolds) {
  usb.queueReportedSize(replyPipe, "abcd", 4000);
  std::array<char, 4> buffer{};
  unsigned long length = buffer.size();
  driver->ReadControlPipeToBuffer(buffer.data(), &length);
  EXPECT_EQ(length, 4U);
}

TEST_F(Pipes, ClearAHaltOnAnInPipe) {
  EXPECT_EQ(driver->ClearEndpointStall(replyPipe), kIOReturnSuccess);
  EXPECT_THAT(usb.calls(),
              ElementsAre("interface 1.getPipeProperties(2)",
                          "interface 1.controlRequest(0, type 02 request 01 value 0000 index 008b length 0)",
                          "interface 1.clearPipeStallBothEnds(2)"));
}

TEST_F(Pipes, ClearAHaltOnAnOutPipe) {
  EXPECT_EQ(driver->ClearEndpointStall(outPipe), kIOReturnSuccess);
  EXPECT_THAT(usb.calls(),
              ElementsAre("interface 1.getPipeProperties(1)",
                          "interface 1.controlRequest(0, type 02 request 01 value 0000 index 0002 length 0)",
                          "interface 1.clearPipeStallBothEnds(1)"));
}

TEST_F(Pipes, StopClearingAtTheFirstFailingStep) {
  usb.failNext("interface 1.getPipeProperties", kIOReturnAborted);
  EXPECT_EQ(driver->ClearEndpointStall(dataPipe), kIOReturnAborted);
  EXPECT_EQ(usb.calls().size(), 1U);
  usb.failNext("interface 1.controlRequest", platform::kIOUSBPipeStalled);
  EXPECT_EQ(driver->ClearEndpointStall(dataPipe), platform::kIOUSBPipeStalled);
  EXPECT_EQ(usb.calls().size(), 3U);
  usb.failNext("interface 1.clearPipeStallBothEnds", platform::kIOReturnIOError);
  EXPECT_EQ(driver->ClearEndpointStall(dataPipe), platform::kIOReturnIOError);
}

TEST_F(Pipes, ClearReplyDataAndOutPipeInThisOrderWhateverFails) {
  usb.failNext("interface 1.getPipeProperties(2)", kIOReturnAborted);
  usb.failNext("interface 1.controlRequest(0, type 02 request 01 value 0000 index 0088", kIOReturnAborted);
  driver->ClearEndpoints();
  EXPECT_THAT(usb.calls(),
              ElementsAre("interface 1.getPipeProperties(2)", "interface 1.getPipeProperties(3)",
                          "interface 1.controlRequest(0, type 02 request 01 value 0000 index 0088 length 0)",
                          "interface 1.getPipeProperties(1)",
                          "interface 1.controlRequest(0, type 02 request 01 value 0000 index 0002 length 0)",
                          "interface 1.clearPipeStallBothEnds(1)"));
}

TEST_F(Pipes, AbortAndResetOutReplyAndDataPipe) {
  driver->AbortAndResetPipes();
  EXPECT_THAT(usb.calls(), ElementsAre("interface 1.abortPipe(1)", "interface 1.resetPipe(1)",
                                       "interface 1.abortPipe(2)", "interface 1.resetPipe(2)",
                                       "interface 1.abortPipe(3)", "interface 1.resetPipe(3)"));
}

TEST_F(Pipes, CloseClearsThenClosesThenReleases) {
  driver->ClosePipes();
  ASSERT_EQ(usb.calls().size(), 11U);  // three steps for each of the three pipes
  EXPECT_THAT(std::vector<std::string>(usb.calls().end() - 2, usb.calls().end()),
              ElementsAre("interface 1.close()", "interface 1.release()"));
  EXPECT_THAT(driver->interface(), IsNull());
  EXPECT_THAT(usb.leftovers(), IsEmpty());
}

TEST_F(Pipes, AreGoneAfterTheClose) {
  driver->ClosePipes();
  usb.forgetCalls();
  std::array<char, 4> buffer{};
  unsigned long length = buffer.size();
  EXPECT_EQ(driver->WritePipeWithBuffer("x", 1), kIOReturnNoDevice);
  EXPECT_EQ(driver->ReadControlPipeToBuffer(buffer.data(), &length), kIOReturnNoDevice);
  EXPECT_EQ(length, 0U);
  EXPECT_EQ(driver->ReadDataPipeToBuffer(buffer.data(), &length), kIOReturnNoDevice);
  EXPECT_EQ(driver->ClearEndpointStall(1), kIOReturnNoDevice);
  driver->ClearEndpoints();
  driver->AbortAndResetPipes();
  driver->ClosePipes();
  driver->DealWithPipes();
  EXPECT_THAT(usb.calls(), IsEmpty());
}

TEST_F(DriverFixture, AbortAndResetSkipsADataPipeThatIsNotThere) {
  usb.addInterface({fakes::bulkOut(2), fakes::bulkIn(11)});
  driver.reset(CScannerDriver::create());
  usb.forgetCalls();
  driver->AbortAndResetPipes();
  EXPECT_EQ(usb.calls().size(), 4U);
  EXPECT_THAT(usb.calls(), Each(testing::Not(testing::HasSubstr("(0)"))));
}

TEST_F(DriverFixture, TheDestructorClosesTheDevice) {
  openScanner();
  driver.reset();
  EXPECT_THAT(usb.leftovers(), IsEmpty());
}

TEST_F(DriverFixture, AnsweredCapabilitiesAreFixedInEveryState) {
  openScanner();
  for (int state = 0; state < 2; ++state) {
    EXPECT_EQ(driver->GetStatus(), -9900);
    EXPECT_EQ(driver->PushButtonStatus(), 0);
    driver->abortScan();
  }
}

TEST_F(DriverFixture, GetResolutionsReplacesTheListByANewOne) {
  openScanner();
  EXPECT_THAT(driver->resolutions(), IsNull());
  EXPECT_EQ(driver->GetResolutions(), 0);
  const auto* first = driver->resolutions();
  EXPECT_EQ(driver->GetResolutions(), 0);
  EXPECT_NE(driver->resolutions(), first);
  EXPECT_THAT(*first, ElementsAre(75, 150, 200, 300, 400, 600));  // still there
  EXPECT_THAT(*driver->resolutions(), ElementsAre(75, 150, 200, 300, 400, 600));
}

TEST_F(DriverFixture, InitializeScannerRestoresTheAreaButNotTheBytesPerPixel) {
  openScanner();
  driver->setScanParameter(75, 100, 2, 1, 2, 3, 4);
  EXPECT_EQ(driver->InitializeScanner(), 0);
  EXPECT_EQ(driver->scanArea().xResolution, 600);
  EXPECT_EQ(driver->scanArea().yResolution, 600);
  EXPECT_EQ(driver->scanArea().left, 0);
  EXPECT_EQ(driver->scanArea().top, 0);
  EXPECT_EQ(driver->scanArea().width, 5100);
  EXPECT_EQ(driver->scanArea().height, 7014);
  EXPECT_EQ(driver->scanArea().bitDepth, 24U);
  EXPECT_EQ(driver->scanArea().colorFlag, 1U);
  EXPECT_EQ(driver->convertedImage().bytesPerPixel, 1U);
}

}  // namespace
