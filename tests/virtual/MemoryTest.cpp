#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "DeviceHost.h"
#include "MemoryGrowth.h"
#include "VirtualScanner.h"

namespace virtualscanner {
namespace {

using Parameter = DeviceHost::Parameter;

// A virtual scanner serves for as long as its process runs.
class Memory : public testing::Test {
 protected:
  void SetUp() override {
    if (!memoryIsMeasurable) GTEST_SKIP() << "the sanitizer keeps the heap";
  }

  virtualscanner::VirtualScanner scanner_{Paper::plain(black)};
  DeviceHost host_{scanner_};
};

TEST_F(Memory, StaysTheSameOverAnyNumberOfRequests) {
  const std::vector<std::uint8_t> understood =
      host_.framed("system", "enterHostUSBSendMode", {Parameter::tree});
  const std::vector<std::uint8_t> refused = host_.framed("nobody", "asked", {});
  EXPECT_LT(growthOver(manyRounds / 2,
                       [&] {
                         host_.write(understood);
                         host_.takeReply();
                         host_.write(refused);
                         host_.takeReply();
                       }),
            flat);
}

TEST_F(Memory, StaysTheSameWhenNoReplyIsRead) {
  const std::vector<std::uint8_t> refused = host_.framed("nobody", "asked", {});
  EXPECT_LT(growthOver(manyRounds, [&] { host_.write(refused); }), flat);
}

TEST_F(Memory, StaysTheSameWhenRequestsAreGivenUpHalfway) {
  std::vector<std::uint8_t> half = host_.framed("nobody", "asked", {});
  half.resize(half.size() / 2);
  EXPECT_LT(growthOver(manyRounds, [&] { host_.write(half); }), flat);
}

// The library's reader would keep each of the inner ones.
TEST_F(Memory, StaysTheSameWhenMessagesHoldMessages) {
  for (const std::string text : {"<method name=\"callMethod\"><me/><me/><me/></method>",
                                 "<!DOCTYPE m [<!ENTITY e \"<me/>\">]><method>&e;&e;&e;</method>"}) {
    const std::vector<std::uint8_t> packet = controlPacket(text);
    EXPECT_LT(growthOver(manyRounds, [&] { host_.write(packet); }), flat) << text;
  }
}

TEST_F(Memory, StaysTheSameOverAnyNumberOfJobs) {
  EXPECT_LT(growthOver(manyRounds / 10,
                       [&] {
                         ASSERT_TRUE(host_.startJob({75, true, 0, 0, 20, 10}));
                         host_.readStream(4096);
                         host_.call(host_.jobName() + ".scanJob", "done");
                         host_.exit();
                       }),
            flat);
}

}  // namespace
}  // namespace virtualscanner
