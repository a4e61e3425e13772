#include "BulkTransfer.h"

#include <algorithm>
#include <climits>

#include "LibusbStatus.h"
#include "UsbDeviceFramework.h"

namespace platform {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

void markEnded(libusb_transfer* request) {
  *static_cast<int*>(request->user_data) = 1;
}

steady_clock::time_point after(steady_clock::time_point start, BulkTransfer::Milliseconds limit) {
  return limit.count() == 0 ? steady_clock::time_point::max() : start + limit;
}

// A cancelled request does not report whether a short packet ended it. One did, at the very moment of the
// cancellation, if the bytes are not a whole number of packets.
bool endedShort(const libusb_endpoint_descriptor& endpoint, std::uint32_t moved) {
  return usb::isIn(endpoint.bEndpointAddress) && endpoint.wMaxPacketSize != 0 &&
         moved % endpoint.wMaxPacketSize != 0;
}

}  // namespace

BulkTransfer::BulkTransfer(libusb_context* context, libusb_device_handle* device)
    : context_(context), device_(device), request_(libusb_alloc_transfer(0)) {}

BulkTransfer::Result BulkTransfer::run(const libusb_endpoint_descriptor& endpoint, std::uint8_t* bytes,
                                       std::uint32_t count, Limits limits) noexcept {
  if (!request_) return {kIOReturnNoMemory, 0};
  if (count > INT_MAX) return {kIOReturnBadArgument, 0};
  begin(endpoint.bEndpointAddress);
  const steady_clock::time_point end = after(steady_clock::now(), limits.completion);
  Result result{kIOReturnSuccess, 0};
  for (;;) {
    const int error = submit(endpoint.bEndpointAddress, bytes + result.moved, count - result.moved);
    result.status = statusOfLibusbError(error);
    if (error != LIBUSB_SUCCESS) break;
    awaitEnd(std::min(after(steady_clock::now(), limits.noData), end));
    result.moved += static_cast<std::uint32_t>(request_->actual_length);
    result.status = statusOfLibusbTransfer(request_->status);
    if (request_->status != LIBUSB_TRANSFER_CANCELLED) break;
    // The cancellation may have met the end of the transfer: then nothing is missing.
    if ((result.moved == count && count != 0) || endedShort(endpoint, result.moved)) {
      result.status = kIOReturnSuccess;
      break;
    }
    if (isAborted()) break;
    if (request_->actual_length == 0 || steady_clock::now() >= end) {
      result.status = kIOUSBTransactionTimeout;
      break;
    }
  }
  const std::lock_guard lock(mutex_);
  running_ = false;
  return result;
}

void BulkTransfer::abort(std::uint8_t address) noexcept {
  const std::lock_guard lock(mutex_);
  if (!running_ || address_ != address) return;
  aborted_ = true;
  if (submitted_) libusb_cancel_transfer(request_.get());
}

void BulkTransfer::begin(std::uint8_t address) {
  const std::lock_guard lock(mutex_);
  running_ = true;
  aborted_ = false;
  address_ = address;
}

int BulkTransfer::submit(std::uint8_t address, std::uint8_t* bytes, std::uint32_t count) {
  ended_ = 0;
  // The library's own time-out stays off: it counts from the submission and so cannot distinguish a silent
  // device from a slow one.
  libusb_fill_bulk_transfer(request_.get(), device_, address, bytes, static_cast<int>(count), &markEnded,
                            &ended_, 0);
  const std::lock_guard lock(mutex_);
  if (aborted_) return LIBUSB_ERROR_INTERRUPTED;
  const int error = libusb_submit_transfer(request_.get());
  submitted_ = error == LIBUSB_SUCCESS;
  return error;
}

// Handles events until the request has ended; cancels it at the deadline. The memory belongs to the system
// until then, so after an error of the event handling, too, the request is cancelled and waiting continues.
void BulkTransfer::awaitEnd(steady_clock::time_point deadline) {
  bool cancelled = false;
  while (ended_ == 0) {
    microseconds left = std::chrono::minutes(1);
    if (!cancelled && deadline != steady_clock::time_point::max()) {
      left = std::chrono::ceil<microseconds>(deadline - steady_clock::now());
      if (left.count() <= 0) {
        libusb_cancel_transfer(request_.get());
        cancelled = true;
        continue;
      }
      left = std::min<microseconds>(left, std::chrono::minutes(1));
    }
    timeval wait{};
    wait.tv_sec = static_cast<time_t>(left.count() / 1000000);
    wait.tv_usec = static_cast<suseconds_t>(left.count() % 1000000);
    const int error = libusb_handle_events_timeout_completed(context_, &wait, &ended_);
    if (error != LIBUSB_SUCCESS && error != LIBUSB_ERROR_INTERRUPTED && !cancelled) {
      libusb_cancel_transfer(request_.get());
      cancelled = true;
    }
  }
  const std::lock_guard lock(mutex_);
  submitted_ = false;
}

bool BulkTransfer::isAborted() {
  const std::lock_guard lock(mutex_);
  return aborted_;
}

}  // namespace platform
