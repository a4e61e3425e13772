#pragma once

#include <memory>

#include "ForwardingUsbStack.h"
#include "JobWatch.h"
#include "TransferObserver.h"

namespace frontend {

class WatchedInterface;

// A stack over another one that lets a JobWatch see, and end, every transfer on its interfaces, and that
// gives back what a driver leaves behind (after the device went away it closes nothing). Everything else
// passes unchanged.
//
// Inner stack, watch and observer belong to the caller and outlive it; objects that it handed out end with
// it. One thread.
class WatchedUsbStack final : public platform::ForwardingUsbStack {
 public:
  WatchedUsbStack(platform::UsbStack& inner, JobWatch& watch, TransferObserver* observer = nullptr);
  ~WatchedUsbStack() override;

  // Whether an interface is open now.
  bool holdsInterface() const { return openInterfaces_ > 0; }
  // Whether memory ran out in a call on this stack, here or below. The watch may have missed bytes since, so
  // every later transfer is kIOReturnNoDevice.
  bool outOfMemory() const { return outOfMemory_; }
  // The last interface that could not be opened: why; kIOReturnSuccess if there was none.
  platform::IOReturn openFailure() const { return openFailure_; }

 protected:
  std::unique_ptr<platform::ForwardingUsbInterface> wrap(platform::UsbInterface& interface) override;

 private:
  friend class WatchedInterface;

  void noteOpening(platform::IOReturn status, bool first);
  void noteClosed(bool wasOpen);

  JobWatch& watch_;
  TransferObserver* observer_;
  platform::IOReturn openFailure_ = platform::kIOReturnSuccess;
  int openInterfaces_ = 0;
  bool outOfMemory_ = false;
};

}  // namespace frontend
