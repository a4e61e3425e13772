#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Confinement.h"
#include "ExitCode.h"
#include "ScanOutcome.h"
#include "ScannerInventory.h"

namespace frontend {

// The result of one check.
struct Finding {
  // The worker program is installed; it is confined; users are granted access to the scanner; USB works; a
  // scanner is connected; this user may use it; it scans. The rest is about sharing it with the network, see
  // ShareExamination.h.
  enum class Check : std::uint8_t {
    worker,
    confinement,
    rule,
    usb,
    connection,
    access,
    scan,
    share,
    port,
    avahi,
    addresses,
    certificate
  };
  enum class Level : std::uint8_t { ok, note, attention };

  Check check;
  Level level;
  std::string scanner;  // that the finding is about; empty where it is about none
  std::string text;
  ExitCode code = ExitCode::good;  // of a finding that needs attention
};

// The finding as a line: "ok         " and its text.
std::string lineOf(const Finding& finding);

// All findings as a JSON document, which q750(1) describes.
std::string findingsAsJson(const std::vector<Finding>& findings, ExitCode code);

// Checks what scanning depends on, most fundamental first, so that the first finding that needs
// attention is the one to begin with. Reports each finding as soon as it is known. Reaches the system
// through its dependencies only.
class Examination {
 public:
  struct Dependencies {
    std::function<ScannerInventory()> inventory;  // by a worker; blocks
    std::function<std::string()> worker;          // the path of the worker program; empty if it is missing
    std::function<platform::Confinement()> confinement;  // that this system lets a worker have
    std::function<bool()> deviceRuleInstalled;  // whether the system grants its users access to the scanner
    std::function<ScanOutcome(const std::string& scanner)> testScan;  // of a few pixels; blocks
    std::function<void(const Finding&)> report;
  };

  explicit Examination(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

  // Checks the scanner of this name, or all if it is empty. Returns the exit code of the first finding that
  // needs attention, or that of a cancel. Once per object.
  ExitCode run(const std::string& device);

 private:
  void report(Finding finding);
  bool checkWorker();
  void checkConfinement();
  void checkDeviceRule();
  std::vector<std::string> findUsableScanners(const std::string& device);
  bool checkAccess(const ScannerEntry& scanner);
  void checkScan(const std::string& scanner);

  Dependencies dependencies_;
  ExitCode code_ = ExitCode::good;
};

}  // namespace frontend
