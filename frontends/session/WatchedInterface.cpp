#include "WatchedInterface.h"

#include "WatchedUsbStack.h"

namespace frontend {

using platform::IOReturn;

void WatchedInterface::putAway() {
  if (open_) {
    const JobPipes& pipes = watch_.pipes();
    for (const std::uint8_t pipe : {pipes.out, pipes.reply, pipes.data}) {
      if (pipe == 0) continue;
      inner_.abortPipe(pipe);
      inner_.clearPipeStallBothEnds(pipe);
    }
    inner_.close();
  }
  inner_.release();
}

IOReturn WatchedInterface::open() {
  const IOReturn status = inner_.open();
  open_ = open_ || status == platform::kIOReturnSuccess;
  stack_.noteOpening(status);
  return status;
}

IOReturn WatchedInterface::close() {
  open_ = false;
  return inner_.close();
}

void WatchedInterface::release() {
  inner_.release();
  stack_.forget(this);
}

IOReturn WatchedInterface::getNumEndpoints(std::uint8_t* count) {
  return inner_.getNumEndpoints(count);
}

IOReturn WatchedInterface::setAlternateInterface(std::uint8_t alternateSetting) {
  return inner_.setAlternateInterface(alternateSetting);
}

IOReturn WatchedInterface::getPipeProperties(std::uint8_t pipe, platform::PipeProperties* properties) {
  return inner_.getPipeProperties(pipe, properties);
}

IOReturn WatchedInterface::abortPipe(std::uint8_t pipe) {
  return inner_.abortPipe(pipe);
}

IOReturn WatchedInterface::resetPipe(std::uint8_t pipe) {
  return inner_.resetPipe(pipe);
}

IOReturn WatchedInterface::clearPipeStallBothEnds(std::uint8_t pipe) {
  return inner_.clearPipeStallBothEnds(pipe);
}

IOReturn WatchedInterface::controlRequest(std::uint8_t pipe, const platform::ControlRequest& request) {
  return inner_.controlRequest(pipe, request);
}

IOReturn WatchedInterface::readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                      std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) {
  const std::uint32_t capacity = *size;
  std::uint32_t total = 0;
  *size = 0;
  if (!watch_.mayRead(pipe)) return platform::kIOReturnNoDevice;
  for (;;) {
    std::uint8_t* room = static_cast<std::uint8_t*>(buffer) + total;
    std::uint32_t moved = capacity - total;
    const IOReturn status = inner_.readPipeTO(pipe, room, &moved, noDataTimeoutMs, completionTimeoutMs);
    const IOReturn told = watch_.judgeRead(pipe, status, room, moved, noDataTimeoutMs);
    const bool passed = told == platform::kIOReturnSuccess;
    if (passed || total == 0) *size = total + moved;
    if (!passed && (total == 0 || watch_.ended())) return told;
    total = *size;
    const bool more = passed && moved > 0 && total < capacity && watch_.answerIsCut(pipe);
    if (!more) return platform::kIOReturnSuccess;
    if (!watch_.mayRead(pipe)) return platform::kIOReturnNoDevice;
  }
}

IOReturn WatchedInterface::writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                       std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) {
  if (!watch_.mayWrite(pipe, buffer, size)) return platform::kIOReturnNoDevice;
  return watch_.judgeWrite(pipe,
                           inner_.writePipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs));
}

}  // namespace frontend
