#include "StandardRequests.h"

#include <algorithm>

namespace virtualscanner {
using namespace platform::usb;

StandardRequests::StandardRequests(bool alternateSettings)
    : alternateSettings_(alternateSettings),
      deviceDescriptor_(makeDeviceDescriptor()),
      configurationDescriptor_(makeConfigurationDescriptor(alternateSettings)) {}

void StandardRequests::reset() {
  configuration_ = 1;
  setting_ = 0;
  halted_.clear();
}

std::span<const Endpoint> StandardRequests::endpoints(std::uint8_t setting) const {
  if (!alternateSettings_) return setting == 0 ? scannerEndpoints() : std::span<const Endpoint>{};
  return setting == 1 ? multifunctionEndpoints() : std::span<const Endpoint>{};
}

bool StandardRequests::has(std::uint8_t address) const {
  return std::ranges::any_of(endpoints(setting_),
                             [address](const Endpoint& e) { return e.address == address; });
}

StandardRequests::Reply StandardRequests::perform(const SetupPacket& setup) {
  switch (setup.requestType) {
    case toDevice:
    case fromDevice:
      return performOnDevice(setup);
    case toInterface:
    case fromInterface:
      return performOnInterface(setup);
    case toEndpoint:
    case fromEndpoint:
      return performOnEndpoint(setup);
    default:
      return std::nullopt;
  }
}

StandardRequests::Reply StandardRequests::performOnDevice(const SetupPacket& setup) {
  const bool in = setup.requestType == fromDevice;
  if (in && setup.request == getDescriptor) return descriptor(setup);
  if (in && setup.request == getConfiguration) return std::vector<std::uint8_t>{configuration_};
  if (in && setup.request == getStatus) return std::vector<std::uint8_t>{selfPoweredBit, 0};
  if (!in && setup.request == setConfiguration && setup.value <= 1) {
    reset();
    configuration_ = static_cast<std::uint8_t>(setup.value);
    return std::vector<std::uint8_t>{};
  }
  return std::nullopt;
}

StandardRequests::Reply StandardRequests::performOnInterface(const SetupPacket& setup) {
  const bool in = setup.requestType == fromInterface;
  if (setup.index != 0) return std::nullopt;
  if (in && setup.request == getInterface) return std::vector<std::uint8_t>{setting_};
  if (in && setup.request == getStatus) return std::vector<std::uint8_t>{0, 0};
  if (!in && setup.request == setInterface && setup.value <= 1 &&
      hasSetting(static_cast<std::uint8_t>(setup.value))) {
    setting_ = static_cast<std::uint8_t>(setup.value);
    halted_.clear();
    return std::vector<std::uint8_t>{};
  }
  return std::nullopt;
}

StandardRequests::Reply StandardRequests::performOnEndpoint(const SetupPacket& setup) {
  const auto address = static_cast<std::uint8_t>(setup.index & 0xFF);
  if (setup.index > 0xFF || !has(address)) return std::nullopt;
  if (setup.requestType == fromEndpoint) {
    if (setup.request != getStatus) return std::nullopt;
    return std::vector<std::uint8_t>{isHalted(address) ? haltedBit : std::uint8_t{0}, 0};
  }
  if (setup.value != endpointHalt) return std::nullopt;
  if (setup.request == clearFeature) {
    halted_.erase(address);
  } else if (setup.request == setFeature) {
    halt(address);
  } else {
    return std::nullopt;
  }
  return std::vector<std::uint8_t>{};
}

StandardRequests::Reply StandardRequests::descriptor(const SetupPacket& setup) const {
  const auto index = static_cast<std::uint8_t>(setup.value & 0xFF);
  switch (setup.value >> 8) {
    case platform::usb::deviceDescriptor:
      return deviceDescriptor_;
    case platform::usb::configurationDescriptor:
      return index == 0 ? Reply(configurationDescriptor_) : std::nullopt;
    case stringDescriptor: {
      std::vector<std::uint8_t> bytes = makeStringDescriptor(index);
      return bytes.empty() ? std::nullopt : Reply(std::move(bytes));
    }
    default:
      return std::nullopt;
  }
}

}  // namespace virtualscanner
