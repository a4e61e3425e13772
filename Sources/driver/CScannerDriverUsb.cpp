#include <algorithm>
#include <limits>

#include "CScannerDriver.h"

namespace {

using platform::IOReturn;
using platform::kIOReturnNoDevice;
using platform::kIOReturnSuccess;
using platform::PipeDirection;
using platform::ServiceKind;

// Part of the behaviour: a data read that times out is how the end of the image is detected.
constexpr std::uint32_t noDataTimeoutMs = 15000;
constexpr std::uint32_t completionTimeoutMs = 60000;

constexpr std::uint8_t requestEndpoint = 2;  // out
constexpr std::uint8_t replyEndpoint = 11;   // in
constexpr std::uint8_t dataEndpoint = 8;     // in

// An interface without endpoints in its first setting is used with this one, and assumed to have this many.
constexpr std::uint8_t alternateSetting = 1;
constexpr std::uint8_t alternateEndpointCount = 13;

std::uint32_t asTransferSize(unsigned long length) {
  return static_cast<std::uint32_t>(
      std::min<unsigned long>(length, std::numeric_limits<std::uint32_t>::max()));
}

}  // namespace

int CScannerDriver::OpenMyDevice() {
  platform::UsbStack& stack = platform::usbStack();
  platform::MachPort port = 0;
  // Without a master port this succeeds without an interface: the driver counts as open but holds none.
  if (stack.masterPort(&port) != kIOReturnSuccess) return 0;
  const auto matching = stack.serviceMatching(ServiceKind::usbInterface);
  if (!matching) {
    stack.portDeallocate(port);
    deviceOpen_ = 0;
    return 0;
  }
  platform::IOObject iterator = 0;
  if (stack.matchingServices(port, *matching, &iterator) == kIOReturnSuccess) {
    // The first interface that can be opened is used, whichever device it belongs to.
    while (const platform::IOObject service = stack.iteratorNext(iterator)) {
      // The service after the one that was opened is still fetched, and released, before the search stops.
      const bool enough = interface_ != nullptr;
      if (!enough) DealWithInterface(service);
      stack.objectRelease(service);
      if (enough) break;
    }
    stack.objectRelease(iterator);
  }
  stack.portDeallocate(port);
  deviceOpen_ = interface_ != nullptr ? 1 : 0;
  return interface_ != nullptr ? 0 : -1;
}

void CScannerDriver::DealWithInterface(unsigned int service) {
  platform::PlugInInterface* plugIn = nullptr;
  if (platform::usbStack().createPlugInInterfaceForService(service, ServiceKind::usbInterface, &plugIn) !=
          kIOReturnSuccess ||
      plugIn == nullptr) {
    return;
  }
  platform::UsbInterface* candidate = nullptr;
  const IOReturn queried = plugIn->queryInterface(&candidate);
  plugIn->release();
  if (queried != kIOReturnSuccess || candidate == nullptr) return;
  // An interface that cannot be opened is dropped without a release, by design: its object stays allocated.
  if (candidate->open() != kIOReturnSuccess) return;

  interface_ = candidate;
  if (interface_->getNumEndpoints(&endpointCount_) != kIOReturnSuccess) {
    closeAndForgetInterface();
    return;
  }
  if (endpointCount_ == 0) {
    if (interface_->setAlternateInterface(alternateSetting) != kIOReturnSuccess ||
        interface_->getNumEndpoints(&endpointCount_) != kIOReturnSuccess) {
      closeAndForgetInterface();
      return;
    }
    // Whatever the call returned, every pipe up to this reference is examined; if one is missing, the
    // interface is given up.
    endpointCount_ = alternateEndpointCount;
  }
  DealWithPipes();
}

void CScannerDriver::DealWithPipes() {
  if (interface_ == nullptr) return;
  for (unsigned int reference = 1; reference <= endpointCount_; ++reference) {
    const auto pipe = static_cast<std::uint8_t>(reference);
    platform::PipeProperties properties{};
    if (interface_->getPipeProperties(pipe, &properties) != kIOReturnSuccess) {
      closeAndForgetInterface();
      return;
    }
    if (properties.transferType != platform::TransferType::bulk) continue;
    const bool in = properties.direction == PipeDirection::in;
    if (in && properties.endpointNumber == replyEndpoint) {
      replyPipe_ = pipe;
      controlPacketSize_ = properties.maxPacketSize;
    } else if (in && properties.endpointNumber == dataEndpoint) {
      dataPipe_ = pipe;
      dataPacketSize_ = properties.maxPacketSize;
    } else if (properties.direction == PipeDirection::out && properties.endpointNumber == requestEndpoint) {
      outPipe_ = pipe;
      controlPacketSize_ = properties.maxPacketSize;
    }
  }
}

IOReturn CScannerDriver::WritePipeWithBuffer(const char* buffer, unsigned long length) {
  if (interface_ == nullptr) return kIOReturnNoDevice;
  return interface_->writePipeTO(outPipe_, buffer, asTransferSize(length), noDataTimeoutMs,
                                 completionTimeoutMs);
}

IOReturn CScannerDriver::ReadControlPipeToBuffer(char* buffer, unsigned long* length) {
  return readPipe(replyPipe_, buffer, length);
}

IOReturn CScannerDriver::ReadDataPipeToBuffer(char* buffer, unsigned long* length) {
  return readPipe(dataPipe_, buffer, length);
}

IOReturn CScannerDriver::readPipe(std::uint8_t pipe, char* buffer, unsigned long* length) {
  const std::uint32_t capacity = asTransferSize(*length);
  *length = 0;
  if (interface_ == nullptr) return kIOReturnNoDevice;
  std::uint32_t size = capacity;
  const IOReturn status = interface_->readPipeTO(pipe, buffer, &size, noDataTimeoutMs, completionTimeoutMs);
  // If a stack reports more bytes than the buffer holds, the caller must not read past it.
  *length = std::min(size, capacity);
  return status;
}

IOReturn CScannerDriver::ClearEndpointStall(unsigned char pipe) {
  if (interface_ == nullptr) return kIOReturnNoDevice;
  platform::PipeProperties properties{};
  if (const IOReturn status = interface_->getPipeProperties(pipe, &properties); status != kIOReturnSuccess) {
    return status;
  }
  const bool in = properties.direction == PipeDirection::in;
  const auto address =
      static_cast<std::uint8_t>(properties.endpointNumber | (in ? platform::usb::directionIn : 0));
  const platform::ControlRequest request{platform::usb::clearHaltOf(address), nullptr};
  constexpr std::uint8_t defaultPipe = 0;
  if (const IOReturn status = interface_->controlRequest(defaultPipe, request); status != kIOReturnSuccess) {
    return status;
  }
  return interface_->clearPipeStallBothEnds(pipe);
}

void CScannerDriver::ClearEndpoints() {
  if (interface_ == nullptr) return;
  ClearEndpointStall(replyPipe_);
  ClearEndpointStall(dataPipe_);
  ClearEndpointStall(outPipe_);
}

void CScannerDriver::AbortAndResetPipes() {
  if (interface_ == nullptr) return;
  interface_->abortPipe(outPipe_);
  interface_->resetPipe(outPipe_);
  interface_->abortPipe(replyPipe_);
  interface_->resetPipe(replyPipe_);
  if (dataPipe_ == 0) return;
  interface_->abortPipe(dataPipe_);
  interface_->resetPipe(dataPipe_);
}

void CScannerDriver::ClosePipes() {
  if (interface_ == nullptr) return;
  ClearEndpoints();
  closeAndForgetInterface();
}

void CScannerDriver::closeAndForgetInterface() {
  interface_->close();
  interface_->release();
  interface_ = nullptr;
}
