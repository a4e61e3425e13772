#include "DoctorCommand.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

#include "Bed.h"
#include "CancelSignals.h"
#include "CommandError.h"
#include "Console.h"
#include "Examination.h"
#include "ScanPlan.h"
#include "ScannerName.h"
#include "ShareExamination.h"
#include "SupervisedScan.h"
#include "VirtualOptions.h"

namespace frontend {
namespace {

// Where the rule that grants users access to the scanner may be installed: by an administrator or
// by a package.
constexpr const char* deviceRules[] = {
    "/etc/udev/hwdb.d/20-sane-quenvar.hwdb",
    "/usr/lib/udev/hwdb.d/20-sane-quenvar.hwdb",
    "/lib/udev/hwdb.d/20-sane-quenvar.hwdb",
};

bool deviceRuleInstalled() {
  return std::any_of(std::begin(deviceRules), std::end(deviceRules),
                     [](const char* path) { return access(path, R_OK) == 0; });
}

ScanOutcome testScan(const ScanRequest& request, Cancellation& cancellation) {
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
  request.settings = {bedResolutions.front(), ColorMode::gray, {0, 0, 16, 16}};
  request.timeout = timeoutOf(options.timeout);
  request.virtualScanner = checkedOptions(options.virtualScanner);
  if (options.device && !parseScannerName(*options.device))
    throw CommandError(ExitCode::noDevice,
                       "--device " + *options.device + ": this is not the name of a scanner. See q750 list.");

  Cancellation cancellation;
  const CancelSignals signals(cancellation);
  std::vector<Finding> findings;
  const auto report = [&](const Finding& finding) {
    findings.push_back(finding);
    if (!options.json) console::print(lineOf(finding));
  };
  Examination examination({[&cancellation] { return takeInventory(cancellation); }, findWorker,
                           [] { return platform::tryConfinement({}); }, deviceRuleInstalled,
                           [&](const std::string& scanner) {
                             request.scanner = scanner;
                             return testScan(request, cancellation);
                           },
                           report});
  const ExitCode code = examination.run(options.device.value_or(""));
  // A user who names a scanner wants to know about that one only.
  if (!options.device && code != ExitCode::cancelled)
    for (const Finding& finding : examineSharing(takeShareFacts())) report(finding);
  if (options.json) console::print(findingsAsJson(findings, code));
  if (code == ExitCode::cancelled) throw CommandError(code, "The check was cancelled.");
  if (code != ExitCode::good) throw CommandError(code, "At least one finding needs attention, see above.");
}

}  // namespace frontend
