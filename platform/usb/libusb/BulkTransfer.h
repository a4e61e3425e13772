#pragma once

#include <libusb.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "IOReturn.h"

namespace platform {

// Moves bytes through the bulk endpoints of one open device, one transfer at a time, with two time-outs.
// Knows no pipes and no halts. It asks the system for the whole rest of a transfer at once, and never returns
// while the system still has a request of its own.
//
// The system tells how far a request came only when it ends. So a transfer that goes on for longer is asked
// back, looked at and, if it is to go on, handed in again: eight times per no-data time-out, which therefore
// ends a transfer up to an eighth late and never early.
//
// One thread at a time, but for abort(), which any other thread may call. Nothing throws.
class BulkTransfer {
 public:
  using Milliseconds = std::chrono::milliseconds;
  // How long nothing may move, and how long all of it may take. Zero is for ever.
  struct Limits {
    Milliseconds noData;
    Milliseconds completion;
  };
  // Success is a transfer that was filled or was ended by a short packet. The bytes that moved count on every
  // status.
  struct Result {
    IOReturn status;
    std::uint32_t moved;
  };

  // The context and the handle must outlive the object.
  BulkTransfer(libusb_context* context, libusb_device_handle* device);
  BulkTransfer(const BulkTransfer&) = delete;
  BulkTransfer& operator=(const BulkTransfer&) = delete;

  Result run(std::uint8_t address, std::uint8_t* bytes, std::uint32_t count, Limits limits);

  // Ends the transfer in flight on this endpoint, if there is one, with kIOReturnAborted.
  void abort(std::uint8_t address);

 private:
  using Clock = std::chrono::steady_clock;
  struct FreeTransfer {
    void operator()(libusb_transfer* transfer) const { libusb_free_transfer(transfer); }
  };

  int submit(std::uint8_t address, std::uint8_t* bytes, std::uint32_t count);
  void awaitEnd(Clock::time_point deadline);
  bool isAborted();

  libusb_context* context_;
  libusb_device_handle* device_;
  std::unique_ptr<libusb_transfer, FreeTransfer> request_;
  int ended_ = 0;  // set by the library's event handling

  std::mutex mutex_;        // guards what abort() needs
  bool running_ = false;    // between the first submission and the end of run()
  bool submitted_ = false;  // the system has the request
  bool aborted_ = false;
  std::uint8_t address_ = 0;
};

}  // namespace platform
