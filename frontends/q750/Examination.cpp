#include "Examination.h"

#include "ScannerName.h"

namespace frontend {
namespace {

using Level = Finding::Level;

}  // namespace

std::string lineOf(const Finding& finding) {
  const char* level = finding.level == Level::ok     ? "ok         "
                      : finding.level == Level::note ? "note       "
                                                     : "attention  ";
  return level + finding.text + "\n";
}

ExitCode Examination::run(const std::string& device) {
  const bool canScan = checkWorker();
  checkDeviceRule();
  for (const std::string& scanner : findUsableScanners(device)) {
    if (canScan) checkScan(scanner);
    if (code_ == ExitCode::cancelled) break;
  }
  return code_;
}

void Examination::report(Level level, const std::string& text, ExitCode code) {
  if (code_ == ExitCode::good || code == ExitCode::cancelled) code_ = code;
  dependencies_.report({level, text, code});
}

bool Examination::checkWorker() {
  const std::string worker = dependencies_.worker();
  if (worker.empty()) {
    report(Level::attention, "The worker program q750-worker is missing. Reinstall the package quenvar-q750.",
           ExitCode::ioError);
    return false;
  }
  report(Level::ok, "The worker program is installed: " + worker);
  return true;
}

void Examination::checkDeviceRule() {
  if (dependencies_.deviceRuleInstalled()) {
    report(Level::ok, "The rule that grants users access to the scanner is installed.");
  } else {
    report(Level::note,
           "The rule that grants users access to the scanner is not installed: only root may use a scanner "
           "on the "
           "USB. Install the package quenvar-q750 and plug the scanner in again.");
  }
}

std::vector<std::string> Examination::findUsableScanners(const std::string& device) {
  const ScannerInventory inventory = dependencies_.inventory();
  if (!inventory.problem.empty()) report(Level::attention, inventory.problem, ExitCode::ioError);
  const bool anyReal = device.empty() || device == firstUsbScannerName;
  std::vector<std::string> usable;
  bool found = false;
  for (const ScannerEntry& scanner : inventory.scanners) {
    if (anyReal ? scanner.isVirtual : scanner.name != device) continue;
    found = true;
    if (scanner.isVirtual || checkAccess(scanner)) usable.push_back(scanner.name);
  }
  if (found) return usable;
  report(Level::attention,
         anyReal
             ? "No Quenvar Q750 is connected. Check its cable and its power; dmesg shows whether the system "
               "detects it."
             : "There is no scanner " + device + ". See q750 list for the available ones.",
         ExitCode::noDevice);
  // A test scan that works shows that only the scanner is missing.
  if (device.empty()) usable.emplace_back(virtualScannerName);
  return usable;
}

bool Examination::checkAccess(const ScannerEntry& scanner) {
  if (scanner.accessible) {
    report(Level::ok, scanner.name + ": a " + scanner.vendor + " " + scanner.model + " that you may use.");
  } else {
    report(Level::attention, scanner.name + ": " + scanner.hint, ExitCode::accessDenied);
  }
  return scanner.accessible;
}

void Examination::checkScan(const std::string& scanner) {
  const ScanOutcome first = dependencies_.testScan(scanner);
  if (first.good()) return report(Level::ok, scanner + ": the test scan succeeded.");
  // A failed scan clears the pipes, so a scanner that an earlier scan left in disorder works at
  // the second attempt.
  const bool mayRecover = first.status == ScanStatus::timedOut || first.status == ScanStatus::badData ||
                          first.status == ScanStatus::ioError;
  if (mayRecover && dependencies_.testScan(scanner).good()) {
    return report(Level::note,
                  scanner +
                      ": its pipes were blocked by an earlier scan; they are cleared now, and the test "
                      "scan succeeded. (The first attempt failed: " +
                      first.sentence + ")");
  }
  report(Level::attention, scanner + ": " + first.sentence, exitCodeFor(first.status));
}

}  // namespace frontend
