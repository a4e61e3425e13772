#include "ScannerSearch.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>
#include <variant>

#include "WorkerEnd.h"
#include "WorkerTimes.h"

namespace frontend {

using std::chrono::milliseconds;

ScannerSearch::ScannerSearch(std::string worker)
    : ScannerSearch(std::move(worker), workertimes::listTimeout) {}

ScannerSearch::ScannerSearch(std::string worker, milliseconds timeout)
    : program_(std::move(worker)), timeout_(timeout), linkError_(link_.open()) {}

void ScannerSearch::cancel() noexcept {
  cancelled_.store(true);
  link_.cancel();
}

ListReply ScannerSearch::run() {
  if (const int error = start(); error != 0) return outcome::workerNotStarted(program_, error);
  ListReply reply = awaitReply();
  // A worker that cannot release USB has still delivered its list.
  if (!worker_.awaitEnd(workertimes::listExitTimeout)) worker_.kill();
  return reply;
}

// Returns an error number, 0 for success.
int ScannerSearch::start() {
  int error = linkError_;
  if (error == 0) error = link_.sendTask(listMessage);
  if (error == 0 && program_.empty()) error = ENOENT;
  if (error == 0) error = worker_.start(program_, link_.workerControl(), link_.workerImage(), false);
  link_.closeWorkerEnds();
  return error;
}

ListReply ScannerSearch::awaitReply() {
  const auto deadline = std::chrono::steady_clock::now() + timeout_;
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
    const bool heard = left.count() > 0 && link_.awaitMessage(left);
    if (cancelled_.load()) return outcome::cancelled();
    if (heard) return receive();
    if (left.count() <= 0) return outcome::usbHangs(static_cast<std::uint64_t>(timeout_.count()));
  }
}

ListReply ScannerSearch::receive() {
  std::string message(largestWorkerMessage, '\0');
  ssize_t count = 0;
  bool reset = false;  // reported once, before the reply, where the worker exits without reading everything
  do {
    count = recv(link_.control(), message.data(), message.size(), MSG_DONTWAIT);
  } while (count < 0 && (errno == EINTR || (errno == ECONNRESET && !std::exchange(reset, true))));
  if (count <= 0) return examineWorker();
  message.resize(static_cast<std::size_t>(count));
  auto reply = readListReply(message);
  if (!reply) return outcome::workerGarbled();
  if (auto* outcome = std::get_if<ScanOutcome>(&*reply)) return outcome::reported(std::move(*outcome));
  return *std::move(reply);
}

// It has closed its connection without a reply.
ScanOutcome ScannerSearch::examineWorker() {
  return worker_.awaitEnd(workertimes::listExitTimeout) ? outcomeOfEnd(worker_, program_)
                                                        : outcome::workerDied("it stopped responding");
}

}  // namespace frontend
