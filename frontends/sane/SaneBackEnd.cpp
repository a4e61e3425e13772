#include "SaneBackEnd.h"

#include <algorithm>
#include <string>
#include <utility>

#include "QuenvarConfig.h"
#include "ScannerName.h"

namespace frontend {

SaneBackEnd::SaneBackEnd() : debug_(DebugOutput::levelOfEnvironment()) {}

SaneBackEnd::~SaneBackEnd() = default;

std::vector<ScannerEntry> SaneBackEnd::scanners(std::string_view wanted) const {
  const QuenvarConfig config = QuenvarConfig::load();
  for (const std::string& complaint : config.complaints) debug_.line(DebugOutput::failures, complaint);
  std::string failure;
  std::vector<ScannerEntry> found;
  if (wanted != virtualScannerName) {
    found = listScanners(config.virtualScanner, &failure);
  } else if (config.virtualScanner) {
    found.push_back(virtualScanner());
  }
  if (!failure.empty()) debug_.line(DebugOutput::failures, failure);
  for (const ScannerEntry& scanner : found) {
    debug_.line(DebugOutput::steps, "found " + scanner.name);
    if (!scanner.accessible) debug_.line(DebugOutput::failures, scanner.hint);
  }
  return found;
}

const SANE_Device** SaneBackEnd::devices() {
  const std::lock_guard lock(mutex_);
  listed_ = scanners();
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
  const std::lock_guard lock(mutex_);
  const std::vector<ScannerEntry> present = scanners(name);
  const auto found = std::find_if(present.begin(), present.end(), [name](const ScannerEntry& scanner) {
    return name.empty() || scanner.name == name;
  });
  if (found == present.end()) return SANE_STATUS_INVAL;
  const bool open = std::any_of(handles_.begin(), handles_.end(),
                                [&](const auto& one) { return one->scanner() == found->name; });
  if (open) return SANE_STATUS_DEVICE_BUSY;
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
