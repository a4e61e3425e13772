#include "WatchedUsbStack.h"

#include "WatchedInterface.h"

namespace frontend {

WatchedUsbStack::WatchedUsbStack(platform::UsbStack& inner, JobWatch& watch, TransferObserver* observer)
    : ForwardingUsbStack(inner), watch_(watch), observer_(observer) {}

WatchedUsbStack::~WatchedUsbStack() {
  releaseInterfaces();
}

std::unique_ptr<platform::ForwardingUsbInterface> WatchedUsbStack::wrap(platform::UsbInterface& interface) {
  return std::make_unique<WatchedInterface>(*this, interface, watch_, observer_);
}

void WatchedUsbStack::noteOpening(platform::IOReturn status, bool first) {
  if (status != platform::kIOReturnSuccess) openFailure_ = status;
  if (first) ++openInterfaces_;
}

void WatchedUsbStack::noteClosed(bool wasOpen) {
  if (wasOpen) --openInterfaces_;
}

}  // namespace frontend
