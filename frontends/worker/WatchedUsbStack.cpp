#include "WatchedUsbStack.h"

#include <new>

#include "WatchedInterface.h"

namespace frontend {

WatchedUsbStack::WatchedUsbStack(platform::UsbStack& inner, JobWatch& watch, TransferInFlight* transfers)
    : ForwardingUsbStack(inner), watch_(watch), transfers_(transfers) {}

WatchedUsbStack::~WatchedUsbStack() {
  releaseInterfaces();
}

// A driver cannot tell an interface for which there was no memory from one that is not there.
std::unique_ptr<platform::ForwardingUsbInterface> WatchedUsbStack::wrap(
    platform::UsbInterface& interface) try {
  return std::make_unique<WatchedInterface>(*this, interface, watch_, transfers_);
} catch (const std::bad_alloc&) {
  openFailure_ = platform::kIOReturnNoMemory;
  throw;
}

void WatchedUsbStack::noteOpening(platform::IOReturn status, bool first) {
  if (status != platform::kIOReturnSuccess) openFailure_ = status;
  if (first) ++openInterfaces_;
}

void WatchedUsbStack::noteClosed(bool wasOpen) {
  if (wasOpen) --openInterfaces_;
}

}  // namespace frontend
