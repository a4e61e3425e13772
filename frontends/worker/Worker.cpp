#include "Worker.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <new>
#include <string_view>

#include "ImagePipe.h"
#include "PictureForwarder.h"
#include "ScanSession.h"
#include "ScannerAtHand.h"
#include "VerboseSink.h"
#include "WorkerMessages.h"
#include "WorkerSupervisor.h"
#include "WorkerTimes.h"

namespace frontend {
namespace {

constexpr int notUnderstood = 2;

std::optional<ScanRequest> receiveRequest(int control) {
  std::array<char, largestWorkerMessage> message;
  ssize_t count = 0;
  do {
    count = recv(control, message.data(), message.size(), 0);
  } while (count < 0 && errno == EINTR);
  if (count <= 0) return std::nullopt;
  return readRequest({message.data(), static_cast<std::size_t>(count)});
}

std::uint32_t clamped(std::chrono::milliseconds time) {
  return static_cast<std::uint32_t>(std::min<std::int64_t>(time.count(), UINT32_MAX));
}

// One line of the terminal, but for its last column: some would go to the next line.
std::size_t columnsOfTheTerminal() {
  constexpr std::size_t usual = 80;
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return (known ? size.ws_col : usual) - 1;
}

void showOnStandardError(std::string_view text) {
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

// Tells before it puts the scanner away, which may take a while. When it returns, nothing of USB is left.
void scan(const ScanRequest& request, const SessionHooks& hooks,
          const std::function<void(const ScanOutcome&)>& tellTheEnd) {
  auto found = ScannerAtHand::named(request);
  if (const auto* why = std::get_if<ScanOutcome>(&found)) return tellTheEnd(*why);
  ScanSession session(std::get<std::unique_ptr<ScannerAtHand>>(found)->stack(), request.settings, hooks);
  tellTheEnd(session.run());
}

}  // namespace

int runWorker(int control, int image) {
  ReportChannel reports(control);
  platform::OwnedDescriptor imageEnd(image);
  const std::optional<ScanRequest> request = receiveRequest(control);
  if (!request) {
    reports.tell(outcome::workerGarbled());
    return notUnderstood;
  }
  Cancellation cancel;
  ThreadActivity activity;
  TransferInFlight transfers(activity);
  WorkerSupervisor supervisor(
      {control, cancel, transfers, activity, reports, request->timeout + workertimes::libraryTimeout});
  ImagePipe pipe(imageEnd.release(), supervisor.cancelled(), cancel, activity);
  PictureForwarder picture(*request, reports, pipe);
  VerboseSink log(columnsOfTheTerminal(), showOnStandardError);
  const auto tellTheEnd = [&](const ScanOutcome& outcome) {
    reports.tell(outcome);
    pipe.close();
  };
  try {
    scan(*request,
         {&picture, &transfers, &cancel, request->verbose ? &log : nullptr, {clamped(request->timeout)}},
         tellTheEnd);
  } catch (const std::bad_alloc&) {
    tellTheEnd(outcome::noMemory());
  }
  return 0;
}

}  // namespace frontend
