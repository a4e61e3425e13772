#include "WatchedInterface.h"

#include <new>
#include <utility>

#include "WatchedUsbStack.h"

namespace frontend {

using platform::IOReturn;

// Tells an observer, if there is one, of the transfer that is done while it lives.
class WatchedInterface::Transfer {
 public:
  Transfer(WatchedInterface& interface, std::uint8_t pipe) : observer_(interface.observer_) {
    if (observer_ != nullptr) observer_->begins(interface.inner(), pipe, interface.watch_.mayBeAborted());
  }
  ~Transfer() {
    if (observer_ != nullptr) observer_->ends();
  }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

 private:
  TransferObserver* observer_;
};

WatchedInterface::WatchedInterface(WatchedUsbStack& stack, platform::UsbInterface& inner, JobWatch& watch,
                                   TransferObserver* observer)
    : ForwardingUsbInterface(stack, inner), stack_(stack), watch_(watch), observer_(observer) {}

WatchedInterface::~WatchedInterface() {
  if (open_) putAway();
  stack_.noteClosed(open_);
}

void WatchedInterface::putAway() {
  const JobPipes& pipes = watch_.pipes();
  for (const std::uint8_t pipe : {pipes.out, pipes.reply, pipes.data}) {
    if (pipe == 0) continue;
    inner().abortPipe(pipe);
    inner().clearPipeStallBothEnds(pipe);
  }
  inner().close();
}

IOReturn WatchedInterface::open() noexcept {
  const IOReturn status = inner().open();
  const bool first = !open_ && status == platform::kIOReturnSuccess;
  open_ = open_ || first;
  stack_.noteOpening(status, first);
  return status;
}

IOReturn WatchedInterface::close() noexcept {
  stack_.noteClosed(open_);
  open_ = false;
  return inner().close();
}

// One read that the library asked for: as long as the scanner only keeps silent within the limits, it is done
// again.
IOReturn WatchedInterface::readOnce(std::uint8_t pipe, std::uint8_t* buffer, std::uint32_t* size,
                                    std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) {
  const std::uint32_t capacity = *size;
  for (;;) {
    *size = 0;
    if (!watch_.mayRead(pipe)) return platform::kIOReturnNoDevice;
    if (watch_.isExhausted(pipe)) return platform::kIOUSBTransactionTimeout;
    const std::uint32_t wait = watch_.waitFor(pipe, noDataTimeoutMs);
    *size = capacity;
    IOReturn status = platform::kIOReturnSuccess;
    {
      const Transfer transfer(*this, pipe);
      status = inner().readPipeTO(pipe, buffer, size, wait, watch_.completionFor(pipe, completionTimeoutMs));
    }
    if (status == platform::kIOReturnNoMemory) return status;
    status = watch_.judgeRead(pipe, status, buffer, *size, wait);
    if (!watch_.readAgain()) return status;
  }
}

IOReturn WatchedInterface::readWhole(std::uint8_t pipe, std::uint8_t* buffer, std::uint32_t* size,
                                     std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) {
  const std::uint32_t capacity = *size;
  std::uint32_t total = 0;
  *size = 0;
  for (;;) {
    std::uint32_t moved = capacity - total;
    const IOReturn told = readOnce(pipe, buffer + total, &moved, noDataTimeoutMs, completionTimeoutMs);
    const bool passed = told == platform::kIOReturnSuccess;
    if (passed || total == 0) *size = total + moved;
    if (!passed && (total == 0 || watch_.ended())) return told;
    total = *size;
    const bool more = passed && moved > 0 && total < capacity && watch_.answerIsCut(pipe);
    if (!more) return platform::kIOReturnSuccess;
  }
}

template <typename Operation>
IOReturn WatchedInterface::unlessOutOfMemory(Operation operation) noexcept {
  if (stack_.outOfMemory_) return platform::kIOReturnNoDevice;
  IOReturn status = platform::kIOReturnNoMemory;
  try {
    status = operation();
  } catch (const std::bad_alloc&) {
  }
  stack_.outOfMemory_ = status == platform::kIOReturnNoMemory;
  return status;
}

IOReturn WatchedInterface::readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                      std::uint32_t noDataTimeoutMs,
                                      std::uint32_t completionTimeoutMs) noexcept {
  std::uint32_t moved = std::exchange(*size, 0);
  return unlessOutOfMemory([&] {
    const IOReturn status =
        readWhole(pipe, static_cast<std::uint8_t*>(buffer), &moved, noDataTimeoutMs, completionTimeoutMs);
    *size = moved;
    return status;
  });
}

IOReturn WatchedInterface::writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                       std::uint32_t noDataTimeoutMs,
                                       std::uint32_t completionTimeoutMs) noexcept {
  return unlessOutOfMemory([&] {
    if (!watch_.mayWrite(pipe, buffer, size)) return platform::kIOReturnNoDevice;
    IOReturn status = platform::kIOReturnSuccess;
    {
      const Transfer transfer(*this, pipe);
      status = inner().writePipeTO(pipe, buffer, size, watch_.waitFor(pipe, noDataTimeoutMs),
                                   watch_.completionFor(pipe, completionTimeoutMs));
    }
    return status == platform::kIOReturnNoMemory ? status : watch_.judgeWrite(pipe, status);
  });
}

}  // namespace frontend
