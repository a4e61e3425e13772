#include "Examination.h"

namespace frontend {
namespace {

using Level = Finding::Level;

constexpr char virtualName[] = "virtual";

}  // namespace

std::string lineOf(const Finding& finding) {
  const char* level = finding.level == Level::ok     ? "ok         "
                      : finding.level == Level::note ? "note       "
                                                     : "attention  ";
  return level + finding.text + "\n";
}

ExitCode Examination::run(const std::string& device) {
  const bool canScan = lookAtWorker();
  lookAtRule();
  for (const std::string& scanner : lookForScanners(device)) {
    if (canScan) trial(scanner);
    if (code_ == ExitCode::cancelled) break;
  }
  return code_;
}

void Examination::tell(Level level, const std::string& text, ExitCode code) {
  if (code_ == ExitCode::good || code == ExitCode::cancelled) code_ = code;
  means_.tell({level, text, code});
}

bool Examination::lookAtWorker() {
  const std::string worker = means_.worker();
  if (worker.empty()) {
    tell(Level::attention,
         "The program q750-worker, which does the scanning, was not found. Install the package quenvar-q750 "
         "again.",
         ExitCode::ioError);
    return false;
  }
  tell(Level::ok, "The program that scans is in place: " + worker);
  return true;
}

void Examination::lookAtRule() {
  if (means_.deviceRuleInstalled()) {
    tell(Level::ok, "The system knows the scanner and lets its users have it.");
  } else {
    tell(Level::note,
         "The system has no rule that lets its users have the scanner: only root may use one on the USB. "
         "Install the package quenvar-q750 and plug the scanner in again.");
  }
}

std::vector<std::string> Examination::lookForScanners(const std::string& device) {
  const ScannersThere there = means_.scanners();
  if (!there.problem.empty()) tell(Level::attention, there.problem, ExitCode::ioError);
  std::vector<std::string> usable;
  bool found = false;
  for (const ScannerEntry& scanner : there.entries) {
    const bool wanted = device.empty() ? !scanner.isVirtual
                                       : device == scanner.name || (device == "usb" && !scanner.isVirtual);
    if (!wanted) continue;
    found = true;
    if (scanner.isVirtual || lookAtAccess(scanner)) usable.push_back(scanner.name);
  }
  if (found) return usable;
  const bool any = device.empty() || device == "usb";
  tell(Level::attention,
       any ? "No Quenvar Q750 is plugged in. Check its cable and its power; dmesg tells whether the system "
             "sees it."
           : "There is no scanner " + device + ". q750 list shows those that are there.",
       ExitCode::noDevice);
  if (device.empty()) usable.emplace_back(virtualName);
  return usable;
}

bool Examination::lookAtAccess(const ScannerEntry& scanner) {
  if (scanner.accessible) {
    tell(Level::ok, scanner.name + ": a " + scanner.vendor + " " + scanner.model + ", and you may use it.");
  } else {
    tell(Level::attention, scanner.name + ": " + scanner.hint, ExitCode::accessDenied);
  }
  return scanner.accessible;
}

void Examination::trial(const std::string& scanner) {
  const ScanOutcome first = means_.tryScan(scanner);
  if (first.good()) return tell(Level::ok, scanner + ": it scanned a few pixels; its pipes answer.");
  const bool mayHelp = first.status == ScanStatus::timedOut || first.status == ScanStatus::badData ||
                       first.status == ScanStatus::ioError;
  // An attempt that fails leaves the pipes cleared: what only was wedged works now.
  if (mayHelp && means_.tryScan(scanner).good()) {
    return tell(Level::note, scanner +
                                 ": its pipes were wedged by an earlier scan and are cleared now; it "
                                 "scanned a few pixels. (Before that: " +
                                 first.sentence + ")");
  }
  tell(Level::attention, scanner + ": " + first.sentence, exitCodeFor(first.status));
}

}  // namespace frontend
