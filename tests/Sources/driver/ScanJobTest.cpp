#include <cstdlib>

#include "DriverFixture.h"
#include "JobSpies.h"
#include "ScanJob.h"
#include "ScannerInterface.h"

namespace {

using platform::kIOReturnAborted;
using platform::kIOReturnNoDevice;
using platform::kIOUSBPipeStalled;
using platform::kIOUSBTransactionTimeout;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsNull;
using testing::Not;
using testing::NotNull;

constexpr int grey = 2;

class Job : public DriverFixture {
 protected:
  Job() {
    openScanner();
    driver->setScanParameter(75, 150, grey, 0, 0, 4, 3);
    glJobName = "earlier";
  }
  void TearDown() override {
    EXPECT_EQ(spies.parsersMade, spies.parsersReleased);
    EXPECT_THAT(driver->imageAccumulator(), IsNull());
    EXPECT_TRUE(usb.readBuffersWereZero());
    DriverFixture::TearDown();
  }
  std::vector<std::string> methods() const { return methodsOf(usb.transfers()); }
  std::string raster() const {
    const ConvertedImage& image = driver->convertedImage();
    return {reinterpret_cast<const char*>(image.pixels), image.length};
  }
  // Reads of the data pipe so far.
  long dataReads() const {
    return std::count(usb.calls().begin(), usb.calls().end(),
                      "interface 1.readPipeTO(3, 102400, 15000, 60000)");
  }

  JobSpies spies;
  const std::string picture = greymap(4, 3, countingBytes(12));
};

TEST_F(Job, MakesItsFiveCallsInOrder) {
  EXPECT_EQ(scan(picture), 0);
  EXPECT_THAT(methods(), ElementsAre("system.enterHostUSBSendMode", "jobFactory.create", "job1.start",
                                     "job1.scanJob.done", "system.exitHostUSBSendMode"));
  EXPECT_EQ(raster(), countingBytes(12));
}

TEST_F(Job, WritesAndReadsOnceForEachCall) {
  scan(picture);
  std::vector<std::string> calls = usb.calls();
  for (std::string& call : calls) {
    if (call.find("writePipeTO(1, ") != std::string::npos) call = "write";
  }
  const std::string reply = "interface 1.readPipeTO(2, 512, 15000, 60000)";
  const std::string data = "interface 1.readPipeTO(3, 102400, 15000, 60000)";
  EXPECT_THAT(calls, ElementsAre("write", reply, "write", reply, "write", reply, data, data, "write", reply,
                                 "write", reply));
}

TEST_F(Job, GivesEachWriteBothTimeOuts) {
  scan(picture);
  for (const std::string& call : usb.calls()) {
    if (call.find("writePipeTO(1, ") != std::string::npos) {
      EXPECT_THAT(call, HasSubstr(", 15000, 60000)"));
    }
  }
}

TEST_F(Job, UsesOneRequestIdForAllCallsAndAsksOnceForIt) {
  std::srand(750);
  const int first = std::rand() % 10000;
  const int second = std::rand();
  std::srand(750);
  scan(picture);
  const std::string attribute = "<method name=\"callMethod\" requestID=\"" + std::to_string(first) + "\">";
  EXPECT_THAT(requestsOf(usb.transfers()), Each(HasSubstr(attribute)));
  EXPECT_EQ(std::rand(), second);
}

TEST_F(Job, SendsTheTreeWithTheFirstTwoCallsAndEmptyListsWithTheOthers) {
  scan(picture);
  const auto requests = requestsOf(usb.transfers());
  ASSERT_EQ(requests.size(), 5U);
  EXPECT_THAT(requests[0],
              AllOf(HasSubstr("<ListElem>\r\n    <MapElem>\r\n      <child name=\"documentParameters\">"),
                    Not(HasSubstr("StringElem"))));
  EXPECT_THAT(requests[1],
              HasSubstr("<ListElem>\r\n    <StringElem>HostSendJob</StringElem>\r\n    <MapElem>"));
  for (const std::size_t index : {2U, 3U, 4U}) {
    EXPECT_THAT(requests[index], HasSubstr("  <ListElem>\r\n  </ListElem>\r\n")) << index;
  }
}

TEST_F(Job, KeepsTheNameOfTheJobWhileLaterRepliesOverwriteTheGlobal) {
  for (const char* result : {"a", "thejob", "c", "d", "e"}) usb.queueRead(replyPipe, response(result));
  usb.queueRead(dataPipe, imagePacket(picture));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_THAT(methods(), ElementsAre("system.enterHostUSBSendMode", "jobFactory.create", "thejob.start",
                                     "thejob.scanJob.done", "system.exitHostUSBSendMode"));
  EXPECT_EQ(glJobName, "e");
}

TEST_F(Job, TakesTheSecondOfTwoResponsesInOneRead) {
  usb.queueRead(replyPipe, response("first"));
  usb.queueRead(replyPipe, response("second") + response("third"));
  usb.queueRead(dataPipe, imagePacket(picture));
  driver->startScan();
  EXPECT_THAT(methods(), Contains("third.start"));
  EXPECT_EQ(glJobName, "third");
}

TEST_F(Job, UsesTheEarlierNameWhereCreateIsAnsweredByAFault) {
  usb.queueStatus(replyPipe, kIOUSBTransactionTimeout);
  usb.queueRead(replyPipe, faultReply("no paper"));
  usb.queueRead(dataPipe, imagePacket(picture));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_THAT(methods(), AllOf(Contains("earlier.start"), Contains("earlier.scanJob.done")));
  EXPECT_EQ(glJobName, "earlier");
}

TEST_F(Job, CompletesAReplyLongerThanOneReadWithTheNextOne) {
  const std::string name(700, 'n');
  usb.queueRead(replyPipe, response("ok"));
  usb.queueRead(replyPipe, response(name));  // 512 bytes for "create", the rest for "start"
  usb.queueRead(dataPipe, imagePacket(picture));
  driver->startScan();
  EXPECT_THAT(methods(), Contains("ok.start"));
  EXPECT_EQ(glJobName, name);
}

TEST_F(Job, GoesOnWhereWritesAndRepliesFail) {
  for (int i = 0; i < 5; ++i) usb.failNext("interface 1.writePipeTO", kIOUSBPipeStalled);
  usb.queueStatus(replyPipe, kIOReturnNoDevice, 5);
  usb.queueRead(dataPipe, imagePacket(picture));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_EQ(methods().size(), 5U);
  EXPECT_TRUE(driver->deviceOpen());
}

TEST_F(Job, PassesTheConvertFlagWithRepliesAndTheFirstTwoDataReads) {
  queueReplies();
  for (const char* part : {"P5\n#\n", "2 1\n", "255\n", "ab"}) usb.queueRead(dataPipe, imagePacket(part));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_THAT(spies.events,
              ElementsAre(HasSubstr("convert 1"), HasSubstr("convert 1"), HasSubstr("convert 1"),
                          "receive 13 bytes, convert 1", "dump 5 bytes", "receive 12 bytes, convert 1",
                          "dump 9 bytes", "receive 12 bytes, convert 0", "dump 13 bytes",
                          "receive 10 bytes, convert 0", "dump 15 bytes", HasSubstr("convert 1"),
                          HasSubstr("convert 1"), "convert 15 bytes, 75 x 150"));
}

TEST_F(Job, CountsFailedReadsAsReadsForTheConvertFlag) {
  queueReplies();
  usb.queueStatus(dataPipe, kIOUSBTransactionTimeout, 2);
  usb.queueRead(dataPipe, imagePacket(picture));
  driver->startScan();
  EXPECT_EQ(spies.events[3], "receive " + std::to_string(picture.size() + 8) + " bytes, convert 0");
}

TEST_F(Job, WaitsForTheFirstImageByteHoweverLongItTakes) {
  queueReplies();
  usb.queueStatus(dataPipe, kIOUSBTransactionTimeout, 5000);
  usb.queueStatus(dataPipe, kIOUSBPipeStalled, 3);
  usb.queueRead(dataPipe, packet(0xAA, "") + packet(0xBB, ""));  // framing is no image data
  usb.queueStatus(dataPipe, kIOReturnAborted);
  usb.queueRead(dataPipe, "");
  usb.queueRead(dataPipe, imagePacket(picture));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_EQ(dataReads(), 5000 + 3 + 4 + 1);
  EXPECT_EQ(raster(), countingBytes(12));
}

TEST_F(Job, EndsTheImageAtTheFirstFailureAfterData) {
  for (const platform::IOReturn status :
       {kIOUSBTransactionTimeout, kIOUSBPipeStalled, kIOReturnAborted, platform::kIOReturnIOError}) {
    queueReplies();
    usb.queueRead(dataPipe, imagePacket(picture));
    usb.queueStatus(dataPipe, status);
    usb.forgetCalls();
    EXPECT_EQ(driver->startScan(), 0);
    EXPECT_EQ(dataReads(), 2);
    EXPECT_EQ(endJobPage, 1);
  }
}

TEST_F(Job, DoesNotTakeTheFramingForTheEnd) {
  queueReplies();
  usb.queueRead(dataPipe, packet(0xAA, "") + packet(0xBB, "") + imagePacket(picture.substr(0, 20)) +
                              packet(0xEE, "") + packet(0xFF, ""));
  usb.queueRead(dataPipe, imagePacket(picture.substr(20)));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_EQ(raster(), countingBytes(12));
}

TEST_F(Job, JoinsImagePacketsThatAreCutAnywhere) {
  const std::string stream = imagePacket(picture.substr(0, 7)) + imagePacket(picture.substr(7));
  for (std::size_t cut = 1; cut < stream.size(); ++cut) {
    queueReplies();
    usb.queueRead(dataPipe, stream.substr(0, cut));
    usb.queueRead(dataPipe, stream.substr(cut));
    // Until the first whole packet is there a failure would be one before the data.
    EXPECT_EQ(driver->startScan(), 0);
    EXPECT_EQ(raster(), countingBytes(12)) << cut;
  }
}

TEST_F(Job, SaysWhetherImageDataMayStillCome) {
  std::vector<int> flags;
  endJobPage = 1;
  usb.onCall([&flags](const std::string& line) {
    if (line.find("readPipeTO(3") != std::string::npos || line.find("writePipeTO") != std::string::npos) {
      flags.push_back(endJobPage);
    }
  });
  scan(picture);
  usb.onCall(nullptr);
  EXPECT_THAT(flags, ElementsAre(1, 1, 1, 0, 0, 1, 1));  // three calls, two data reads, two calls
}

TEST_F(Job, EndsAtOnceWhereTheDeviceVanishesBeforeTheImage) {
  queueReplies();
  usb.queueStatus(dataPipe, kIOReturnNoDevice);
  EXPECT_EQ(driver->startScan(), kIOReturnNoDevice);
  EXPECT_FALSE(driver->deviceOpen());
  EXPECT_THAT(methods(), ElementsAre("system.enterHostUSBSendMode", "jobFactory.create", "job1.start"));
  EXPECT_THAT(spies.events, Not(Contains(testing::StartsWith("dump"))));
}

TEST_F(Job, EndsAtOnceWhereTheDeviceVanishesAfterSomeOfTheImage) {
  queueReplies();
  usb.queueRead(dataPipe, imagePacket(picture));
  usb.queueStatus(dataPipe, kIOReturnNoDevice);
  EXPECT_EQ(driver->startScan(), kIOReturnNoDevice);
  EXPECT_EQ(methods().size(), 3U);
  EXPECT_EQ(endJobPage, 0);
  EXPECT_THAT(driver->convertedImage().pixels, IsNull());
}

TEST_F(Job, DisableClosesNothingAfterTheDeviceVanished) {
  usb.queueStatus(dataPipe, kIOReturnNoDevice);
  driver->startScan();
  usb.forgetCalls();
  EXPECT_EQ(driver->abortScan(), 1);
  EXPECT_THAT(usb.calls(), IsEmpty());
  EXPECT_FALSE(driver->hasTransferBuffers());
}

TEST_F(Job, KeepsAnEarlierImageWhereTheDeviceVanishes) {
  scan(picture);
  usb.queueStatus(dataPipe, kIOReturnNoDevice);
  driver->startScan();
  EXPECT_EQ(raster(), countingBytes(12));
}

TEST_F(Job, WithoutAnInterfaceEndsWithTheFirstDataRead) {
  driver->ClosePipes();
  usb.forgetCalls();
  EXPECT_EQ(driver->startScan(), kIOReturnNoDevice);
  EXPECT_THAT(usb.calls(), IsEmpty());
  EXPECT_FALSE(driver->deviceOpen());
}

TEST_F(Job, DropsImagePacketsOfTheFirstThreeReplies) {
  for (const char* result : {"a", "b", "c"})
    usb.queueRead(replyPipe, response(result) + imagePacket("dropped"));
  usb.queueRead(dataPipe, imagePacket(picture));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_EQ(raster(), countingBytes(12));
  EXPECT_THAT(spies.events, Contains("convert " + std::to_string(picture.size()) + " bytes, 75 x 150"));
}

TEST_F(Job, CountsImagePacketsOfTheLastTwoReplies) {
  for (const char* result : {"a", "b", "c"}) usb.queueRead(replyPipe, response(result));
  usb.queueRead(dataPipe, imagePacket(picture.substr(0, picture.size() - 5)));
  usb.queueRead(replyPipe, response("d") + imagePacket(picture.substr(picture.size() - 5, 3)));
  usb.queueRead(replyPipe, imagePacket(picture.substr(picture.size() - 2)));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_EQ(raster(), countingBytes(12));
}

TEST_F(Job, TakesAnEmptyImagePacketForImageData) {
  queueReplies();
  usb.queueRead(dataPipe, imagePacket(""));
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_EQ(dataReads(), 2);
  EXPECT_THAT(spies.events, AllOf(Contains("dump 0 bytes"), Contains("convert 0 bytes, 75 x 150")));
}

TEST_F(Job, DumpsAfterEachSuccessfulReadEvenIfNothingCame) {
  queueReplies();
  usb.queueRead(dataPipe, packet(0xAA, ""));
  usb.queueRead(dataPipe, imagePacket(picture));
  driver->startScan();
  EXPECT_THAT(spies.events,
              AllOf(Contains("dump nothing"), Contains("dump " + std::to_string(picture.size()) + " bytes")));
}

TEST_F(Job, ReadsNoMoreThanTheBufferHoldsWhateverTheStackReports) {
  queueReplies();
  usb.queueReportedSize(dataPipe, imagePacket(picture), 0xFFFFFFFFU);
  EXPECT_EQ(driver->startScan(), 0);
  EXPECT_EQ(spies.events[3], "receive 102400 bytes, convert 1");
  EXPECT_EQ(raster(), countingBytes(12));  // the zeros after it are empty packets of no type
}

TEST_F(Job, ReturnsTheFailureOfTheConversionAndHasNoRows) {
  scan(picture);
  spies.failConversion();
  EXPECT_EQ(scan(picture), 1);
  EXPECT_THAT(driver->convertedImage().pixels, IsNull());
  EXPECT_EQ(driver->convertedImage().length, 0U);
  std::vector<unsigned char> buffer(12, 0xEE);
  unsigned long length = buffer.size();
  EXPECT_EQ(driver->readImageData(buffer.data(), &length, 0), 0);
  EXPECT_EQ(length, 4U);
  EXPECT_THAT(buffer, Each(0xEE));
}

TEST_F(Job, FailsLikeAConversionWhereThereIsNoMemoryForTheParser) {
  scan(picture);
  spies.failParserCreation();
  EXPECT_EQ(driver->startScan(), 1);
  EXPECT_THAT(driver->convertedImage().pixels, IsNull());
  EXPECT_EQ(methods().size(), 5U);  // of the first scan
}

TEST_F(Job, CountsTheBytesOfTheAreaBeforeTheConversionChangesTheBytesPerPixel) {
  driver->setScanParameter(75, 75, 1, 0, 0, 4, 3);
  EXPECT_EQ(driver->imageByteCount(), 0U);
  EXPECT_EQ(scan(picture), 0);
  EXPECT_EQ(driver->imageByteCount(), 36U);
  EXPECT_EQ(driver->convertedImage().bytesPerPixel, 1U);
  EXPECT_EQ(scan(picture), 0);
  EXPECT_EQ(driver->imageByteCount(), 12U);
}

TEST_F(Job, CountsTheBytesOfTheAreaAgainAtItsEnd) {
  usb.onCall([this](const std::string&) { driver->setScanParameter(75, 75, grey, 0, 0, 2, 2); });
  EXPECT_EQ(scan(picture), 0);
  EXPECT_EQ(driver->imageByteCount(), 4U);
}

TEST_F(Job, CountsTheBytesOfTheAreaModulo32Bits) {
  driver->setScanParameter(75, 75, 1, 0, 0, 65536, 65537);
  EXPECT_EQ(scan(picture), 0);
  EXPECT_EQ(driver->imageByteCount(), 196608U);  // 65536 x 3
}

TEST_F(Job, CanBeRunAgainAndAgain) {
  for (unsigned int first : {1U, 50U, 100U}) {
    EXPECT_EQ(scan(greymap(4, 3, countingBytes(12, first))), 0);
    EXPECT_EQ(raster(), countingBytes(12, first));
  }
  EXPECT_EQ(spies.parsersMade, 3);
}

TEST_F(Job, AppendsNothingForANegativeNumberOfBytes) {
  EXPECT_THAT(driver->imageAccumulator(), IsNull());
  driver->AddScanData(nullptr, -8);
  ASSERT_THAT(driver->imageAccumulator(), NotNull());
  EXPECT_EQ(driver->imageAccumulator()->length(), 0U);
  _MY_ImageData(const_cast<char*>("abc"), 3, driver.get());
  EXPECT_EQ(driver->imageAccumulator()->length(), 3U);
  scan(picture);  // drops it
}

TEST_F(Job, SurvivesADeviceThatSendsGarbage) {
  usb.queueRead(replyPipe, countingBytes(300));
  usb.queueRead(dataPipe, countingBytes(5000, 7));
  usb.queueRead(dataPipe, countingBytes(5000, 90));
  // No image data ever arrives; the device of the fake vanishes in the end.
  EXPECT_EQ(driver->startScan(), kIOReturnNoDevice);
}

}  // namespace
