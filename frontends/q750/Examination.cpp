#include "Examination.h"

#include <span>
#include <string_view>

#include "JsonObject.h"
#include "ScannerName.h"

namespace frontend {
namespace {

using Check = Finding::Check;
using Level = Finding::Level;

// In the order of the enumerations. Programs rely on the words: none ever changes its meaning.
constexpr std::string_view checkNames[] = {"worker",     "confinement", "rule",      "usb",
                                           "connection", "access",      "scan",      "share",
                                           "port",       "avahi",       "addresses", "certificate"};
constexpr std::string_view levelNames[] = {"ok", "note", "attention"};
constexpr std::size_t textColumn = 11;

template <typename Enumeration>
std::string_view nameIn(std::span<const std::string_view> names, Enumeration value) {
  return names[static_cast<std::size_t>(value)];
}

}  // namespace

std::string lineOf(const Finding& finding) {
  std::string line(nameIn(levelNames, finding.level));
  line.resize(textColumn, ' ');
  return line + finding.text + "\n";
}

std::string findingsAsJson(const std::vector<Finding>& findings, ExitCode code) {
  std::vector<JsonObject> objects;
  for (const Finding& finding : findings) {
    objects.emplace_back()
        .text("check", nameIn(checkNames, finding.check))
        .text("level", nameIn(levelNames, finding.level))
        .text("scanner", finding.scanner)
        .text("message", finding.text)
        .text("status", nameOf(finding.code));
  }
  return versionedDocument()
      .array("findings", objects)
      .text("status", nameOf(code))
      .number("exit_code", static_cast<std::uint64_t>(code))
      .document();
}

ExitCode Examination::run(const std::string& device) {
  const bool canScan = checkWorker();
  if (canScan) checkConfinement();
  checkDeviceRule();
  if (!canScan) return code_;  // a worker also lists the scanners
  for (const std::string& scanner : findUsableScanners(device)) {
    checkScan(scanner);
    if (code_ == ExitCode::cancelled) break;
  }
  return code_;
}

void Examination::report(Finding finding) {
  if (code_ == ExitCode::good || finding.code == ExitCode::cancelled) code_ = finding.code;
  dependencies_.report(finding);
}

bool Examination::checkWorker() {
  const std::string worker = dependencies_.worker();
  if (worker.empty()) {
    report({Check::worker, Level::attention, "",
            "The worker program q750-worker is missing. Reinstall the package quenvar-q750.",
            ExitCode::ioError});
    return false;
  }
  report({Check::worker, Level::ok, "", "The worker program is installed: " + worker});
  return true;
}

// Never a reason not to scan: containers and old kernels lack parts of it.
void Examination::checkConfinement() {
  const platform::Confinement there = dependencies_.confinement();
  std::vector<std::string_view> missing;
  if (!there.systemCalls) missing.emplace_back("filters of system calls (seccomp)");
  if (!there.files) missing.emplace_back("file rules (Landlock)");
  if (!there.privileges) missing.emplace_back("the prohibition of new privileges");
  if (missing.empty()) {
    report({Check::confinement, Level::ok, "",
            "The worker program is confined: it has no access to the network, to other programs, or to files "
            "other than the scanner's."});
    return;
  }
  std::string list(missing.front());
  for (std::size_t i = 1; i < missing.size(); ++i)
    list += (i + 1 == missing.size() ? " and " : ", ") + std::string(missing[i]);
  report({Check::confinement, Level::note, "",
          "The worker program is confined only in part, or not at all: this system does not provide " + list +
              ". Scanning still works."});
}

void Examination::checkDeviceRule() {
  if (dependencies_.deviceRuleInstalled()) {
    report({Check::rule, Level::ok, "", "The rule that grants users access to the scanner is installed."});
  } else {
    report({Check::rule, Level::note, "",
            "The rule that grants users access to the scanner is not installed: only root may use the "
            "scanner. Install the package quenvar-q750 and plug the scanner in again."});
  }
}

std::vector<std::string> Examination::findUsableScanners(const std::string& device) {
  if (device == virtualScannerName) return {device};
  const ScannerInventory inventory = dependencies_.inventory();
  if (!inventory.problem.empty()) {
    const bool noUsb = inventory.code == ExitCode::noDevice;
    report({Check::usb, Level::attention, "", inventory.problem, noUsb ? ExitCode::ioError : inventory.code});
    if (!noUsb) return {};  // whether a scanner is connected is unknown
  }
  const bool anyReal = device.empty() || device == firstUsbScannerName;
  std::vector<std::string> usable;
  bool found = false;
  for (const ScannerEntry& scanner : inventory.scanners) {
    if (anyReal ? scanner.isVirtual : scanner.name != device) continue;
    found = true;
    if (checkAccess(scanner)) usable.push_back(scanner.name);
  }
  if (found) return usable;
  report({Check::connection, Level::attention, anyReal ? "" : device,
          anyReal
              ? "No Quenvar Q750 is connected. Check its cable and its power; dmesg shows whether the system "
                "detects it."
              : "There is no scanner " + device + ". See q750 list for the available ones.",
          ExitCode::noDevice});
  // A test scan that works shows that only the scanner is missing.
  if (device.empty()) usable.emplace_back(virtualScannerName);
  return usable;
}

bool Examination::checkAccess(const ScannerEntry& scanner) {
  if (scanner.accessible) {
    report({Check::access, Level::ok, scanner.name,
            scanner.name + ": a " + scanner.vendor + " " + scanner.model + " that you may use."});
  } else {
    report({Check::access, Level::attention, scanner.name, scanner.name + ": " + scanner.hint,
            ExitCode::accessDenied});
  }
  return scanner.accessible;
}

void Examination::checkScan(const std::string& scanner) {
  const ScanOutcome first = dependencies_.testScan(scanner);
  if (first.good()) return report({Check::scan, Level::ok, scanner, scanner + ": the test scan succeeded."});
  // A failed scan clears the pipes, so a scanner that an earlier scan left in disorder works at
  // the second attempt.
  const bool mayRecover = first.status == ScanStatus::timedOut || first.status == ScanStatus::badData ||
                          first.status == ScanStatus::ioError;
  if (mayRecover && dependencies_.testScan(scanner).good()) {
    return report({Check::scan, Level::note, scanner,
                   scanner +
                       ": its pipes were blocked by an earlier scan; they are cleared now, and the test "
                       "scan succeeded. (The first attempt failed: " +
                       first.sentence + ")"});
  }
  report(
      {Check::scan, Level::attention, scanner, scanner + ": " + first.sentence, exitCodeFor(first.status)});
}

}  // namespace frontend
