#include "UsbStack.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

// A host that loads this library finds a virtual Q750, and nothing else, on its USB: everything between a
// host and the device takes part but the cable. So that the host itself needs no change, there is nothing to
// configure.
namespace {

// Made when a driver first looks around, since it needs static objects of other units. Never destroyed: a
// host may leave its scanner open until the process has ended.
platform::UsbStack& virtualUsbStack() {
  static auto& scanner = *new virtualscanner::VirtualScanner;
  static auto& stack = *new virtualscanner::VirtualUsbStack(scanner);
  return stack;
}

struct Registration {
  Registration() { platform::useDefaultUsbStack(&virtualUsbStack); }
};
const Registration registration;

}  // namespace
