#include "TransferInFlight.h"

namespace frontend {

void TransferInFlight::begins(platform::UsbInterface& interface, std::uint8_t pipe, bool mayBeAborted) {
  activity_.show();
  const std::lock_guard lock(mutex_);
  interface_ = mayBeAborted ? &interface : nullptr;
  pipe_ = pipe;
}

void TransferInFlight::ends() {
  {
    const std::lock_guard lock(mutex_);
    interface_ = nullptr;
  }
  activity_.show();
}

void TransferInFlight::abort() {
  const std::lock_guard lock(mutex_);
  if (interface_ != nullptr) interface_->abortPipe(pipe_);
}

}  // namespace frontend
