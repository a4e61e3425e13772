#include "WatchedInterface.h"

#include <new>

#include "WatchedUsbStack.h"

namespace frontend {

using platform::IOReturn;

// One transfer on its way to the device, which another thread may abort.
class WatchedInterface::Transfer {
 public:
  Transfer(WatchedInterface& interface, std::uint8_t pipe) : transfers_(interface.transfers_) {
    if (transfers_ != nullptr) transfers_->begins(interface.inner(), pipe, interface.watch_.mayBeAborted());
  }
  ~Transfer() {
    if (transfers_ != nullptr) transfers_->ends();
  }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

 private:
  TransferInFlight* transfers_;
};

WatchedInterface::WatchedInterface(WatchedUsbStack& stack, platform::UsbInterface& inner, JobWatch& watch,
                                   TransferInFlight* transfers)
    : ForwardingUsbInterface(stack, inner), stack_(stack), watch_(watch), transfers_(transfers) {}

WatchedInterface::~WatchedInterface() {
  if (open_) putAway();
  stack_.noteClosed(open_);
}

// A driver that received "no device" releases nothing, although the device is usually still connected and
// would start the next job with the rest of this one.
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

IOReturn WatchedInterface::readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                      std::uint32_t noDataTimeoutMs,
                                      std::uint32_t completionTimeoutMs) noexcept {
  try {
    return readAll(pipe, static_cast<std::uint8_t*>(buffer), size, {noDataTimeoutMs, completionTimeoutMs});
  } catch (const std::bad_alloc&) {
    return watch_.noteOutOfMemory();
  }
}

// Joins a reply that the scanner sends in pieces. Once one piece has arrived, the read succeeds: a later
// failure is reported by the next read.
IOReturn WatchedInterface::readAll(std::uint8_t pipe, std::uint8_t* buffer, std::uint32_t* size,
                                   const TransferTimeouts& asked) {
  const std::uint32_t capacity = *size;
  std::uint32_t total = 0;
  *size = 0;
  for (;;) {
    std::uint32_t moved = capacity - total;
    const IOReturn status = readOnce(pipe, buffer + total, &moved, asked);
    const bool passed = status == platform::kIOReturnSuccess;
    if (passed || total == 0) *size = total + moved;
    if (!passed && (total == 0 || watch_.state() == JobState::over)) return status;
    total = *size;
    const bool more = passed && moved > 0 && total < capacity && watch_.answerIsCut(pipe);
    if (!more) return platform::kIOReturnSuccess;
  }
}

// Repeats a read that has only waited: the waits are short, so that the end of a picture is noticed soon.
IOReturn WatchedInterface::readOnce(std::uint8_t pipe, std::uint8_t* buffer, std::uint32_t* size,
                                    const TransferTimeouts& asked) {
  const std::uint32_t capacity = *size;
  for (;;) {
    *size = 0;
    if (const auto answer = watch_.beforeRead(pipe)) return *answer;
    const TransferTimeouts timeouts = watch_.timeoutsFor(pipe, asked);
    *size = capacity;
    IOReturn status = platform::kIOReturnSuccess;
    {
      const Transfer transfer(*this, pipe);
      status = inner().readPipeTO(pipe, buffer, size, timeouts.noDataMs, timeouts.completionMs);
    }
    if (const auto judged = watch_.afterRead(pipe, status, buffer, *size, timeouts.noDataMs)) return *judged;
  }
}

IOReturn WatchedInterface::writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                       std::uint32_t noDataTimeoutMs,
                                       std::uint32_t completionTimeoutMs) noexcept {
  try {
    return write(pipe, buffer, size, {noDataTimeoutMs, completionTimeoutMs});
  } catch (const std::bad_alloc&) {
    return watch_.noteOutOfMemory();
  }
}

IOReturn WatchedInterface::write(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                 const TransferTimeouts& asked) {
  if (const auto answer = watch_.beforeWrite(pipe, buffer, size)) return *answer;
  const TransferTimeouts timeouts = watch_.timeoutsFor(pipe, asked);
  IOReturn status = platform::kIOReturnSuccess;
  {
    const Transfer transfer(*this, pipe);
    status = inner().writePipeTO(pipe, buffer, size, timeouts.noDataMs, timeouts.completionMs);
  }
  return watch_.afterWrite(pipe, status);
}

}  // namespace frontend
