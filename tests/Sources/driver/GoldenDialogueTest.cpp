#include <cstdlib>
#include <fstream>
#include <sstream>

#include "DriverFixture.h"
#include "ScanJob.h"

// Compares whole dialogues, every byte both ways, with golden/*.txt. After intended changes, update them:
//   Q750_UPDATE_GOLDEN=1 driver-tests --gtest_filter='GoldenDialogue.*'
namespace {

constexpr int grey = 2;
constexpr int color = 1;

class GoldenDialogue : public DriverFixture {
 protected:
  GoldenDialogue() {
    openScanner();
    glJobName.clear();
    // Which number a seed gives is the C library's business: the golden text has a place for it.
    std::srand(7);
    requestId_ = std::to_string(std::rand() % 10000);
    std::srand(7);
  }

  void expectDialogue(const std::string& name) const {
    std::string actual = asText(usb.transfers());
    if (std::getenv("Q750_UPDATE_GOLDEN") != nullptr) {
      std::ofstream(pathOf(name), std::ios::binary) << withPlaceholder(actual);
    }
    std::ifstream file(pathOf(name), std::ios::binary);
    ASSERT_TRUE(file) << pathOf(name);
    std::stringstream golden;
    golden << file.rdbuf();
    EXPECT_EQ(withPlaceholder(actual), golden.str());
  }

 private:
  static std::string pathOf(const std::string& name) {
    return std::string(GOLDEN_FOLDER "/") + name + ".txt";
  }
  // The length in the packet header changes with the number of digits, so it is kept only for four.
  std::string withPlaceholder(std::string text) const {
    EXPECT_EQ(requestId_.size(), 4U) << "choose a seed that gives four digits";
    const std::string attribute = "<method name=\"callMethod\" requestID=\"";
    for (std::size_t at = text.find(attribute); at != std::string::npos; at = text.find(attribute, at + 1)) {
      const std::size_t id = at + attribute.size();
      if (text.compare(id, requestId_.size(), requestId_) == 0) text.replace(id, requestId_.size(), "####");
    }
    return text;
  }

  std::string requestId_;
};

TEST_F(GoldenDialogue, OfAColourJobAt600DotsPerInch) {
  driver->setScanParameter(600, 600, color, 101, 203, 2000, 3001);
  queueReplies("HostSendJob_17");
  usb.queueStatus(dataPipe, platform::kIOUSBTransactionTimeout);
  const std::string picture = pixmap(2, 2, countingBytes(12));
  usb.queueRead(dataPipe, packet(0xAA, "") + packet(0xBB, "") + imagePacket(picture.substr(0, 20)));
  usb.queueRead(dataPipe, imagePacket(picture.substr(20)) + packet(0xEE, "") + packet(0xFF, ""));
  EXPECT_EQ(driver->startScan(), 0);
  expectDialogue("colour-job");
}

TEST_F(GoldenDialogue, OfAGreyJobAt600DotsPerInch) {
  driver->setScanParameter(600, 600, grey, 0, 0, 5100, 7014);
  queueReplies("HostSendJob_18");
  usb.queueRead(dataPipe, imagePacket(greymap(3, 2, countingBytes(6))));
  usb.queueStatus(dataPipe, platform::kIOUSBPipeStalled);
  EXPECT_EQ(driver->startScan(), 0);
  expectDialogue("grey-job");
}

TEST_F(GoldenDialogue, OfAJobThatTheDeviceRefuses) {
  driver->setScanParameter(75, 75, grey, 0, 0, 637, 876);
  for (int i = 0; i < 3; ++i) usb.queueRead(replyPipe, faultReply("busy"));
  usb.queueStatus(dataPipe, platform::kIOUSBTransactionTimeout, 2);
  usb.queueStatus(dataPipe, platform::kIOReturnNoDevice);
  EXPECT_EQ(driver->startScan(), platform::kIOReturnNoDevice);
  expectDialogue("refused-job");
}

}  // namespace
