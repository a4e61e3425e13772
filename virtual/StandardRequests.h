#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "Descriptors.h"

namespace virtualscanner {

// The part that all USB devices have in common (USB 2.0, chapter 9): descriptors, the current alternate
// setting, halted endpoints, and the standard requests that read and change them. Throws only std::bad_alloc.
// One thread at a time.
class StandardRequests {
 public:
  explicit StandardRequests(bool alternateSettings);

  // As after power-on.
  void reset();

  const std::vector<std::uint8_t>& deviceDescriptor() const { return deviceDescriptor_; }
  const std::vector<std::uint8_t>& configurationDescriptor() const { return configurationDescriptor_; }
  bool hasSetting(std::uint8_t setting) const { return setting == 0 || (setting == 1 && alternateSettings_); }
  // None for a setting that does not exist.
  std::span<const Endpoint> endpoints(std::uint8_t setting) const;

  // Whether the current setting has the endpoint.
  bool has(std::uint8_t address) const;
  bool isHalted(std::uint8_t address) const { return halted_.contains(address); }
  void halt(std::uint8_t address) { halted_.insert(address); }

  // Carries out a request and returns its data stage, or nothing for a request that is not supported.
  std::optional<std::vector<std::uint8_t>> perform(const SetupPacket& setup);

 private:
  using Reply = std::optional<std::vector<std::uint8_t>>;

  Reply performOnDevice(const SetupPacket& setup);
  Reply performOnInterface(const SetupPacket& setup);
  Reply performOnEndpoint(const SetupPacket& setup);
  Reply descriptor(const SetupPacket& setup) const;

  bool alternateSettings_;
  std::vector<std::uint8_t> deviceDescriptor_;
  std::vector<std::uint8_t> configurationDescriptor_;
  std::uint8_t configuration_ = 1;  // the host's stack has configured the device before any client sees it
  std::uint8_t setting_ = 0;
  std::set<std::uint8_t> halted_;  // endpoint addresses
};

}  // namespace virtualscanner
