#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "FailingAllocation.h"
#include "ForwardingUsbStack.h"
#include "ScriptedUsbStack.h"
#include "StackUser.h"

namespace {

using namespace platform;
using testing::_;
using testing::InSequence;
using testing::Return;
using testing::StrictMock;

constexpr IOReturn odd = 0x1234;

class MockInterface : public UsbInterface {
 public:
  MOCK_METHOD(IOReturn, open, (), (noexcept, override));
  MOCK_METHOD(IOReturn, close, (), (noexcept, override));
  MOCK_METHOD(void, release, (), (noexcept, override));
  MOCK_METHOD(IOReturn, getNumEndpoints, (std::uint8_t*), (noexcept, override));
  MOCK_METHOD(IOReturn, setAlternateInterface, (std::uint8_t), (noexcept, override));
  MOCK_METHOD(IOReturn, getPipeProperties, (std::uint8_t, PipeProperties*), (noexcept, override));
  MOCK_METHOD(IOReturn, abortPipe, (std::uint8_t), (noexcept, override));
  MOCK_METHOD(IOReturn, resetPipe, (std::uint8_t), (noexcept, override));
  MOCK_METHOD(IOReturn, clearPipeStallBothEnds, (std::uint8_t), (noexcept, override));
  MOCK_METHOD(IOReturn, controlRequest, (std::uint8_t, const ControlRequest&), (noexcept, override));
  MOCK_METHOD(IOReturn, readPipeTO, (std::uint8_t, void*, std::uint32_t*, std::uint32_t, std::uint32_t),
              (noexcept, override));
  MOCK_METHOD(IOReturn, writePipeTO, (std::uint8_t, const void*, std::uint32_t, std::uint32_t, std::uint32_t),
              (noexcept, override));
};

class MockPlugIn : public PlugInInterface {
 public:
  MOCK_METHOD(IOReturn, queryInterface, (UsbInterface**), (noexcept, override));
  MOCK_METHOD(IOReturn, queryInterface, (UsbDevice**), (noexcept, override));
  MOCK_METHOD(void, release, (), (noexcept, override));
};

class MockStack : public UsbStack {
 public:
  MOCK_METHOD(IOReturn, masterPort, (MachPort*), (noexcept, override));
  MOCK_METHOD(void, portDeallocate, (MachPort), (noexcept, override));
  MOCK_METHOD(std::optional<MatchingDictionary>, serviceMatching, (ServiceKind), (noexcept, override));
  MOCK_METHOD(IOReturn, matchingServices, (MachPort, const MatchingDictionary&, IOObject*),
              (noexcept, override));
  MOCK_METHOD(IOObject, iteratorNext, (IOObject), (noexcept, override));
  MOCK_METHOD(void, objectRelease, (IOObject), (noexcept, override));
  MOCK_METHOD(IOReturn, createPlugInInterfaceForService, (IOObject, ServiceKind, PlugInInterface**),
              (noexcept, override));
};

// Has no memory left for a wrapper.
class ExhaustedStack final : public ForwardingUsbStack {
 public:
  explicit ExhaustedStack(UsbStack& inner) : ForwardingUsbStack(inner) {}

 protected:
  std::unique_ptr<ForwardingUsbInterface> wrap(UsbInterface& /*interface*/) override {
    throw std::bad_alloc();
  }
};

class PlainStack final : public ForwardingUsbStack {
 public:
  explicit PlainStack(UsbStack& inner, bool wraps = true) : ForwardingUsbStack(inner), wraps_(wraps) {}

 protected:
  std::unique_ptr<ForwardingUsbInterface> wrap(UsbInterface& interface) override {
    return wraps_ ? std::make_unique<ForwardingUsbInterface>(*this, interface) : nullptr;
  }

 private:
  bool wraps_;
};

// One interface of an inner stack behind a forwarding one.
class Forwarding : public testing::Test {
 protected:
  // The plug-in of an outer stack over the inner one, which returns the inner interface.
  PlugInInterface* plugInOf(UsbStack& outer) {
    EXPECT_CALL(stack, createPlugInInterfaceForService(7, ServiceKind::usbInterface, _))
        .WillOnce([this](IOObject, ServiceKind, PlugInInterface** result) {
          *result = &plugIn;
          return kIOReturnSuccess;
        });
    EXPECT_CALL(plugIn, queryInterface(testing::A<UsbInterface**>())).WillOnce([this](UsbInterface** result) {
      *result = &inner;
      return kIOReturnSuccess;
    });
    PlugInInterface* outerPlugIn = nullptr;
    EXPECT_EQ(outer.createPlugInInterfaceForService(7, ServiceKind::usbInterface, &outerPlugIn),
              kIOReturnSuccess);
    EXPECT_CALL(plugIn, release());
    return outerPlugIn;
  }
  UsbInterface* interfaceOf(UsbStack& outer) {
    PlugInInterface* outerPlugIn = plugInOf(outer);
    UsbInterface* result = nullptr;
    EXPECT_EQ(outerPlugIn->queryInterface(&result), kIOReturnSuccess);
    outerPlugIn->release();
    return result;
  }

  StrictMock<MockStack> stack;
  StrictMock<MockPlugIn> plugIn;
  StrictMock<MockInterface> inner;
};

TEST_F(Forwarding, PassesEveryOperationOfAnInterfaceOnOnceWithItsArgumentsAndItsStatus) {
  std::uint8_t number = 0;
  std::uint32_t size = 64;
  std::array<std::uint8_t, 64> buffer{};
  PipeProperties properties{};
  const ControlRequest request{};
  EXPECT_CALL(inner, open()).WillOnce(Return(odd));
  EXPECT_CALL(inner, close()).WillOnce(Return(odd + 1));
  EXPECT_CALL(inner, getNumEndpoints(&number)).WillOnce(Return(odd + 2));
  EXPECT_CALL(inner, setAlternateInterface(1)).WillOnce(Return(odd + 3));
  EXPECT_CALL(inner, getPipeProperties(2, &properties)).WillOnce(Return(odd + 4));
  EXPECT_CALL(inner, abortPipe(3)).WillOnce(Return(odd + 5));
  EXPECT_CALL(inner, resetPipe(4)).WillOnce(Return(odd + 6));
  EXPECT_CALL(inner, clearPipeStallBothEnds(5)).WillOnce(Return(odd + 7));
  EXPECT_CALL(inner, controlRequest(0, testing::Ref(request))).WillOnce(Return(odd + 8));
  EXPECT_CALL(inner, readPipeTO(6, buffer.data(), &size, 100, 200)).WillOnce(Return(odd + 9));
  EXPECT_CALL(inner, writePipeTO(7, buffer.data(), 64, 300, 400)).WillOnce(Return(odd + 10));
  EXPECT_CALL(inner, release());

  PlainStack outer(stack);
  UsbInterface* interface = interfaceOf(outer);
  const std::vector<IOReturn> statuses = {interface->open(),
                                          interface->close(),
                                          interface->getNumEndpoints(&number),
                                          interface->setAlternateInterface(1),
                                          interface->getPipeProperties(2, &properties),
                                          interface->abortPipe(3),
                                          interface->resetPipe(4),
                                          interface->clearPipeStallBothEnds(5),
                                          interface->controlRequest(0, request),
                                          interface->readPipeTO(6, buffer.data(), &size, 100, 200),
                                          interface->writePipeTO(7, buffer.data(), 64, 300, 400)};
  for (std::size_t i = 0; i < statuses.size(); ++i) EXPECT_EQ(statuses[i], odd + static_cast<IOReturn>(i));
  interface->release();
}

TEST_F(Forwarding, PassesEveryOperationOfTheRegistryOnOnceWithItsArgumentsAndItsStatus) {
  MachPort port = 0;
  IOObject iterator = 0;
  const MatchingDictionary matching{ServiceKind::usbDevice};
  EXPECT_CALL(stack, masterPort(&port)).WillOnce(Return(odd));
  EXPECT_CALL(stack, portDeallocate(11));
  EXPECT_CALL(stack, serviceMatching(ServiceKind::usbDevice)).WillOnce(Return(std::nullopt));
  EXPECT_CALL(stack, matchingServices(12, testing::Ref(matching), &iterator)).WillOnce(Return(odd + 1));
  EXPECT_CALL(stack, iteratorNext(13)).WillOnce(Return(14));
  EXPECT_CALL(stack, objectRelease(15));

  PlainStack outer(stack);
  EXPECT_EQ(outer.masterPort(&port), odd);
  outer.portDeallocate(11);
  EXPECT_FALSE(outer.serviceMatching(ServiceKind::usbDevice));
  EXPECT_EQ(outer.matchingServices(12, matching, &iterator), odd + 1);
  EXPECT_EQ(outer.iteratorNext(13), 14U);
  outer.objectRelease(15);
}

TEST_F(Forwarding, HandsOutNothingWhereTheInnerStackFails) {
  PlainStack outer(stack);
  auto* untouched = reinterpret_cast<PlugInInterface*>(&stack);
  PlugInInterface* result = untouched;
  EXPECT_CALL(stack, createPlugInInterfaceForService(_, _, _)).WillOnce(Return(odd));
  EXPECT_EQ(outer.createPlugInInterfaceForService(1, ServiceKind::usbDevice, &result), odd);
  EXPECT_EQ(result, untouched);
  EXPECT_CALL(stack, createPlugInInterfaceForService(_, _, _))
      .WillOnce([](IOObject, ServiceKind, PlugInInterface** none) {
        *none = nullptr;
        return kIOReturnSuccess;
      });
  EXPECT_EQ(outer.createPlugInInterfaceForService(1, ServiceKind::usbDevice, &result), kIOReturnSuccess);
  EXPECT_EQ(result, nullptr);
}

TEST_F(Forwarding, ReleasesAnInterfaceThatThereIsNoMemoryToWrap) {
  ExhaustedStack outer(stack);
  PlugInInterface* outerPlugIn = plugInOf(outer);
  EXPECT_CALL(inner, release());
  UsbInterface* untouched = &inner;
  EXPECT_EQ(outerPlugIn->queryInterface(&untouched), kIOReturnNoMemory);
  EXPECT_EQ(untouched, &inner);
  outerPlugIn->release();
}

// The fake fails each call for which it finds no memory; nothing that it handed out may be lost above it.
TEST(ForwardingOutOfMemory, GivesBackWhatItCannotHandOut) {
  fakes::ScriptedUsbStack scripted;
  scripted.addInterface({fakes::bulkIn(8)});
  PlainStack outer(scripted);
  for (int n = 1;; ++n) {
    bool happened = false;
    bool obtained = false;
    {
      const FailingAllocation nth(n);
      obtained = StackUser(outer).interface() != nullptr;
      happened = nth.happened();
    }
    EXPECT_THAT(scripted.leftovers(), testing::IsEmpty()) << "allocation " << n;
    if (!happened) {
      EXPECT_TRUE(obtained);
      break;
    }
  }
  EXPECT_THAT(scripted.misuse(), testing::IsEmpty());
}

TEST_F(Forwarding, HandsInterfacesOutAsTheyAreWhereItIsNotToStandBeforeThem) {
  PlainStack outer(stack, false);
  EXPECT_EQ(interfaceOf(outer), &inner);
}

TEST_F(Forwarding, ReleasesWhatItsUserDroppedInterfacesFirst) {
  PlugInInterface* dropped = nullptr;
  const InSequence inThisOrder;
  {
    PlainStack outer(stack);
    interfaceOf(outer);
    EXPECT_CALL(stack, createPlugInInterfaceForService(8, _, _))
        .WillOnce([this](IOObject, ServiceKind, PlugInInterface** result) {
          *result = &plugIn;
          return kIOReturnSuccess;
        });
    outer.createPlugInInterfaceForService(8, ServiceKind::usbInterface, &dropped);
    EXPECT_CALL(inner, release());
    EXPECT_CALL(plugIn, release());
  }
}

TEST_F(Forwarding, ReleasesNothingTwice) {
  EXPECT_CALL(inner, release()).Times(1);
  PlainStack outer(stack);
  interfaceOf(outer)->release();
}

}  // namespace
