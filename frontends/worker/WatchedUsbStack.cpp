#include "WatchedUsbStack.h"

#include "WatchedInterface.h"

namespace frontend {

WatchedUsbStack::WatchedUsbStack(platform::UsbStack& inner, JobWatch& watch, TransferObserver* observer)
    : ForwardingUsbStack(inner), watch_(watch), observer_(observer) {}

WatchedUsbStack::~WatchedUsbStack() {
  releaseInterfaces();
}

std::unique_ptr<platform::ForwardingUsbInterface> WatchedUsbStack::wrap(platform::UsbInterface& interface) {
  outOfMemory_ = true;  // until it is made: the driver would take a failure for the lack of a scanner
  auto watched = std::make_unique<WatchedInterface>(*this, interface, watch_, observer_);
  outOfMemory_ = false;
  return watched;
}

void WatchedUsbStack::noteOpening(platform::IOReturn status, bool first) {
  if (status != platform::kIOReturnSuccess) openFailure_ = status;
  if (first) ++openInterfaces_;
}

void WatchedUsbStack::noteClosed(bool wasOpen) {
  if (wasOpen) --openInterfaces_;
}

}  // namespace frontend
