#include "VirtualUsbInterface.h"

#include <algorithm>
#include <new>
#include <utility>

namespace virtualscanner {
namespace {

using namespace platform;

constexpr std::uint8_t onlyInterface = 0;

PipeDirection directionOf(const Endpoint& endpoint) {
  return usb::isIn(endpoint.address) ? PipeDirection::in : PipeDirection::out;
}

}  // namespace

VirtualUsbInterface::~VirtualUsbInterface() {
  close();
}

IOReturn VirtualUsbInterface::open() noexcept {
  if (!isAlive()) return kIOReturnNoDevice;
  // An object that had it open before an unplugging no longer holds it.
  if (stack_.interfaceHolder_ != nullptr && stack_.interfaceHolder_->isAlive())
    return kIOReturnExclusiveAccess;
  stack_.interfaceHolder_ = this;
  open_ = true;
  haltedHere_.clear();
  return kIOReturnSuccess;
}

IOReturn VirtualUsbInterface::close() noexcept try {
  if (!open_) return kIOReturnNotOpen;
  open_ = false;
  if (stack_.interfaceHolder_ == this) stack_.interfaceHolder_ = nullptr;
  const bool mustReset = std::exchange(setting_, std::uint8_t{0}) != 0;
  if (!isAlive()) return kIOReturnNoDevice;
  if (mustReset) stack_.scanner_.control(usb::selectSetting(onlyInterface, 0), nullptr);
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

void VirtualUsbInterface::release() noexcept {
  stack_.interfaces_.erase(this);
}

IOReturn VirtualUsbInterface::getNumEndpoints(std::uint8_t* count) noexcept {
  const IOReturn status = checkOpen();
  if (status == kIOReturnSuccess)
    *count = static_cast<std::uint8_t>(stack_.scanner_.endpoints(setting_).size());
  return status;
}

IOReturn VirtualUsbInterface::setAlternateInterface(std::uint8_t alternateSetting) noexcept try {
  IOReturn status = checkOpen();
  if (status != kIOReturnSuccess) return status;
  if (!stack_.scanner_.hasAlternateSetting(alternateSetting)) return kIOReturnNotFound;
  status = statusOf(stack_.scanner_.control(usb::selectSetting(onlyInterface, alternateSetting), nullptr), 0);
  if (status != kIOReturnSuccess) return status;
  setting_ = alternateSetting;
  haltedHere_.clear();
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

IOReturn VirtualUsbInterface::getPipeProperties(std::uint8_t pipe, PipeProperties* properties) noexcept {
  const IOReturn status = checkPipe(pipe);
  if (status != kIOReturnSuccess) return status;
  if (pipe == 0) {
    *properties = {PipeDirection::out, 0, TransferType::control, 64, 0};
    return kIOReturnSuccess;
  }
  const Endpoint& endpoint = *endpointOf(pipe);
  *properties = {directionOf(endpoint), usb::endpointNumber(endpoint.address), endpoint.type,
                 endpoint.maxPacketSize, endpoint.interval};
  return kIOReturnSuccess;
}

// Transfers end before their calls return: there is never one in flight.
IOReturn VirtualUsbInterface::abortPipe(std::uint8_t pipe) noexcept {
  return checkPipe(pipe);
}

IOReturn VirtualUsbInterface::resetPipe(std::uint8_t pipe) noexcept {
  const IOReturn status = checkPipe(pipe);
  if (status == kIOReturnSuccess) haltedHere_.erase(pipe);
  return status;
}

IOReturn VirtualUsbInterface::clearPipeStallBothEnds(std::uint8_t pipe) noexcept try {
  const IOReturn status = resetPipe(pipe);
  if (status != kIOReturnSuccess || pipe == 0) return status;
  return statusOf(stack_.scanner_.control(usb::clearHaltOf(endpointOf(pipe)->address), nullptr), 0);
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

IOReturn VirtualUsbInterface::controlRequest(std::uint8_t pipe, const ControlRequest& request) noexcept try {
  const IOReturn status = checkOpen();
  if (status != kIOReturnSuccess) return status;
  if (pipe != 0) return kIOUSBUnknownPipeErr;
  return statusOf(stack_.scanner_.control(request, static_cast<std::uint8_t*>(request.data)), 0);
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

IOReturn VirtualUsbInterface::readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                         std::uint32_t noDataTimeoutMs,
                                         std::uint32_t completionTimeoutMs) noexcept try {
  const std::uint32_t capacity = *size;
  *size = 0;
  const IOReturn check = checkTransfer(pipe, PipeDirection::in);
  if (check != kIOReturnSuccess) return check;
  const Transfer transfer =
      stack_.scanner_.read(endpointOf(pipe)->address, static_cast<std::uint8_t*>(buffer), capacity);
  *size = static_cast<std::uint32_t>(transfer.moved);
  if (transfer.status == TransferStatus::silent) return wait(noDataTimeoutMs, completionTimeoutMs);
  const bool quiet = transfer.status == TransferStatus::done && !transfer.ended && transfer.moved < capacity;
  // Bytes that arrived before the silence make the read a success, unless the wait is without end.
  if (quiet && wait(noDataTimeoutMs, completionTimeoutMs) == kIOReturnAborted) return kIOReturnAborted;
  return statusOf(transfer, pipe);
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

IOReturn VirtualUsbInterface::writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                          std::uint32_t noDataTimeoutMs,
                                          std::uint32_t completionTimeoutMs) noexcept try {
  const IOReturn check = checkTransfer(pipe, PipeDirection::out);
  if (check != kIOReturnSuccess) return check;
  const Transfer transfer =
      stack_.scanner_.write(endpointOf(pipe)->address, static_cast<const std::uint8_t*>(buffer), size);
  if (transfer.status == TransferStatus::silent) return wait(noDataTimeoutMs, completionTimeoutMs);
  return statusOf(transfer, pipe);
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

bool VirtualUsbInterface::isAlive() const {
  return stack_.scanner_.pluggedIn() && stack_.scanner_.connection() == connection_;
}

IOReturn VirtualUsbInterface::checkOpen() const {
  if (!open_) return kIOReturnNotOpen;
  return isAlive() ? kIOReturnSuccess : kIOReturnNoDevice;
}

const Endpoint* VirtualUsbInterface::endpointOf(std::uint8_t pipe) const {
  const std::span<const Endpoint> endpoints = stack_.scanner_.endpoints(setting_);
  return pipe == 0 || pipe > endpoints.size() ? nullptr : &endpoints[pipe - std::size_t{1}];
}

IOReturn VirtualUsbInterface::checkPipe(std::uint8_t pipe) const {
  const IOReturn status = checkOpen();
  if (status != kIOReturnSuccess) return status;
  return pipe == 0 || endpointOf(pipe) != nullptr ? kIOReturnSuccess : kIOUSBUnknownPipeErr;
}

IOReturn VirtualUsbInterface::checkTransfer(std::uint8_t pipe, PipeDirection direction) const {
  const IOReturn status = checkOpen();
  if (status != kIOReturnSuccess) return status;
  const Endpoint* endpoint = endpointOf(pipe);
  if (endpoint == nullptr || directionOf(*endpoint) != direction) return kIOUSBUnknownPipeErr;
  return isHaltedHereAlone(pipe) ? kIOUSBPipeStalled : kIOReturnSuccess;
}

// While the device's side is halted too, transfers go to the device, so that it counts them for its faults.
bool VirtualUsbInterface::isHaltedHereAlone(std::uint8_t pipe) const {
  if (!haltedHere_.contains(pipe)) return false;
  std::uint8_t status[usb::statusSize] = {};
  stack_.scanner_.control(usb::readStatusOf(endpointOf(pipe)->address), status);
  return (status[0] & usb::haltedBit) == 0;
}

IOReturn VirtualUsbInterface::statusOf(const Transfer& transfer, std::uint8_t pipe) {
  switch (transfer.status) {
    case TransferStatus::done:
      return kIOReturnSuccess;
    case TransferStatus::halted:
      if (pipe != 0) haltedHere_.insert(pipe);  // a halt of the control pipe ends with the next request
      return kIOUSBPipeStalled;
    case TransferStatus::overrun:
      return kIOReturnOverrun;
    case TransferStatus::gone:
      return kIOReturnNoDevice;
    case TransferStatus::silent:
      break;
  }
  return kIOUSBTransactionTimeout;
}

IOReturn VirtualUsbInterface::wait(std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) {
  if (noDataTimeoutMs == 0 && completionTimeoutMs == 0) return kIOReturnAborted;
  const std::uint32_t shorter = noDataTimeoutMs == 0       ? completionTimeoutMs
                                : completionTimeoutMs == 0 ? noDataTimeoutMs
                                                           : std::min(noDataTimeoutMs, completionTimeoutMs);
  stack_.nowMs_ += shorter;
  return kIOUSBTransactionTimeout;
}

}  // namespace virtualscanner
