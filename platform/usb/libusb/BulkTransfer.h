#pragma once

#include <libusb.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "IOReturn.h"

namespace platform {

// Moves bytes through the bulk endpoints of one open device, one transfer at a time, with two time-outs.
// Independent of pipes and halts. Submits the whole rest of a transfer as one request, and never returns
// while the system still holds one of its requests.
//
// The system reports how many bytes a request moved only when the request ends. So the request is cancelled
// when the no-data time-out passes; one that moved nothing has timed out, one that moved something is
// submitted again for the rest. The no-data time-out therefore never ends a transfer early, and ends one that
// stopped halfway up to one time-out late. Cancelling more often would be more exact, but each cancellation
// interrupts the device: a zero-length packet that arrives at that moment is lost.
//
// One thread at a time, but for abort(), which any other thread may call. Nothing throws.
class BulkTransfer {
 public:
  using Milliseconds = std::chrono::milliseconds;
  // How long nothing may move, and how long the whole transfer may take. Zero means no limit.
  struct Limits {
    Milliseconds noData;
    Milliseconds completion;
  };
  // Success is a transfer that is complete or was ended by a short packet. `moved` is valid on every status.
  struct Result {
    IOReturn status;
    std::uint32_t moved;
  };

  // The context and the handle must outlive the object.
  BulkTransfer(libusb_context* context, libusb_device_handle* device);
  BulkTransfer(const BulkTransfer&) = delete;
  BulkTransfer& operator=(const BulkTransfer&) = delete;

  // Moves up to INT_MAX bytes and blocks until the transfer ends. kIOReturnNoMemory if the system or the
  // library has none left.
  Result run(const libusb_endpoint_descriptor& endpoint, std::uint8_t* bytes, std::uint32_t count,
             Limits limits) noexcept;

  // Ends the transfer under way on this endpoint, if there is one, with kIOReturnAborted. Returns without
  // waiting for that end.
  void abort(std::uint8_t address) noexcept;

 private:
  struct FreeTransfer {
    void operator()(libusb_transfer* transfer) const { libusb_free_transfer(transfer); }
  };

  void begin(std::uint8_t address);
  int submit(std::uint8_t address, std::uint8_t* bytes, std::uint32_t count);
  void awaitEnd(std::chrono::steady_clock::time_point deadline);
  bool isAborted();

  libusb_context* context_;
  libusb_device_handle* device_;
  std::unique_ptr<libusb_transfer, FreeTransfer> request_;
  int ended_ = 0;  // set by the library's event handling

  std::mutex mutex_;        // guards what abort() needs
  bool running_ = false;    // between the first submission and the end of run()
  bool submitted_ = false;  // the system holds the request
  bool aborted_ = false;
  std::uint8_t address_ = 0;
};

}  // namespace platform
