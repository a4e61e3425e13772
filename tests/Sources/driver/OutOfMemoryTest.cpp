#include "AllocationFaults.h"
#include "DriverFixture.h"
#include "JobSpies.h"
#include "ScanJob.h"
#include "ScannerInterface.h"

namespace {

using testing::AnyOf;
using testing::Each;
using testing::Eq;
using testing::IsNull;

class OutOfMemory : public DriverFixture {
 protected:
  static constexpr int grey = 2;

  void openForJob() {
    openScanner();
    driver->setScanParameter(75, 75, grey, 0, 0, 4, 3);
  }
  std::int32_t startScan() { return StartScan(reinterpret_cast<intptr_t>(driver.get())); }
  void queueJob() {
    queueReplies();
    usb.queueRead(dataPipe, imagePacket(picture));
    usb.queueStatus(dataPipe, platform::kIOUSBTransactionTimeout);
  }

  const std::string picture = greymap(4, 3, countingBytes(12));
};

TEST_F(OutOfMemory, ComesOutOfTheEnableFunctionsAlone) {
  totalBytesRead = 5;
  const AllocationFaults faults = AllocationFaults::ofSize(sizeof(CScannerDriver));
  EXPECT_THROW(EnableScanner(), std::bad_alloc);
  EXPECT_EQ(totalBytesRead, 5U);
}

TEST_F(OutOfMemory, ForATransferBufferClearsTheFlagAndKeepsTheInterface) {
  for (const auto& [size, n] : {std::pair<std::size_t, int>{256, 1}, {256, 2}, {131072, 1}}) {
    fakes::ScriptedUsbStack other;
    const fakes::ChosenUsbStack use(other);
    other.addInterface({fakes::bulkOut(2)});
    const AllocationFaults faults = AllocationFaults::ofSize(size, n);
    const CScannerDriver opened;
    EXPECT_TRUE(faults.happened());
    EXPECT_FALSE(opened.deviceOpen());
    EXPECT_FALSE(opened.hasTransferBuffers());
    EXPECT_NE(opened.interface(), nullptr);
  }
}

TEST_F(OutOfMemory, ForTheReadBufferFailsTheJobLikeAConversion) {
  openForJob();
  EXPECT_EQ(scan(picture), 0);
  queueJob();
  {
    const AllocationFaults faults = AllocationFaults::ofSize(102400);
    EXPECT_EQ(startScan(), 1);
    EXPECT_TRUE(faults.happened());
  }
  EXPECT_THAT(driver->convertedImage().pixels, IsNull());
  EXPECT_THAT(driver->imageAccumulator(), IsNull());
  EXPECT_TRUE(driver->deviceOpen());
  std::vector<unsigned char> buffer(12, 0xEE);
  std::uint32_t delivered = 0;
  EXPECT_EQ(ReadImage(reinterpret_cast<intptr_t>(driver.get()), buffer.data(), 12, &delivered), 0);
  EXPECT_EQ(delivered, 4U);
  EXPECT_THAT(buffer, Each(0xEE));
}

TEST_F(OutOfMemory, ForImageBytesIsNotThrownThroughTheParser) {
  openForJob();
  const AllocationFaults faults = AllocationFaults::nth(1);
  _MY_ImageData(const_cast<char*>("abc"), 3, driver.get());
  EXPECT_TRUE(faults.happened());
  EXPECT_THAT(driver->imageAccumulator(), IsNull());
}

TEST_F(OutOfMemory, ForImageBytesFailsTheJobInsteadOfLosingThem) {
  openForJob();
  queueJob();
  usb.onCall([this](const std::string& line) {
    if (line.find("readPipeTO(3") == std::string::npos) return;
    const AllocationFaults faults = AllocationFaults::nth(1);
    _MY_ImageData(const_cast<char*>("abc"), 3, driver.get());
  });
  EXPECT_EQ(startScan(), 1);
  EXPECT_THAT(driver->imageAccumulator(), IsNull());
  usb.onCall(nullptr);
  EXPECT_EQ(scan(picture), 0);  // the next job is not concerned
}

// Whichever allocation of a job fails, of the driver, of the stack or of what they use: nothing is thrown,
// and a job that succeeds has the whole image.
TEST_F(OutOfMemory, AtAnyPointOfAJobIsAResult) {
  for (int n = 1;; n += 1 + n / 16) {
    SCOPED_TRACE(n);
    fakes::ScriptedUsbStack other;
    const fakes::ChosenUsbStack use(other);
    other.addInterface({fakes::bulkOut(2), fakes::bulkIn(11), fakes::bulkIn(8)});
    for (int i = 0; i < 5; ++i) other.queueRead(replyPipe, response("job1"));
    other.queueRead(dataPipe, imagePacket(picture));
    CScannerDriver opened;
    const JobSpies spies;
    std::int32_t result = 0;
    bool happened = false;
    {
      const AllocationFaults faults = AllocationFaults::nth(n);
      result = StartScan(reinterpret_cast<intptr_t>(&opened));
      happened = faults.happened();
    }
    EXPECT_THAT(result, AnyOf(Eq(0), Eq(1), Eq(platform::kIOReturnNoDevice)));
    EXPECT_THAT(opened.imageAccumulator(), IsNull());
    EXPECT_EQ(spies.parsersMade, spies.parsersReleased);
    const ConvertedImage& image = opened.convertedImage();
    const std::string raster(reinterpret_cast<const char*>(image.pixels), image.length);
    EXPECT_EQ(raster, result == 0 ? countingBytes(12) : "");
    if (!happened) {
      EXPECT_EQ(result, 0);
      break;
    }
  }
}

TEST_F(OutOfMemory, WhileAReplyIsReadLeavesTheNameOfTheJobAlone) {
  std::string message = "<response><StringElem>" + std::string(100, 'n') + "</StringElem></response>";
  for (int n = 1;; ++n) {
    glJobName = "before";
    const AllocationFaults faults = AllocationFaults::nth(n);
    _MY_ControlData(message.data(), static_cast<int>(message.size()), nullptr);
    if (!faults.happened()) break;
    EXPECT_THAT(glJobName, AnyOf(Eq("before"), Eq(std::string(100, 'n')))) << n;
  }
  EXPECT_EQ(glJobName, std::string(100, 'n'));
}

}  // namespace
