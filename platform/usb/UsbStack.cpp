#include "UsbStack.h"

namespace platform {
namespace {

// The stack if none was chosen: a registry that works and is empty.
class EmptyUsbStack final : public UsbStack {
 public:
  IOReturn masterPort(MachPort* port) noexcept override {
    *port = 1;
    return kIOReturnSuccess;
  }
  void portDeallocate(MachPort /*port*/) noexcept override {}
  std::optional<MatchingDictionary> serviceMatching(ServiceKind kind) noexcept override {
    return MatchingDictionary{kind};
  }
  IOReturn matchingServices(MachPort /*port*/, const MatchingDictionary& /*matching*/,
                            IOObject* iterator) noexcept override {
    *iterator = 1;
    return kIOReturnSuccess;
  }
  IOObject iteratorNext(IOObject /*iterator*/) noexcept override { return 0; }
  void objectRelease(IOObject /*object*/) noexcept override {}
  IOReturn createPlugInInterfaceForService(IOObject /*service*/, ServiceKind /*userClientType*/,
                                           PlugInInterface** /*plugIn*/) noexcept override {
    return kIOReturnNoDevice;
  }
};

EmptyUsbStack emptyStack;
constinit UsbStack* chosenStack = nullptr;
constinit DefaultUsbStack defaultStack = nullptr;

}  // namespace

UsbStack& usbStack() {
  if (chosenStack != nullptr) return *chosenStack;
  return defaultStack != nullptr ? defaultStack() : emptyStack;
}

void useUsbStack(UsbStack* stack) noexcept {
  chosenStack = stack;
}

void useDefaultUsbStack(DefaultUsbStack stack) noexcept {
  defaultStack = stack;
}

}  // namespace platform
