#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "Descriptors.h"
#include "VirtualScanner.h"

namespace virtualscanner {

// A request of a host's USB stack, as a kernel hands it to the wire: one transfer, or a part of one.
struct WireRequest {
  std::uint64_t id = 0;      // the host's own, unique among those that are not through
  std::uint8_t address = 0;  // of the endpoint, with its direction; 0 for the control endpoint
  SetupPacket setup{};       // on the control endpoint only
  std::vector<std::uint8_t>
      bytes;  // what goes to the device; for the other direction, as many as there is room
  // A part of a transfer: a short packet before its end is an error, which ends the parts that continue it,
  // also those that come later.
  bool shortIsError = false;
  bool continues = false;
};

// How a request ended. Statuses are those of Linux (negative error numbers, 0 for success).
struct WireReply {
  std::uint64_t id;
  int status;
  std::size_t moved;                // bytes, valid on every status
  std::vector<std::uint8_t> bytes;  // from the device, as many as moved
};

// A VirtualScanner behind a wire that takes requests at any time and answers them when it can: each endpoint
// works through its own in order, and one that the device has no answer for waits until the host takes it
// back or something else that the host sends gives the device something to say. Knows no particular kind of
// wire.
//
// A device that stops amid a write stops until the host gives up. On a wire, that is the host's taking back a
// request of which nothing moved: the one with which it tries the rest stays without answer too.
//
// The scanner belongs to the caller and outlives the object. One thread at a time.
class WiredScanner {
 public:
  explicit WiredScanner(VirtualScanner& scanner) : scanner_(scanner) {}

  // Each reply comes out of nextReply() in the order in which the requests ended.
  void submit(WireRequest request);
  std::optional<WireReply> nextReply();
  bool hasReply() const { return !replies_.empty(); }

  // Takes a request back: it ends with this status and what moved until then. False if it is through already.
  bool takeBack(std::uint64_t id, int status);
  // Ends everything that waits, as it happens when the device goes.
  void endAll(int status);

  // Looks whether what waits can go on. To be called after something was done to the scanner elsewhere.
  void resume();

  // The standard requests that host stacks make on their own account; 0 or a negative error number.
  int clearHalt(std::uint8_t address);
  int setInterface(std::uint8_t alternateSetting);

  VirtualScanner& scanner() { return scanner_; }

 private:
  struct Waiting {
    WireRequest request;
    std::size_t moved = 0;
    bool unheard = false;  // the device does not even look at it
  };
  using Queue = std::deque<Waiting>;

  void work(Queue& queue);
  std::optional<int> attempt(Waiting& waiting);
  Transfer move(Waiting& waiting);
  void end(Queue& queue, int status);

  VirtualScanner& scanner_;
  std::map<std::uint8_t, Queue> queues_;  // by endpoint address
  std::deque<WireReply> replies_;
  std::set<std::uint8_t> broken_;  // endpoints on which the parts that continue have nothing to continue
  // It took a part of a request that the host gave up then: it does not look at the next one, unless its
  // endpoint is cleared before.
  bool stoppedAmidWrite_ = false;
};

}  // namespace virtualscanner
