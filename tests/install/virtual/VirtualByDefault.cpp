#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

// Makes a plug-in library that knows nothing of the virtual Q750 find it on its USB: what stands between a
// host and the device is all there, but for the cable.
namespace {

// The virtual scanner stands on static objects of other units: it is made when a driver first looks around.
class VirtualByDefault final : public platform::UsbStack {
 public:
  VirtualByDefault() { platform::useUsbStack(this); }

  platform::IOReturn masterPort(platform::MachPort* port) override { return stack().masterPort(port); }
  void portDeallocate(platform::MachPort port) override { stack().portDeallocate(port); }
  std::optional<platform::MatchingDictionary> serviceMatching(platform::ServiceKind kind) override {
    return stack().serviceMatching(kind);
  }
  platform::IOReturn matchingServices(platform::MachPort port, const platform::MatchingDictionary& matching,
                                      platform::IOObject* iterator) override {
    return stack().matchingServices(port, matching, iterator);
  }
  platform::IOObject iteratorNext(platform::IOObject iterator) override {
    return stack().iteratorNext(iterator);
  }
  void objectRelease(platform::IOObject object) override { stack().objectRelease(object); }
  platform::IOReturn createPlugInInterfaceForService(platform::IOObject service,
                                                     platform::ServiceKind userClientType,
                                                     platform::PlugInInterface** plugIn) override {
    return stack().createPlugInInterfaceForService(service, userClientType, plugIn);
  }

 private:
  static platform::UsbStack& stack() {
    // Never destroyed: drivers that were not disabled hold on to it until the process ends.
    static auto& scanner = *new virtualscanner::VirtualScanner;
    static auto& stack = *new virtualscanner::VirtualUsbStack(scanner);
    return stack;
  }
};

VirtualByDefault virtualByDefault;

}  // namespace
