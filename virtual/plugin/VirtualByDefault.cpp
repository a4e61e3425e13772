#include "UsbStack.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

// A host that loads this library finds a virtual Q750, and nothing else, on its USB: everything between host
// and device is used except the cable. There is nothing to configure, so the host needs no change.
namespace {

// Created when a driver first uses USB, since it needs static objects of other units. Never destroyed: a host
// may leave its scanner open until the process has ended.
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
