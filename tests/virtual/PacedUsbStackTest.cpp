#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "DeviceHost.h"
#include "PacedUsbStack.h"
#include "StackUser.h"

namespace {

using namespace virtualscanner;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Le;

// Its time passes at once and is recorded.
class NotedStack final : public PacedUsbStack {
 public:
  using PacedUsbStack::PacedUsbStack;
  std::vector<int> passed;
  bool abortNext = false;

 protected:
  bool pass(Milliseconds time, std::uint8_t /*pipe*/) override {
    passed.push_back(static_cast<int>(time.count()));
    return !std::exchange(abortNext, false);
  }
};

class Paced : public testing::Test {
 protected:
  void use(PacedUsbStack::Pace pace) {
    stack = std::make_unique<NotedStack>(inner, pace);
    interface = StackUser(*stack).interface();
    ASSERT_EQ(interface->open(), platform::kIOReturnSuccess);
  }
  void startPicture() {
    DeviceHost host(scanner);
    ASSERT_TRUE(host.startJob({75, true, 0, 0, 300, 300}));
    const std::vector<std::uint8_t> nothing(8);
    interface->writePipeTO(1, nothing.data(), 8, 15000, 60000);
  }
  platform::IOReturn read(std::uint8_t pipe, std::uint32_t noDataMs = 15000) {
    std::vector<std::uint8_t> buffer(102400);
    moved = 102400;
    return interface->readPipeTO(pipe, buffer.data(), &moved, noDataMs, 60000);
  }

  VirtualScanner scanner;
  VirtualUsbStack inner{scanner};
  std::unique_ptr<NotedStack> stack;
  StackUser::Interface interface;
  std::uint32_t moved = 0;
};

TEST_F(Paced, AddsNothingUnlessItIsAsked) {
  use({});
  startPicture();
  EXPECT_EQ(read(2), platform::kIOUSBTransactionTimeout);
  EXPECT_EQ(read(3), platform::kIOReturnSuccess);
  EXPECT_EQ(moved, 102400U);
  EXPECT_THAT(stack->passed, IsEmpty());
}

TEST_F(Paced, LetsTimeOutsTakeTheirTime) {
  use({true, 0, 0});
  EXPECT_EQ(read(2), platform::kIOUSBTransactionTimeout);
  EXPECT_EQ(read(3, 200), platform::kIOUSBTransactionTimeout);
  EXPECT_THAT(stack->passed, ElementsAre(15000, 200));
}

TEST_F(Paced, WarmsUpBeforeTheFirstByte) {
  use({false, 1200, 0});
  startPicture();
  EXPECT_EQ(read(3, 500), platform::kIOUSBTransactionTimeout);
  EXPECT_EQ(moved, 0U);
  EXPECT_EQ(read(3, 500), platform::kIOUSBTransactionTimeout);
  EXPECT_EQ(read(3, 500), platform::kIOReturnSuccess);
  EXPECT_THAT(stack->passed, ElementsAre(500, 500, 200));
}

TEST_F(Paced, LetsThePictureFlowNoFaster) {
  use({false, 0, 100000});
  startPicture();
  std::uint32_t total = 0;
  int time = 0;
  while (total < 100000) {
    ASSERT_EQ(read(3), platform::kIOReturnSuccess);
    total += moved;
  }
  for (const int passed : stack->passed) time += passed;
  EXPECT_NEAR(time, total / 100, 60);
  EXPECT_THAT(stack->passed, Each(Le(50)));
}

TEST_F(Paced, ReportsAnAbort) {
  use({true, 0, 0});
  stack->abortNext = true;
  EXPECT_EQ(read(2), platform::kIOReturnAborted);
}

TEST_F(Paced, AnyThreadMayAbort) {
  PacedUsbStack real(inner, {true, 0, 0});
  StackUser::Interface other = StackUser(real).interface();
  ASSERT_EQ(other->open(), platform::kIOReturnSuccess);
  std::atomic<bool> over{false};
  std::thread aborting([&] {
    while (!over.load()) other->abortPipe(2);
  });
  char byte = 0;
  std::uint32_t size = 1;
  EXPECT_EQ(other->readPipeTO(2, &byte, &size, 60000, 60000), platform::kIOReturnAborted);
  over.store(true);
  aborting.join();
}

}  // namespace
