#include "PacedUsbStack.h"

#include <algorithm>

#include "Descriptors.h"
#include "PacedInterface.h"

namespace virtualscanner {

PacedUsbStack::PacedUsbStack(VirtualUsbStack& inner, Pace pace)
    : ForwardingUsbStack(inner), virtualStack_(inner), pace_(pace) {}

PacedUsbStack::~PacedUsbStack() {
  releaseInterfaces();
}

std::unique_ptr<platform::ForwardingUsbInterface> PacedUsbStack::wrap(platform::UsbInterface& interface) {
  return std::make_unique<PacedInterface>(*this, interface);
}

bool PacedUsbStack::pass(Milliseconds time, std::uint8_t pipe) {
  std::unique_lock lock(mutex_);
  waitingPipe_ = pipe;
  aborted_ = false;
  aborting_.wait_for(lock, time, [this] { return aborted_; });
  waitingPipe_ = -1;
  return !aborted_;
}

void PacedUsbStack::abort(std::uint8_t pipe) {
  const std::lock_guard lock(mutex_);
  if (waitingPipe_ != pipe) return;
  aborted_ = true;
  aborting_.notify_all();
}

}  // namespace virtualscanner
