#include "ForwardingUsbStack.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

// Makes a plug-in library that knows nothing of the virtual Q750 find it on its USB: what stands between a
// host and the device is all there, but for the cable.
namespace {

// The virtual scanner stands on static objects of other units: it is made when a driver first looks around.
class VirtualByDefault final : public platform::ForwardingUsbStack {
 public:
  VirtualByDefault() { platform::useUsbStack(this); }

 private:
  platform::UsbStack& inner() noexcept override {
    // Never destroyed: drivers that were not disabled hold on to it until the process ends.
    static auto& scanner = *new virtualscanner::VirtualScanner;
    static auto& stack = *new virtualscanner::VirtualUsbStack(scanner);
    return stack;
  }
};

VirtualByDefault virtualByDefault;

}  // namespace
