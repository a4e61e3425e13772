#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "ForwardingUsbStack.h"
#include "VirtualUsbStack.h"

namespace virtualscanner {

class PacedInterface;

// The virtual Q750 at the pace of a real one: a stack over a VirtualUsbStack on which time-outs can take real
// time, the first byte of each picture is delayed, and the data rate is limited. Any thread may abort a pipe.
//
// The inner stack belongs to the caller and outlives this one. One thread at a time, but for
// UsbInterface::abortPipe(), which never touches the inner stack: it ends the wait of a transfer in flight
// and does nothing where none waits.
class PacedUsbStack : public platform::ForwardingUsbStack {
 public:
  struct Pace {
    bool realTime = false;             // whether time-outs take real time
    std::uint32_t warmUpMs = 0;        // from the first read of a picture to its first byte
    std::uint32_t bytesPerSecond = 0;  // on the data pipe; 0 for no limit
  };

  PacedUsbStack(VirtualUsbStack& inner, Pace pace);
  ~PacedUsbStack() override;

 protected:
  using Milliseconds = std::chrono::milliseconds;

  std::unique_ptr<platform::ForwardingUsbInterface> wrap(platform::UsbInterface& interface) override;
  // Blocks for this time; returns false, at once, if another thread aborts the pipe. Called by PacedInterface
  // inside transfers. Tests override it so that no time passes.
  virtual bool pass(Milliseconds time, std::uint8_t pipe);

 private:
  friend class PacedInterface;

  void abort(std::uint8_t pipe);

  VirtualUsbStack& virtualStack_;
  Pace pace_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable aborting_;
  int waitingPipe_ = -1;
  bool aborted_ = false;
};

}  // namespace virtualscanner
