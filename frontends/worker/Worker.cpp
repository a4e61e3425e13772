#include "Worker.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "Confinement.h"
#include "DescriptorMessage.h"
#include "ImagePipe.h"
#include "ListTask.h"
#include "PictureForwarder.h"
#include "ScanSession.h"
#include "ScannerConnection.h"
#include "VerboseSink.h"
#include "Watchdog.h"
#include "WorkerMessages.h"
#include "WorkerNeeds.h"
#include "WorkerTimes.h"

namespace frontend {
namespace {

constexpr int notUnderstood = 2;  // exit status

// The first message; empty where there is none. `paper` gets the open file of the virtual scanner's paper, if
// a request names one.
std::string receiveTask(int control, platform::OwnedDescriptor& paper) {
  std::string message(largestWorkerMessage, '\0');  // too large for a small stack (ulimit -s 64)
  const ssize_t count = platform::receiveMessage(control, message.data(), message.size(), paper);
  message.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return message;
}

std::uint32_t clamped(std::chrono::milliseconds time) {
  return static_cast<std::uint32_t>(std::min<std::int64_t>(time.count(), UINT32_MAX));
}

// One line of the terminal but for its last column: some terminals wrap a line that fills it.
std::size_t terminalColumns() {
  constexpr std::size_t usual = 80;
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return (known ? size.ws_col : usual) - 1;
}

void writeToStandardError(std::string_view text) {
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
}

// Reports the outcome before it closes the scanner, which may take a while. When it returns, nothing of
// USB is left.
void scan(const ScanRequest& request, platform::OwnedDescriptor paper, const SessionHooks& hooks,
          const std::function<void(const ScanOutcome&)>& report) {
  auto connection = ScannerConnection::to(request, std::move(paper));
  if (const auto* why = std::get_if<ScanOutcome>(&connection)) return report(*why);
  auto& scanner = *std::get<std::unique_ptr<ScannerConnection>>(connection);
  ScanSession session(scanner.stack(), request.settings, hooks);
  report(session.run());
}

// Scans while the watchdog monitors the scan and the connection.
void serve(const ScanRequest& request, platform::OwnedDescriptor paper, int control,
           platform::OwnedDescriptor image, ReportChannel& reports) {
  Cancellation cancel;
  ThreadActivity activity;
  TransferInFlight transfers(activity);
  const Watchdog watchdog(
      {control, cancel, transfers, activity, reports, request.timeout + workertimes::libraryTimeout});
  ImagePipe pipe(image.release(), watchdog.cancelled(), cancel, activity);
  PictureForwarder picture(request, reports, pipe);
  VerboseSink log(terminalColumns(), writeToStandardError);
  const auto report = [&](const ScanOutcome& outcome) {
    reports.send(outcome);
    pipe.close();
  };
  try {
    scan(request, std::move(paper),
         {&picture, &transfers, &cancel, request.verbose ? &log : nullptr, clamped(request.timeout)}, report);
  } catch (const std::bad_alloc&) {
    report(outcome::noMemory());
  }
}

}  // namespace

int runWorker(int control, int image) {
  ReportChannel reports(control);
  platform::OwnedDescriptor imageEnd(image);
  platform::OwnedDescriptor paper;
  const std::string task = receiveTask(control, paper);
  if (task == listMessage) {
    endByItself();
    platform::confineProcess(workerNeeds());
    listScanners(reports);
    return 0;
  }
  const std::optional<ScanRequest> request = readRequest(task);
  if (!request) {
    reports.send(outcome::workerGarbled());
    return notUnderstood;
  }
  platform::confineProcess(workerNeeds(*request));
  serve(*request, std::move(paper), control, std::move(imageEnd), reports);
  return 0;
}

}  // namespace frontend
