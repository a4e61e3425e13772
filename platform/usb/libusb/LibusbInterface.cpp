#include "LibusbInterface.h"

#include <chrono>
#include <new>
#include <thread>
#include <utility>

#include "LibusbDevice.h"
#include "LibusbStatus.h"
#include "Log.h"

namespace platform {
namespace {

// The limit that USB 2.0, 9.2.6.4 sets for a request with data.
constexpr unsigned int controlTimeoutMs = 5000;

// Transfers to an unplugged device fail until the system detects its removal: the length and the number of
// the probes that wait for that. A hub is polled only every 256 ms (USB 2.0, 11.12.4), so that behind several
// hubs, or on a busy machine, it takes more than half a second.
constexpr unsigned int goneProbeMs = 100;
constexpr int goneProbes = 15;

PipeDirection directionOf(const libusb_endpoint_descriptor& endpoint) {
  return usb::isIn(endpoint.bEndpointAddress) ? PipeDirection::in : PipeDirection::out;
}

}  // namespace

LibusbInterface::~LibusbInterface() {
  if (handle_) close();
}

IOReturn LibusbInterface::open() noexcept {
  if (handle_ || gone_) return kIOReturnExclusiveAccess;
  IOReturn status = openDevice(device_.get(), handle_);
  if (status != kIOReturnSuccess) return status;
  status = claim();
  if (status != kIOReturnSuccess) letGo();
  return status;
}

IOReturn LibusbInterface::claim() {
  const int bus = libusb_get_bus_number(device_.get());
  const int address = libusb_get_device_address(device_.get());
  if (libusb_kernel_driver_active(handle_.get(), number_) == 1) {
    logFormat("interface %d of the scanner /dev/bus/usb/%03d/%03d is held by a kernel driver and left alone",
              number_, bus, address);
    return kIOReturnExclusiveAccess;
  }
  configuration_ = activeConfiguration(device_.get());
  setting_ = configuration_ ? interfaceDescriptor(*configuration_, number_, 0) : nullptr;
  if (setting_ == nullptr) return kIOReturnNoDevice;
  bulk_.reset(new (std::nothrow) BulkTransfer(context_, handle_.get()));
  if (!bulk_) return kIOReturnNoMemory;
  const int error = libusb_claim_interface(handle_.get(), number_);
  if (error == LIBUSB_ERROR_BUSY)
    logFormat("the scanner /dev/bus/usb/%03d/%03d is in use by another program", bus, address);
  return statusOfLibusbError(error);
}

IOReturn LibusbInterface::close() noexcept {
  if (std::exchange(gone_, false)) return kIOReturnNoDevice;
  if (!handle_) return kIOReturnNotOpen;
  const int error = libusb_release_interface(handle_.get(), number_);
  letGo();
  return statusOfLibusbError(error);
}

IOReturn LibusbInterface::getNumEndpoints(std::uint8_t* count) noexcept {
  const IOReturn status = checkOpen();
  if (status == kIOReturnSuccess) *count = setting_->bNumEndpoints;
  return status;
}

IOReturn LibusbInterface::setAlternateInterface(std::uint8_t alternateSetting) noexcept {
  const IOReturn check = checkOpen();
  if (check != kIOReturnSuccess) return check;
  const auto* setting = interfaceDescriptor(*configuration_, number_, alternateSetting);
  if (setting == nullptr) return kIOReturnNotFound;
  const int error = libusb_set_interface_alt_setting(handle_.get(), number_, alternateSetting);
  if (error == LIBUSB_SUCCESS) setting_ = setting;
  return unlessGone(statusOfLibusbError(error));
}

IOReturn LibusbInterface::getPipeProperties(std::uint8_t pipe, PipeProperties* properties) noexcept {
  const IOReturn status = checkPipe(pipe);
  if (status != kIOReturnSuccess) return status;
  if (pipe == 0) {
    libusb_device_descriptor descriptor{};
    const int error = libusb_get_device_descriptor(device_.get(), &descriptor);
    if (error == LIBUSB_SUCCESS)
      *properties = {PipeDirection::out, 0, TransferType::control, descriptor.bMaxPacketSize0, 0};
    return statusOfLibusbError(error);
  }
  const libusb_endpoint_descriptor& endpoint = *endpointOf(pipe);
  *properties = {directionOf(endpoint), usb::endpointNumber(endpoint.bEndpointAddress),
                 usb::transferType(endpoint.bmAttributes), endpoint.wMaxPacketSize, endpoint.bInterval};
  return kIOReturnSuccess;
}

IOReturn LibusbInterface::abortPipe(std::uint8_t pipe) noexcept {
  const std::lock_guard lock(mutex_);
  if (!handle_ && !gone_) return kIOReturnNotOpen;
  if (gone_ || !isConnected(handle_.get())) return kIOReturnNoDevice;
  if (pipe == 0) return kIOReturnSuccess;
  const libusb_endpoint_descriptor* endpoint = endpointOf(pipe);
  if (endpoint == nullptr) return kIOUSBUnknownPipeErr;
  bulk_->abort(endpoint->bEndpointAddress);
  return kIOReturnSuccess;
}

IOReturn LibusbInterface::resetPipe(std::uint8_t pipe) noexcept {
  return checkPipe(pipe);
}

IOReturn LibusbInterface::clearPipeStallBothEnds(std::uint8_t pipe) noexcept {
  const IOReturn status = checkPipe(pipe);
  // A halt of the control pipe ends with the next request.
  if (status != kIOReturnSuccess || pipe == 0) return status;
  return unlessGone(
      statusOfLibusbError(libusb_clear_halt(handle_.get(), endpointOf(pipe)->bEndpointAddress)));
}

IOReturn LibusbInterface::controlRequest(std::uint8_t pipe, const ControlRequest& request) noexcept {
  const IOReturn check = checkOpen();
  if (check != kIOReturnSuccess) return check;
  if (pipe != 0) return kIOUSBUnknownPipeErr;
  return unlessGone(statusOfLibusbError(libusb_control_transfer(
      handle_.get(), request.requestType, request.request, request.value, request.index,
      static_cast<unsigned char*>(request.data), request.length, controlTimeoutMs)));
}

IOReturn LibusbInterface::readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                     std::uint32_t noDataTimeoutMs,
                                     std::uint32_t completionTimeoutMs) noexcept {
  const std::uint32_t capacity = *size;
  *size = 0;
  const IOReturn check = checkTransfer(pipe, PipeDirection::in);
  if (check != kIOReturnSuccess) return check;
  const auto result =
      transfer(pipe, static_cast<std::uint8_t*>(buffer), capacity, noDataTimeoutMs, completionTimeoutMs);
  *size = result.moved;
  // What arrived before the silence is a success.
  return result.status == kIOUSBTransactionTimeout && result.moved > 0 ? kIOReturnSuccess : result.status;
}

IOReturn LibusbInterface::writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                      std::uint32_t noDataTimeoutMs,
                                      std::uint32_t completionTimeoutMs) noexcept {
  const IOReturn check = checkTransfer(pipe, PipeDirection::out);
  if (check != kIOReturnSuccess) return check;
  // The library takes one type of pointer for both directions; here it only reads.
  auto* bytes = static_cast<std::uint8_t*>(const_cast<void*>(buffer));
  return transfer(pipe, bytes, size, noDataTimeoutMs, completionTimeoutMs).status;
}

const libusb_endpoint_descriptor* LibusbInterface::endpointOf(std::uint8_t pipe) const {
  return pipe == 0 || pipe > setting_->bNumEndpoints ? nullptr : &setting_->endpoint[pipe - 1];
}

// Queries the system, not the device: no call may wait for an unplugged one.
IOReturn LibusbInterface::checkOpen() {
  if (gone_) return kIOReturnNoDevice;
  if (!handle_) return kIOReturnNotOpen;
  return isConnected(handle_.get()) ? kIOReturnSuccess : unlessGone(kIOReturnNoDevice);
}

IOReturn LibusbInterface::checkPipe(std::uint8_t pipe) {
  const IOReturn status = checkOpen();
  if (status != kIOReturnSuccess) return status;
  return pipe == 0 || endpointOf(pipe) != nullptr ? kIOReturnSuccess : kIOUSBUnknownPipeErr;
}

// Does not check whether the device is present: the transfer itself fails if it is not.
IOReturn LibusbInterface::checkTransfer(std::uint8_t pipe, PipeDirection direction) const {
  if (gone_) return kIOReturnNoDevice;
  if (!handle_) return kIOReturnNotOpen;
  const libusb_endpoint_descriptor* endpoint = endpointOf(pipe);
  return endpoint != nullptr && directionOf(*endpoint) == direction ? kIOReturnSuccess : kIOUSBUnknownPipeErr;
}

BulkTransfer::Result LibusbInterface::transfer(std::uint8_t pipe, std::uint8_t* bytes, std::uint32_t count,
                                               std::uint32_t noDataTimeoutMs,
                                               std::uint32_t completionTimeoutMs) {
  BulkTransfer::Result result = bulk_->run(
      *endpointOf(pipe), bytes, count,
      {BulkTransfer::Milliseconds(noDataTimeoutMs), BulkTransfer::Milliseconds(completionTimeoutMs)});
  result.status = unlessGone(result.status);
  return result;
}

// Transfers to an unplugged device fail at once, but the system takes a moment to detect its removal. Until
// then its default pipe fails as well; a device whose default pipe works is still present.
IOReturn LibusbInterface::unlessGone(IOReturn status) {
  const bool mayBeGone = status == kIOReturnIOError || status == kIOReturnError;
  if (status != kIOReturnNoDevice && !(mayBeGone && isGone())) return status;
  letGo();
  gone_ = true;
  return kIOReturnNoDevice;
}

void LibusbInterface::letGo() {
  const std::lock_guard lock(mutex_);
  bulk_.reset();
  setting_ = nullptr;
  configuration_.reset();
  handle_.reset();
}

bool LibusbInterface::isGone() {
  for (int probe = 0; probe < goneProbes; ++probe) {
    std::uint8_t deviceStatus[usb::statusSize];
    const int answer = libusb_control_transfer(handle_.get(), usb::fromDevice, usb::getStatus, 0, 0,
                                               deviceStatus, usb::statusSize, goneProbeMs);
    if (answer == LIBUSB_ERROR_NO_DEVICE) return true;
    if (answer >= 0) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(goneProbeMs));
  }
  return false;
}

}  // namespace platform
