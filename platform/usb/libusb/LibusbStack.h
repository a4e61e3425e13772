#pragma once

#include <libusb.h>

#include <cstdint>
#include <map>
#include <optional>
#include <variant>
#include <vector>

#include "LibusbHandles.h"
#include "UsbStack.h"

namespace platform {

// The USB stack of the running system, through libusb-1.0. Its registry lists the devices of the configured
// identity (DeviceIdentity.h) and the interfaces of their active configuration, and no others, so that a
// driver that takes the first interface that opens can never seize another device. Their order is that of
// bus, port path and interface number.
//
// Lists the bus anew for every matchingServices(), including what was plugged in since. The reason why a
// device cannot be opened is logged, with what to do about it.
//
// One thread at a time, but for UsbInterface::abortPipe(), which any thread may call. Objects that were not
// released must not outlive the stack.
class LibusbStack final : public UsbStack {
 public:
  using Identity = UsbIdentity;
  // The identity that the build was configured for.
  static Identity configuredIdentity();

  // Opens nothing yet: the library is initialised by the first masterPort(). With a location
  // (UsbDevice::getLocationID()), the registry lists only what is plugged in there, so that a driver that
  // takes the first interface takes the chosen one.
  explicit LibusbStack(Identity identity = configuredIdentity(),
                       std::optional<std::uint32_t> location = std::nullopt);
  ~LibusbStack() override;
  LibusbStack(const LibusbStack&) = delete;
  LibusbStack& operator=(const LibusbStack&) = delete;

  IOReturn masterPort(MachPort* port) noexcept override;
  void portDeallocate(MachPort port) noexcept override;
  std::optional<MatchingDictionary> serviceMatching(ServiceKind kind) noexcept override;
  IOReturn matchingServices(MachPort port, const MatchingDictionary& matching,
                            IOObject* iterator) noexcept override;
  IOObject iteratorNext(IOObject iterator) noexcept override;
  void objectRelease(IOObject object) noexcept override;
  IOReturn createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                           PlugInInterface** plugIn) noexcept override;

 private:
  struct Service {
    ServiceKind kind;
    DeviceReference device;
    std::uint8_t interface;  // its number; 0 for a device
  };
  struct Iterator {
    std::vector<Service> services;
    std::size_t next = 0;
  };

  IOObject keep(std::variant<Iterator, Service> object);
  std::vector<DeviceReference> matchingDevices() const;

  const Identity identity_;
  const std::optional<std::uint32_t> location_;
  libusb_context* context_ = nullptr;
  IOObject lastId_ = 0;
  std::map<IOObject, std::variant<Iterator, Service>> objects_;
};

}  // namespace platform
