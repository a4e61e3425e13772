#include "SaneBackEnd.h"

#include <algorithm>
#include <string>
#include <utility>

#include "QuenvarConfig.h"
#include "SaneStatus.h"
#include "ScannerName.h"
#include "SettingText.h"

namespace frontend {
namespace {

// Of opening a scanner that is not in the list. USB that does not work is as good as no scanner.
SANE_Status statusWithout(const ScanOutcome& listing) {
  const bool complete = listing.good() || listing.status == ScanStatus::noDevice;
  return complete ? SANE_STATUS_INVAL : saneStatusOf(listing.status);
}

// The name is the application's.
std::string missing(std::string_view name) {
  if (name.empty()) return "No Quenvar Q750 is connected. Check its cable and its power.";
  return "There is no scanner \"" + printable(name) + "\". Run scanimage -L for the available ones.";
}

}  // namespace

SaneBackEnd::SaneBackEnd() : debug_(DebugOutput::levelOfEnvironment()) {}

SaneBackEnd::~SaneBackEnd() = default;

ScannerList SaneBackEnd::scanners(std::string_view wanted) const {
  const QuenvarConfig config = QuenvarConfig::load();
  for (const std::string& complaint : config.complaints) debug_.line(DebugOutput::failures, complaint);
  ScannerList found{{}, outcome::good()};
  if (wanted != virtualScannerName) {
    ScannerSearch search;
    found = listScanners(search, config.virtualScanner);
  } else if (config.virtualScanner) {
    found.scanners.push_back(virtualScanner());
  }
  if (!found.outcome.good()) debug_.line(DebugOutput::failures, found.outcome.sentence);
  for (const ScannerEntry& scanner : found.scanners) {
    debug_.line(DebugOutput::steps, "found " + scanner.name);
    if (!scanner.accessible) debug_.line(DebugOutput::failures, scanner.hint);
  }
  return found;
}

const SANE_Device** SaneBackEnd::devices() {
  ScannerList present = scanners();
  const std::lock_guard lock(mutex_);
  listed_ = std::move(present.scanners);
  devices_.clear();
  for (const ScannerEntry& scanner : listed_) {
    devices_.push_back(
        {scanner.name.c_str(), scanner.vendor.c_str(), scanner.model.c_str(), scanner.type.c_str()});
  }
  devicePointers_.clear();
  for (const SANE_Device& device : devices_) devicePointers_.push_back(&device);
  devicePointers_.push_back(nullptr);
  return devicePointers_.data();
}

SANE_Status SaneBackEnd::open(std::string_view name, SaneHandle** handle) {
  const ScannerList present = scanners(name);
  const auto& all = present.scanners;
  const auto found = std::find_if(all.begin(), all.end(), [name](const ScannerEntry& scanner) {
    return name.empty() || scanner.name == name;
  });
  if (found == all.end()) {
    if (present.outcome.good()) debug_.line(DebugOutput::failures, missing(name));
    return statusWithout(present.outcome);
  }
  const std::lock_guard lock(mutex_);
  const bool open = std::any_of(handles_.begin(), handles_.end(),
                                [&](const auto& one) { return one->scanner() == found->name; });
  if (open) {
    debug_.line(DebugOutput::failures, "This program has the scanner open already. Close it there first.");
    return SANE_STATUS_DEVICE_BUSY;
  }
  if (!found->accessible) return SANE_STATUS_ACCESS_DENIED;
  handles_.push_back(std::make_unique<SaneHandle>(found->name, debug_));
  *handle = handles_.back().get();
  return SANE_STATUS_GOOD;
}

void SaneBackEnd::close(SaneHandle* handle) {
  std::unique_ptr<SaneHandle>
      closed;  // destroyed after the lock is released: its scan may take a moment to end
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(handles_.begin(), handles_.end(),
                                  [handle](const auto& one) { return one.get() == handle; });
  if (found == handles_.end()) return;
  closed = std::move(*found);
  handles_.erase(found);
}

}  // namespace frontend
