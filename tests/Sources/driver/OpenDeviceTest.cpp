#include "DriverFixture.h"

namespace {

using fakes::bulkIn;
using fakes::bulkOut;
using platform::kIOReturnError;
using platform::kIOReturnNoDevice;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsNull;
using testing::NotNull;

class OpenDevice : public DriverFixture {
 protected:
  void open() { driver.reset(CScannerDriver::create()); }
  void expectOpen() {
    EXPECT_THAT(driver->interface(), NotNull());
    EXPECT_TRUE(driver->deviceOpen());
    EXPECT_TRUE(driver->hasTransferBuffers());
    EXPECT_THAT(usb.leftovers(), ElementsAre("interface 1", "open interface 1"));
  }
  void expectNotOpen() {
    EXPECT_THAT(driver->interface(), IsNull());
    EXPECT_FALSE(driver->deviceOpen());
    EXPECT_FALSE(driver->hasTransferBuffers());
  }
};

TEST_F(OpenDevice, TakesTheStepsInOrder) {
  plugScannerIn();
  open();
  EXPECT_THAT(usb.calls(),
              ElementsAre("masterPort()", "serviceMatching(usbInterface)", "matchingServices(usbInterface)",
                          "iteratorNext()", "createPlugInInterfaceForService(service 1, usbInterface)",
                          "plugIn 1.queryInterface(usbInterface)", "plugIn 1.release()", "interface 1.open()",
                          "interface 1.getNumEndpoints()", "interface 1.getPipeProperties(1)",
                          "interface 1.getPipeProperties(2)", "interface 1.getPipeProperties(3)",
                          "objectRelease(service 1)", "iteratorNext()", "objectRelease(iterator)",
                          "portDeallocate()"));
  expectOpen();
}

TEST_F(OpenDevice, StartsWithTheDefaults) {
  open();
  const ScanArea& area = driver->scanArea();
  EXPECT_EQ(area.xResolution, 600);
  EXPECT_EQ(area.yResolution, 600);
  EXPECT_EQ(area.left, 0);
  EXPECT_EQ(area.top, 0);
  EXPECT_EQ(area.width, 5100);
  EXPECT_EQ(area.height, 7014);
  EXPECT_EQ(area.bitDepth, 24U);
  EXPECT_EQ(area.colorFlag, 1U);
  EXPECT_EQ(driver->convertedImage().bytesPerPixel, 3U);
  EXPECT_EQ(driver->modelName(), "Quenvar Q750");
  EXPECT_EQ(driver->vendorId(), platform::deviceVendorId);
  EXPECT_EQ(driver->productId(), platform::deviceProductId);
  EXPECT_THAT(driver->imageAccumulator(), IsNull());
}

TEST_F(OpenDevice, FindsThePipesByDirectionAndEndpoint) {
  usb.addInterface(
      {bulkIn(8, 512), bulkIn(11, 128), bulkIn(2, 1), bulkOut(8, 2), bulkOut(11, 3), bulkOut(2, 64)});
  open();
  EXPECT_EQ(driver->endpointCount(), 6);
  EXPECT_EQ(driver->dataPipe(), 1);
  EXPECT_EQ(driver->replyPipe(), 2);
  EXPECT_EQ(driver->outPipe(), 6);
  EXPECT_EQ(driver->dataPacketSize(), 512U);
  EXPECT_EQ(driver->controlPacketSize(), 64U);  // of endpoint 2, the later of the two
}

TEST_F(OpenDevice, KeepsTheControlPacketSizeOfTheReplyPipeWhereThatComesLater) {
  usb.addInterface({bulkOut(2, 64), bulkIn(11, 128)});
  open();
  EXPECT_EQ(driver->controlPacketSize(), 128U);
  EXPECT_EQ(driver->dataPipe(), 0);
}

TEST_F(OpenDevice, LetsALaterMatchOverwriteAnEarlierOne) {
  usb.addInterface({bulkIn(11, 8), bulkIn(11, 16)});
  open();
  EXPECT_EQ(driver->replyPipe(), 2);
  EXPECT_EQ(driver->controlPacketSize(), 16U);
}

TEST_F(OpenDevice, IgnoresPipesThatAreNotBulk) {
  for (const auto type : {platform::TransferType::control, platform::TransferType::isochronous,
                          platform::TransferType::interrupt}) {
    fakes::ScriptedUsbStack other;
    const fakes::ChosenUsbStack use(other);
    auto endpoint = bulkIn(11);
    endpoint.transferType = type;
    other.addInterface({endpoint});
    const CScannerDriver opened;
    EXPECT_EQ(opened.replyPipe(), 0);
    EXPECT_TRUE(opened.deviceOpen());
  }
}

TEST_F(OpenDevice, TakesTheFirstInterfaceThatOpens) {
  usb.addInterface({bulkOut(1)});  // whatever device it belongs to
  plugScannerIn();
  open();
  expectOpen();
  EXPECT_EQ(driver->endpointCount(), 1);
}

TEST_F(OpenDevice, GoesOnToTheNextServiceWhereOneDoesNotOpen) {
  usb.addInterface({bulkOut(1)});
  plugScannerIn();
  usb.failNext("interface 1.open", platform::kIOReturnExclusiveAccess);
  open();
  EXPECT_EQ(driver->endpointCount(), 3);
  // The one that could not be opened is dropped without being released.
  EXPECT_THAT(usb.leftovers(), ElementsAre("interface 1", "interface 2", "open interface 2"));
}

TEST_F(OpenDevice, ReleasesAServiceThatItNoLongerNeeds) {
  plugScannerIn();
  plugScannerIn();
  open();
  expectOpen();
  EXPECT_THAT(usb.calls(), testing::Contains("objectRelease(service 2)"));
  EXPECT_THAT(usb.calls(), testing::Not(testing::Contains(testing::HasSubstr("service 2, "))));
}

TEST_F(OpenDevice, ExaminesThirteenPipesOfTheAlternateSettingWhereTheFirstIsEmpty) {
  std::vector<platform::PipeProperties> thirteen(13, bulkOut(1));
  thirteen[3] = bulkOut(2);
  thirteen[11] = bulkIn(11);
  thirteen[12] = bulkIn(8);
  usb.addInterface({}, thirteen);
  open();
  expectOpen();
  EXPECT_EQ(driver->endpointCount(), 13);
  EXPECT_EQ(driver->outPipe(), 4);
  EXPECT_EQ(driver->replyPipe(), 12);
  EXPECT_EQ(driver->dataPipe(), 13);
  EXPECT_THAT(std::vector<std::string>(usb.calls().begin() + 8, usb.calls().begin() + 12),
              ElementsAre("interface 1.getNumEndpoints()", "interface 1.setAlternateInterface(1)",
                          "interface 1.getNumEndpoints()", "interface 1.getPipeProperties(1)"));
}

TEST_F(OpenDevice, CountsThirteenWhateverTheAlternateSettingReports) {
  usb.addInterface({}, {bulkOut(2), bulkIn(11), bulkIn(8)});
  open();
  // There is no pipe 4, and an interface whose pipes cannot be examined is given up.
  EXPECT_THAT(usb.calls(), testing::Contains("interface 1.getPipeProperties(4)"));
  EXPECT_EQ(driver->endpointCount(), 13);
  EXPECT_EQ(driver->outPipe(), 1);  // pipes already chosen keep their references
  expectNotOpen();
  EXPECT_THAT(usb.leftovers(), IsEmpty());
}

TEST_F(OpenDevice, CountsAsOpenWithoutAMasterPort) {
  plugScannerIn();
  usb.failNext("masterPort", kIOReturnError);
  open();
  EXPECT_THAT(usb.calls(), ElementsAre("masterPort()"));
  EXPECT_THAT(driver->interface(), IsNull());
  EXPECT_TRUE(driver->deviceOpen());
  EXPECT_TRUE(driver->hasTransferBuffers());
}

TEST_F(OpenDevice, ReportsSuccessAndClearsTheFlagWithoutAMatchingDictionary) {
  plugScannerIn();
  usb.failNext("serviceMatching", kIOReturnError);
  open();
  EXPECT_TRUE(driver->deviceOpen());  // set again by the constructor
  EXPECT_THAT(usb.calls(), ElementsAre("masterPort()", "serviceMatching(usbInterface)", "portDeallocate()"));
  usb.failNext("serviceMatching", kIOReturnError);
  EXPECT_EQ(driver->OpenMyDevice(), 0);
  EXPECT_FALSE(driver->deviceOpen());
  EXPECT_THAT(usb.leftovers(), IsEmpty());
}

TEST_F(OpenDevice, LeavesTheFlagAloneWithoutAMasterPort) {
  open();  // no scanner: the flag is clear
  usb.failNext("masterPort", kIOReturnError);
  EXPECT_EQ(driver->OpenMyDevice(), 0);
  EXPECT_FALSE(driver->deviceOpen());
}

TEST_F(OpenDevice, TakesAFailedEnumerationForAnEmptyOne) {
  plugScannerIn();
  usb.failNext("matchingServices", kIOReturnError);
  open();
  expectNotOpen();
  EXPECT_THAT(usb.calls(), ElementsAre("masterPort()", "serviceMatching(usbInterface)",
                                       "matchingServices(usbInterface)", "portDeallocate()"));
}

TEST_F(OpenDevice, IsNotOpenWithoutAnyInterface) {
  open();
  expectNotOpen();
  EXPECT_EQ(driver->OpenMyDevice(), -1);
  EXPECT_THAT(usb.leftovers(), IsEmpty());
}

struct FailingStep {
  std::string line;
  bool null;
  std::vector<std::string> after;  // calls between the failing one and the release of the service
  std::vector<std::string> leftovers;

  friend void PrintTo(const FailingStep& step, std::ostream* out) {
    *out << step.line << (step.null ? " (null)" : "");
  }
};

class FailingOpenStep : public OpenDevice, public testing::WithParamInterface<FailingStep> {};

TEST_P(FailingOpenStep, GivesBackWhatWasObtained) {
  const FailingStep& step = GetParam();
  usb.addInterface({}, std::vector<platform::PipeProperties>(13, bulkOut(2)));
  if (step.null) {
    usb.answerNull(step.line);
  } else {
    usb.failNext(step.line, kIOReturnError);
  }
  open();
  expectNotOpen();
  const auto failed = std::find_if(usb.calls().begin(), usb.calls().end(), [&step](const std::string& call) {
    return call.rfind(step.line, 0) == 0;
  });
  ASSERT_NE(failed, usb.calls().end());
  std::vector<std::string> expected = step.after;
  for (const char* call :
       {"objectRelease(service 1)", "iteratorNext()", "objectRelease(iterator)", "portDeallocate()"}) {
    expected.emplace_back(call);
  }
  EXPECT_THAT(std::vector<std::string>(failed + 1, usb.calls().end()), ElementsAreArray(expected));
  EXPECT_THAT(usb.leftovers(), ElementsAreArray(step.leftovers));
}

const std::vector<std::string> closed{"interface 1.close()", "interface 1.release()"};

INSTANTIATE_TEST_SUITE_P(
    Steps, FailingOpenStep,
    testing::Values(FailingStep{"createPlugIn", false, {}, {}}, FailingStep{"createPlugIn", true, {}, {}},
                    FailingStep{"plugIn 1.queryInterface", false, {"plugIn 1.release()"}, {}},
                    FailingStep{"plugIn 1.queryInterface", true, {"plugIn 1.release()"}, {}},
                    FailingStep{"interface 1.open", false, {}, {"interface 1"}},
                    FailingStep{"interface 1.getNumEndpoints", false, closed, {}},
                    FailingStep{"interface 1.setAlternateInterface", false, closed, {}},
                    FailingStep{"interface 1.getPipeProperties(1)", false, closed, {}},
                    FailingStep{"interface 1.getPipeProperties(13)", false, closed, {}}));

TEST_F(OpenDevice, GivesTheInterfaceUpWhereTheSecondCountFails) {
  usb.addInterface({}, std::vector<platform::PipeProperties>(13, bulkOut(2)));
  usb.onCall([this](const std::string& line) {
    if (line == "interface 1.setAlternateInterface(1)")
      usb.failNext("interface 1.getNumEndpoints", kIOReturnError);
  });
  open();
  expectNotOpen();
  EXPECT_THAT(usb.leftovers(), IsEmpty());
}

TEST_F(OpenDevice, OpensNothingMoreWhileAnInterfaceIsHeld) {
  openScanner();
  EXPECT_EQ(driver->OpenMyDevice(), 0);
  EXPECT_THAT(usb.calls(),
              ElementsAre("masterPort()", "serviceMatching(usbInterface)", "matchingServices(usbInterface)",
                          "iteratorNext()", "objectRelease(service 1)", "objectRelease(iterator)",
                          "portDeallocate()"));
  expectOpen();
}

TEST(NoUsbStack, GivesADriverWithoutADevice) {
  const CScannerDriver driver;
  EXPECT_FALSE(driver.deviceOpen());
}

}  // namespace
