#include "WiredScanner.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace virtualscanner {
namespace {

namespace usb = platform::usb;

constexpr std::uint8_t onlyInterface = 0;

bool isFromDevice(const WireRequest& request) {
  return usb::isIn(request.address == 0 ? request.setup.requestType : request.address);
}

int errorOf(TransferStatus status) {
  switch (status) {
    case TransferStatus::halted:
      return -EPIPE;
    case TransferStatus::overrun:
      return -EOVERFLOW;
    case TransferStatus::gone:
      return -ESHUTDOWN;
    case TransferStatus::done:
    case TransferStatus::silent:
      break;
  }
  return 0;
}

}  // namespace

void WiredScanner::submit(WireRequest request) {
  const bool mayWakeOthers = !isFromDevice(request) || request.address == 0;
  Queue& queue = queues_[request.address];
  const bool ignored = stoppedInWrite_ && request.address == requestEndpoint;
  if (ignored) stoppedInWrite_ = false;
  if (!request.continues) broken_.erase(request.address);
  const bool orphaned = broken_.contains(request.address);
  queue.push_back({std::move(request), 0, ignored});
  if (orphaned) {
    end(queue, -ECONNRESET);
    return;
  }
  if (queue.size() == 1) work(queue);
  if (mayWakeOthers) resume();
}

std::optional<WireReply> WiredScanner::nextReply() {
  if (replies_.empty()) return std::nullopt;
  WireReply reply = std::move(replies_.front());
  replies_.pop_front();
  return reply;
}

bool WiredScanner::cancel(std::uint64_t id, int status) {
  for (auto& [address, queue] : queues_) {
    const auto found =
        std::find_if(queue.begin(), queue.end(), [id](const Waiting& w) { return w.request.id == id; });
    if (found == queue.end()) continue;
    const bool wasFirst = found == queue.begin();
    stoppedInWrite_ = stoppedInWrite_ || (!isFromDevice(found->request) && found->moved > 0);
    std::rotate(queue.begin(), found, found + 1);
    end(queue, status);
    if (wasFirst) work(queue);
    return true;
  }
  return false;
}

void WiredScanner::endAll(int status) {
  for (auto& [address, queue] : queues_) {
    while (!queue.empty()) end(queue, status);
  }
}

// Resets the device's side of the endpoint, whether or not it was halted.
int WiredScanner::clearHalt(std::uint8_t address) {
  if (address == requestEndpoint) stoppedInWrite_ = false;
  const int status = errorOf(scanner_.control(usb::clearHaltOf(address), nullptr).status);
  resume();
  return status;
}

int WiredScanner::setInterface(std::uint8_t alternateSetting) {
  return errorOf(scanner_.control(usb::selectSetting(onlyInterface, alternateSetting), nullptr).status);
}

// Works through a queue until its first request has to wait.
void WiredScanner::work(Queue& queue) {
  while (!queue.empty()) {
    const std::uint8_t address = queue.front().request.address;
    const std::optional<int> status = attempt(queue.front());
    if (!status) return;
    end(queue, *status);
    if (*status == 0) continue;
    broken_.insert(address);
    while (!queue.empty() && queue.front().request.continues) end(queue, -ECONNRESET);
  }
}

void WiredScanner::resume() {
  for (auto& [address, queue] : queues_) {
    if (usb::isIn(address)) work(queue);
  }
}

// Returns the status with which the request ended, or nothing if it waits.
std::optional<int> WiredScanner::attempt(Waiting& waiting) {
  if (waiting.ignored) return std::nullopt;
  const Transfer transfer = move(waiting);
  waiting.moved += transfer.moved;
  if (transfer.status == TransferStatus::silent) return std::nullopt;
  if (transfer.status != TransferStatus::done) return errorOf(transfer.status);
  const bool full = waiting.moved == waiting.request.bytes.size();
  if (full || waiting.request.address == 0) return 0;
  if (!transfer.ended) return std::nullopt;
  return waiting.request.shortIsError ? -EREMOTEIO : 0;
}

Transfer WiredScanner::move(Waiting& waiting) {
  WireRequest& request = waiting.request;
  std::uint8_t* bytes = request.bytes.data() + waiting.moved;
  const std::size_t left = request.bytes.size() - waiting.moved;
  if (request.address == 0) return scanner_.control(request.setup, request.bytes.data());
  return isFromDevice(request) ? scanner_.read(request.address, bytes, left)
                               : scanner_.write(request.address, bytes, left);
}

void WiredScanner::end(Queue& queue, int status) {
  Waiting& waiting = queue.front();
  WireReply reply{waiting.request.id, status, waiting.moved, {}};
  if (isFromDevice(waiting.request)) {
    waiting.request.bytes.resize(waiting.moved);
    reply.bytes = std::move(waiting.request.bytes);
  }
  queue.pop_front();
  replies_.push_back(std::move(reply));
}

}  // namespace virtualscanner
