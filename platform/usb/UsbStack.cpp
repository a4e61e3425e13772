#include "UsbStack.h"

namespace platform {
namespace {

// Stands in where no USB stack was chosen: the registry answers, and is empty.
class EmptyUsbStack final : public UsbStack {
 public:
  IOReturn masterPort(MachPort* port) override {
    *port = 1;
    return kIOReturnSuccess;
  }
  void portDeallocate(MachPort /*port*/) override {}
  std::optional<MatchingDictionary> serviceMatching(ServiceKind kind) override {
    return MatchingDictionary{kind};
  }
  IOReturn matchingServices(MachPort /*port*/, const MatchingDictionary& /*matching*/,
                            IOObject* iterator) override {
    *iterator = 1;
    return kIOReturnSuccess;
  }
  IOObject iteratorNext(IOObject /*iterator*/) override { return 0; }
  void objectRelease(IOObject /*object*/) override {}
  IOReturn createPlugInInterfaceForService(IOObject /*service*/, ServiceKind /*userClientType*/,
                                           PlugInInterface** /*plugIn*/) override {
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

void useUsbStack(UsbStack* stack) {
  chosenStack = stack;
}

void useDefaultUsbStack(DefaultUsbStack stack) {
  defaultStack = stack;
}

}  // namespace platform
