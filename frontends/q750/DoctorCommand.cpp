#include "DoctorCommand.h"

#include <unistd.h>

#include <algorithm>
#include <array>

#include "CancelSignals.h"
#include "CommandError.h"
#include "Console.h"
#include "Examination.h"
#include "ScanPlan.h"
#include "ScannerName.h"
#include "StandardOutput.h"
#include "SupervisedScan.h"
#include "VirtualOptions.h"

namespace frontend {
namespace {

// What makes the system give users access to the scanner when it is plugged in.
constexpr const char* deviceRules[] = {
    "/etc/udev/hwdb.d/20-sane-quenvar.hwdb",
    "/usr/lib/udev/hwdb.d/20-sane-quenvar.hwdb",
    "/lib/udev/hwdb.d/20-sane-quenvar.hwdb",
};

bool deviceRuleInstalled() {
  return std::any_of(std::begin(deviceRules), std::end(deviceRules),
                     [](const char* path) { return access(path, R_OK) == 0; });
}

ScanOutcome scanToNowhere(const ScanRequest& request, Cancellation& cancellation) {
  SupervisedScan scan(request);
  const Cancellation::Aim aim(cancellation, scan);
  std::array<std::uint8_t, 4096> buffer;
  while (scan.read(buffer.data(), buffer.size()) > 0) {
  }
  scan.finish();
  return scan.outcome();
}

}  // namespace

void runDoctor(const DoctorOptions& options) {
  ScanRequest request;
  request.settings = {75, ColorMode::gray, {0, 0, 16, 16}};
  request.timeout = timeoutOf(options.timeout);
  request.virtualScanner = checkedOptions(options.virtualScanner);
  if (!options.device.empty() && !parseScannerName(options.device))
    throw CommandError(ExitCode::noDevice, "--device " + options.device + ": that is no name of a scanner.");

  Cancellation cancellation;
  const CancelSignals signals(cancellation);
  Examination examination({scannersThere, findWorker, deviceRuleInstalled,
                           [&](const std::string& scanner) {
                             request.scanner = scanner;
                             return scanToNowhere(request, cancellation);
                           },
                           [](const Finding& finding) { show(lineOf(finding)); }});
  const ExitCode code = examination.run(options.device);
  if (code == ExitCode::cancelled) throw CommandError(code, "The examination was cancelled.");
  if (code != ExitCode::good) throw CommandError(code, "Something needs your attention, see above.");
}

}  // namespace frontend
