#include "HostileInterface.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "DeviceTime.h"

namespace hostile {

using platform::IOReturn;

namespace {

// The first byte of an honest reply; a picture begins with a marker.
constexpr char replyType = '\xCC';

// What an operation took that ended with this status.
IOReturn passed(IOReturn status, std::uint32_t timeoutMs) {
  const bool timedOut = status == platform::kIOUSBTransactionTimeout || status == platform::kIOReturnTimeout;
  if (timedOut) DeviceTime::pass(std::chrono::milliseconds(timeoutMs));
  return status;
}

}  // namespace

// Not among them: lack of memory, which is a condition of the computer.
const std::array<IOReturn, 10> HostileInterface::statuses = {
    platform::kIOUSBPipeStalled,      platform::kIOUSBTransactionTimeout, platform::kIOReturnTimeout,
    platform::kIOReturnIOError,       platform::kIOReturnOverrun,         platform::kIOReturnAborted,
    platform::kIOUSBUnknownPipeErr,   platform::kIOReturnNoDevice,        platform::kIOReturnNotOpen,
    static_cast<IOReturn>(0xDEADBEEF)};

IOReturn HostileInterface::open() noexcept {
  return failsElsewhere() ? dice().oneOf(statuses) : inner().open();
}

IOReturn HostileInterface::getNumEndpoints(std::uint8_t* count) noexcept {
  const IOReturn status = inner().getNumEndpoints(count);
  if (stack_.oddPipes_) *count = dice().oneOf(std::initializer_list<std::uint8_t>{0, 1, 2, 3, 4, 255});
  return status;
}

IOReturn HostileInterface::setAlternateInterface(std::uint8_t setting) noexcept {
  return failsElsewhere() ? dice().oneOf(statuses) : inner().setAlternateInterface(setting);
}

IOReturn HostileInterface::getPipeProperties(std::uint8_t pipe,
                                             platform::PipeProperties* properties) noexcept {
  const IOReturn status = inner().getPipeProperties(pipe, properties);
  if (!stack_.oddPipes_) return status;
  if (dice().oneIn(10)) return dice().oneOf(statuses);
  if (status != platform::kIOReturnSuccess || dice().oneIn(2)) {
    properties->direction = dice().oneIn(2) ? platform::PipeDirection::in : platform::PipeDirection::out;
    properties->endpointNumber = dice().oneOf(std::initializer_list<std::uint8_t>{0, 2, 8, 11, 15});
    properties->transferType = platform::TransferType::bulk;
  }
  properties->maxPacketSize = dice().oneOf(std::initializer_list<std::uint16_t>{0, 1, 512, 65535});
  return platform::kIOReturnSuccess;
}

IOReturn HostileInterface::clearPipeStallBothEnds(std::uint8_t pipe) noexcept {
  return failsElsewhere() ? dice().oneOf(statuses) : inner().clearPipeStallBothEnds(pipe);
}

// Ends by itself at once.
IOReturn HostileInterface::abortPipe(std::uint8_t /*pipe*/) noexcept {
  return platform::kIOReturnSuccess;
}

IOReturn HostileInterface::writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                       std::uint32_t noDataTimeoutMs,
                                       std::uint32_t completionTimeoutMs) noexcept {
  IOReturn status = platform::kIOReturnSuccess;
  stack_.noteCall();
  if (stack_.begins(&status))
    status = inner().writePipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
  return passed(status, noDataTimeoutMs);
}

IOReturn HostileInterface::readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                      std::uint32_t noDataTimeoutMs,
                                      std::uint32_t completionTimeoutMs) noexcept try {
  return passed(read(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs), noDataTimeoutMs);
} catch (const std::bad_alloc&) {
  return platform::kIOReturnNoMemory;
}

IOReturn HostileInterface::read(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) {
  const std::uint32_t capacity = *size;
  *size = 0;
  IOReturn status = platform::kIOReturnSuccess;
  if (!stack_.begins(&status)) return status;
  HostileUsbStack::Channel& channel = stack_.channels_[pipe];
  if (channel.stream.isEmpty()) status = fetch(pipe, channel, noDataTimeoutMs, completionTimeoutMs);
  if (channel.stream.isEmpty()) return status;
  return deliver(channel, static_cast<std::uint8_t*>(buffer), capacity, size, noDataTimeoutMs);
}

// Takes all that the honest device has to send, and distorts it.
IOReturn HostileInterface::fetch(std::uint8_t pipe, HostileUsbStack::Channel& channel,
                                 std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) {
  if (stack_.babbles_) {
    stack_.babbles_ = false;
    channel.stream = babble(dice());
    return platform::kIOReturnSuccess;
  }
  std::string honest;
  std::array<char, 16384> block;
  IOReturn status = platform::kIOReturnSuccess;
  std::uint32_t moved = 0;
  do {
    moved = block.size();
    status = inner().readPipeTO(pipe, block.data(), &moved, noDataTimeoutMs, completionTimeoutMs);
    honest.append(block.data(), moved);
  } while (status == platform::kIOReturnSuccess && moved == block.size());
  if (honest.empty()) return status;
  channel.isOfReplies = honest.front() == replyType;
  stack_.streamBegan_ = stack_.streamBegan_ || !channel.isOfReplies;
  if (stack_.probes(channel)) {
    stack_.probe(honest, channel);
  } else if (distorts(channel.isOfReplies)) {
    const bool strange = channel.isOfReplies && !dice().oneIn(4);
    channel.stream = strange ? strangeReply(dice()) : distorted(honest, dice());
  } else {
    channel.stream.add(std::move(honest));
  }
  return platform::kIOReturnSuccess;
}

bool HostileInterface::distorts(bool reply) {
  if (!reply) return stack_.distortsPicture_;
  if (!stack_.distortsReplies_) return false;
  if (stack_.honestReplies_ == 0) return true;
  --stack_.honestReplies_;
  return false;
}

IOReturn HostileInterface::deliver(HostileUsbStack::Channel& channel, std::uint8_t* buffer,
                                   std::uint32_t capacity, std::uint32_t* size,
                                   std::uint32_t noDataTimeoutMs) {
  HostileUsbStack::Delivery& delivery = stack_.delivery_;
  if (channel.firstReads > 0) {
    --channel.firstReads;
    return channel.firstStatus;
  }
  const bool plain = channel.isOfReplies && !delivery.ofReplies;
  const auto isDue = [&](std::size_t oneIn) { return !plain && oneIn > 0 && dice().oneIn(oneIn); };
  if (isDue(delivery.timeOutOneIn)) return platform::kIOUSBTransactionTimeout;
  if (!plain && delivery.readMs >= noDataTimeoutMs) return platform::kIOUSBTransactionTimeout;
  if (!plain) DeviceTime::pass(std::chrono::milliseconds(delivery.readMs));
  if (isDue(delivery.emptyOneIn)) return platform::kIOReturnSuccess;
  std::size_t most = capacity;
  if (!plain && delivery.smallLeft > 0) {
    --delivery.smallLeft;
    most = std::min(most, delivery.largest);
  }
  *size = static_cast<std::uint32_t>(channel.stream.take(buffer, most));
  return platform::kIOReturnSuccess;
}

}  // namespace hostile
