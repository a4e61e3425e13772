#pragma once

#include <memory>

#include "ForwardingUsbStack.h"
#include "JobWatch.h"
#include "TransferInFlight.h"

namespace frontend {

class WatchedInterface;

// A stack over another one that lets a JobWatch see, and end, every transfer on its interfaces, and that
// releases what a driver leaves behind: one that received "no device" closes nothing. Everything else passes
// unchanged.
//
// Inner stack, watch and transfer belong to the caller and outlive it; objects that it handed out end with
// it. One thread.
class WatchedUsbStack final : public platform::ForwardingUsbStack {
 public:
  // Each transfer is announced to `transfers`, which may be null.
  WatchedUsbStack(platform::UsbStack& inner, JobWatch& watch, TransferInFlight* transfers = nullptr);
  ~WatchedUsbStack() override;

  // Whether an interface is open now.
  bool holdsInterface() const { return openInterfaces_ > 0; }
  // Why the last interface that could not be opened was not; kIOReturnSuccess if there was none.
  platform::IOReturn openFailure() const { return openFailure_; }

 protected:
  // A WatchedInterface for every interface. Throws std::bad_alloc.
  std::unique_ptr<platform::ForwardingUsbInterface> wrap(platform::UsbInterface& interface) override;

 private:
  friend class WatchedInterface;

  void noteOpening(platform::IOReturn status, bool first);
  void noteClosed(bool wasOpen);

  JobWatch& watch_;
  TransferInFlight* transfers_;
  platform::IOReturn openFailure_ = platform::kIOReturnSuccess;
  int openInterfaces_ = 0;
};

}  // namespace frontend
