#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Packets.h"
#include "ScriptedUsbStack.h"
#include "WatchedUsbStack.h"

namespace {

using namespace frontend;
using fakes::bulkIn;
using fakes::bulkOut;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class WatchedStack : public testing::Test {
 protected:
  WatchedStack() {
    usb.addInterface({bulkOut(2), bulkIn(11), bulkIn(8)});
    watch.watchPipes({1, 2, 3});
  }

  platform::UsbInterface* obtain(platform::UsbStack& stack) {
    platform::MachPort port = 0;
    stack.masterPort(&port);
    platform::IOObject iterator = 0;
    stack.matchingServices(port, *stack.serviceMatching(platform::ServiceKind::usbInterface), &iterator);
    const platform::IOObject service = stack.iteratorNext(iterator);
    platform::PlugInInterface* plugIn = nullptr;
    stack.createPlugInInterfaceForService(service, platform::ServiceKind::usbInterface, &plugIn);
    platform::UsbInterface* interface = nullptr;
    if (plugIn != nullptr) {
      plugIn->queryInterface(&interface);
      plugIn->release();
    }
    stack.objectRelease(service);
    stack.objectRelease(iterator);
    stack.portDeallocate(port);
    return interface;
  }

  // Every operation once.
  void exercise(platform::UsbStack& stack) {
    platform::UsbInterface* interface = obtain(stack);
    interface->open();
    std::uint8_t count = 0;
    interface->getNumEndpoints(&count);
    EXPECT_EQ(count, 3);
    platform::PipeProperties properties{};
    interface->getPipeProperties(2, &properties);
    EXPECT_EQ(properties.endpointNumber, 11);
    interface->abortPipe(1);
    interface->resetPipe(1);
    interface->clearPipeStallBothEnds(3);
    interface->controlRequest(0, {platform::usb::clearHaltOf(0x88), nullptr});
    interface->writePipeTO(1, "hello", 5, 250, 250);
    char buffer[10] = {};
    std::uint32_t size = sizeof buffer;
    interface->readPipeTO(3, buffer, &size, 250, 250);
    interface->setAlternateInterface(1);
    interface->close();
    interface->release();
  }

  fakes::ScriptedUsbStack usb;
  JobWatch watch{{.timeoutMs = 250}};
};

TEST_F(WatchedStack, PassesEveryCallOnWithItsArguments) {
  exercise(usb);
  const std::vector<std::string> plain = usb.calls();
  usb.forgetCalls();
  WatchedUsbStack stack(usb, watch);
  exercise(stack);
  EXPECT_EQ(usb.calls(), plain);
  EXPECT_THAT(usb.leftovers(), IsEmpty());
  EXPECT_THAT(usb.misuse(), IsEmpty());
}

TEST_F(WatchedStack, PassesFailuresAndNullObjectsOn) {
  WatchedUsbStack stack(usb, watch);
  usb.failNext("createPlugIn", platform::kIOReturnNoResources);
  EXPECT_EQ(obtain(stack), nullptr);
  usb.answerNull("createPlugIn");
  EXPECT_EQ(obtain(stack), nullptr);
}

TEST_F(WatchedStack, KnowsWhetherAnInterfaceIsOpen) {
  WatchedUsbStack stack(usb, watch);
  platform::UsbInterface* interface = obtain(stack);
  EXPECT_FALSE(stack.holdsInterface());
  interface->open();
  EXPECT_TRUE(stack.holdsInterface());
  interface->close();
  EXPECT_FALSE(stack.holdsInterface());
  interface->release();
}

TEST_F(WatchedStack, RemembersWhyAnInterfaceCouldNotBeOpened) {
  WatchedUsbStack stack(usb, watch);
  usb.failNext("interface 1.open", platform::kIOReturnExclusiveAccess);
  platform::UsbInterface* interface = obtain(stack);
  interface->open();
  EXPECT_EQ(stack.openFailure(), platform::kIOReturnExclusiveAccess);
  EXPECT_FALSE(stack.holdsInterface());
  interface->release();
}

TEST_F(WatchedStack, GivesBackAnInterfaceThatWasLeftOpen) {
  {
    WatchedUsbStack stack(usb, watch);
    obtain(stack)->open();
    usb.forgetCalls();
  }
  EXPECT_THAT(usb.calls(), ElementsAre("interface 1.abortPipe(1)", "interface 1.clearPipeStallBothEnds(1)",
                                       "interface 1.abortPipe(2)", "interface 1.clearPipeStallBothEnds(2)",
                                       "interface 1.abortPipe(3)", "interface 1.clearPipeStallBothEnds(3)",
                                       "interface 1.close()", "interface 1.release()"));
  EXPECT_THAT(usb.leftovers(), IsEmpty());
}

TEST_F(WatchedStack, GivesBackAnInterfaceThatWasNeverOpened) {
  { obtain(*std::make_unique<WatchedUsbStack>(usb, watch)); }
  EXPECT_THAT(usb.leftovers(), IsEmpty());
  EXPECT_THAT(usb.misuse(), IsEmpty());
}

class WatchedTransfers : public WatchedStack {
 protected:
  WatchedTransfers() {
    interface->open();
    const std::string bytes = call("create");
    interface->writePipeTO(1, bytes.data(), static_cast<std::uint32_t>(bytes.size()), 15000, 60000);
  }

  platform::IOReturn read(std::uint8_t pipe, std::uint32_t capacity = 512) {
    std::vector<char> buffer(capacity);
    std::uint32_t size = capacity;
    const platform::IOReturn status = interface->readPipeTO(pipe, buffer.data(), &size, 15000, 60000);
    received.assign(buffer.data(), size);
    return status;
  }

  WatchedUsbStack stack{usb, watch};
  platform::UsbInterface* interface = obtain(stack);
  std::string received;
};

TEST_F(WatchedTransfers, JoinsAnAnswerThatComesInPieces) {
  const std::string reply = response("job1");
  usb.queueRead(2, reply.substr(0, 8));
  usb.queueRead(2, reply.substr(8, 30));
  usb.queueRead(2, reply.substr(38));
  EXPECT_EQ(read(2), platform::kIOReturnSuccess);
  EXPECT_EQ(received, reply);
}

TEST_F(WatchedTransfers, HandsOutWhatCameOfAnAnswerWhoseRestDoesNot) {
  usb.queueRead(2, response("job1").substr(0, 30));
  EXPECT_EQ(read(2), platform::kIOReturnSuccess);
  EXPECT_EQ(received, response("job1").substr(0, 30));
}

TEST_F(WatchedTransfers, ReadsNoMoreThanTheReaderHasRoomFor) {
  usb.queueRead(2, response(std::string(600, 'x')));
  EXPECT_EQ(read(2, 512), platform::kIOReturnSuccess);
  EXPECT_EQ(received.size(), 512U);
}

TEST_F(WatchedTransfers, ReadsTheDataPipeOnceOnly) {
  usb.queueRead(2, response("job1"));
  read(2);
  usb.queueRead(3, packet(0xDD, "P5\n#\n1 1\n").substr(0, 12));
  EXPECT_EQ(read(3), platform::kIOReturnSuccess);
  EXPECT_EQ(received.size(), 12U);
}

TEST_F(WatchedTransfers, TellHowMuchMovedWhenTheyFail) {
  EXPECT_EQ(read(2), platform::kIOUSBTransactionTimeout);
  EXPECT_EQ(received, "");
}

TEST_F(WatchedTransfers, NeverReachTheDeviceOnceTheJobIsEnded) {
  usb.queueRead(2, exceptionReply("no"));
  EXPECT_EQ(read(2), platform::kIOReturnNoDevice);
  usb.forgetCalls();
  EXPECT_EQ(read(3), platform::kIOReturnNoDevice);
  EXPECT_EQ(received, "");
  EXPECT_EQ(interface->writePipeTO(1, "x", 1, 0, 0), platform::kIOReturnNoDevice);
  EXPECT_THAT(usb.calls(), IsEmpty());
}

}  // namespace
