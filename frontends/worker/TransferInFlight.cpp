#include "TransferInFlight.h"

namespace frontend {

void TransferInFlight::begins(platform::UsbInterface& interface, std::uint8_t pipe,
                              bool mayBeAborted) noexcept {
  activity_.note();
  const std::lock_guard lock(mutex_);
  interface_ = mayBeAborted ? &interface : nullptr;
  pipe_ = pipe;
}

void TransferInFlight::ends() noexcept {
  {
    // Waits for an abort that is under way: the interface must outlive it.
    const std::lock_guard lock(mutex_);
    interface_ = nullptr;
  }
  activity_.note();
}

void TransferInFlight::abort() noexcept {
  const std::lock_guard lock(mutex_);
  if (interface_ != nullptr) interface_->abortPipe(pipe_);
}

}  // namespace frontend
