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

// A request as a host's USB stack submits it to its host controller: one transfer, or a part of one.
struct WireRequest {
  std::uint64_t id = 0;      // chosen by the host, unique among the requests in flight
  std::uint8_t address = 0;  // of the endpoint, with its direction; 0 for the control endpoint
  SetupPacket setup{};       // on the control endpoint only
  // The bytes for the device; in the other direction, a buffer of the size that the host reads.
  std::vector<std::uint8_t> bytes;
  // For parts of a transfer: a short packet before the end of this part is an error, which also ends the
  // parts that continue it, those submitted later included.
  bool shortIsError = false;
  bool continues = false;
};

// The end of a request. Statuses are those of Linux: negative error numbers, 0 for success.
struct WireReply {
  std::uint64_t id;
  int status;
  std::size_t moved;                // bytes, valid on every status
  std::vector<std::uint8_t> bytes;  // from the device, as many as moved
};

// The asynchronous side of a VirtualScanner, as a host controller sees a device: requests are submitted at
// any time and complete when the device can serve them. Each endpoint works through its requests in order.
// One that the device cannot serve yet waits until the host cancels it, or until another request gives the
// device something to send. Independent of the transport that carries the requests.
//
// A device that stops in the middle of a write stays stopped until the host gives up, which it does by
// cancelling a request of which nothing moved: the one with which the host retries the rest is not served.
//
// The scanner belongs to the caller and outlives the object. Requests and replies are kept until they are
// taken; limiting them is up to the caller. Never blocks; throws only std::bad_alloc. One thread at a time.
class WiredScanner {
 public:
  explicit WiredScanner(VirtualScanner& scanner) : scanner_(scanner) {}

  // nextReply() returns the replies in the order in which the requests ended, and nothing when there is none.
  void submit(WireRequest request);
  std::optional<WireReply> nextReply();

  // Cancels a request, which ends with this status and the bytes moved so far. False if it has ended already.
  bool cancel(std::uint64_t id, int status);
  // Ends all waiting requests, as happens when the device is unplugged.
  void endAll(int status);

  // Retries the reads that wait. To be called after the scanner was changed by other means.
  void resume();

  // The standard requests that host stacks make on their own behalf. Return 0 or a negative error number.
  int clearHalt(std::uint8_t address);
  int setInterface(std::uint8_t alternateSetting);

  VirtualScanner& scanner() { return scanner_; }

 private:
  struct Waiting {
    WireRequest request;
    std::size_t moved = 0;
    bool ignored = false;  // the device does not serve it at all
  };
  using Queue = std::deque<Waiting>;

  void work(Queue& queue);
  std::optional<int> attempt(Waiting& waiting);
  Transfer move(Waiting& waiting);
  void end(Queue& queue, int status);

  VirtualScanner& scanner_;
  std::map<std::uint8_t, Queue> queues_;  // by endpoint address
  std::deque<WireReply> replies_;
  std::set<std::uint8_t> broken_;  // endpoints whose transfer failed: parts that continue it fail as well
  // The device took part of a write that the host then cancelled. It ignores the next one, unless the host
  // clears the endpoint before.
  bool stoppedInWrite_ = false;
};

}  // namespace virtualscanner
