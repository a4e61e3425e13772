#include "LibusbStack.h"

#include <new>
#include <set>
#include <span>

#include "DeviceIdentity.h"
#include "LibusbPlugIn.h"
#include "LibusbStatus.h"
#include "Log.h"

namespace platform {
namespace {

// There is one registry, so one port serves all.
constexpr MachPort onlyPort = 1;

// In ascending order; a descriptor may list them in any.
std::set<std::uint8_t> interfaceNumbers(libusb_device* device) {
  std::set<std::uint8_t> numbers;
  if (const Configuration configuration = activeConfiguration(device)) {
    for (const libusb_interface& interface :
         std::span(configuration->interface, configuration->bNumInterfaces)) {
      if (interface.num_altsetting > 0) numbers.insert(interface.altsetting[0].bInterfaceNumber);
    }
  }
  return numbers;
}

}  // namespace

LibusbStack::Identity LibusbStack::configuredIdentity() {
  return {deviceVendorId, deviceProductId};
}

LibusbStack::LibusbStack(Identity identity, std::optional<std::uint32_t> location)
    : identity_(identity), location_(location) {}

LibusbStack::~LibusbStack() {
  objects_.clear();  // the devices in it belong to the context
  if (context_ != nullptr) libusb_exit(context_);
}

IOReturn LibusbStack::masterPort(MachPort* port) noexcept {
  if (context_ == nullptr) {
    const int error = libusb_init(&context_);
    if (error != LIBUSB_SUCCESS) {
      context_ = nullptr;
      logFormat("USB cannot be used: %s", libusb_strerror(error));
      return statusOfLibusbError(error);
    }
  }
  *port = onlyPort;
  return kIOReturnSuccess;
}

void LibusbStack::portDeallocate(MachPort /*port*/) noexcept {}

std::optional<MatchingDictionary> LibusbStack::serviceMatching(ServiceKind kind) noexcept {
  return MatchingDictionary{kind};
}

IOReturn LibusbStack::matchingServices(MachPort port, const MatchingDictionary& matching,
                                       IOObject* iterator) noexcept try {
  if (context_ == nullptr || port != onlyPort) return kIOReturnBadArgument;
  Iterator found;
  for (const DeviceReference& device : matchingDevices()) {
    if (matching.kind == ServiceKind::usbDevice) {
      found.services.push_back({matching.kind, device, 0});
    } else {
      for (const std::uint8_t interface : interfaceNumbers(device.get()))
        found.services.push_back({matching.kind, device, interface});
    }
  }
  *iterator = keep(std::move(found));
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

IOObject LibusbStack::iteratorNext(IOObject iterator) noexcept try {
  const auto object = objects_.find(iterator);
  auto* list = object == objects_.end() ? nullptr : std::get_if<Iterator>(&object->second);
  if (list == nullptr || list->next == list->services.size()) return 0;
  const IOObject service = keep(list->services[list->next]);
  ++list->next;  // only now: after a lack of memory, the same service is next again
  return service;
} catch (const std::bad_alloc&) {
  return 0;
}

void LibusbStack::objectRelease(IOObject object) noexcept {
  objects_.erase(object);
}

IOReturn LibusbStack::createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                                      PlugInInterface** plugIn) noexcept {
  const auto object = objects_.find(service);
  auto* found = object == objects_.end() ? nullptr : std::get_if<Service>(&object->second);
  if (found == nullptr) return kIOReturnBadArgument;
  if (found->kind != userClientType) return kIOReturnUnsupported;
  *plugIn = new (std::nothrow) LibusbPlugIn(context_, found->kind, found->device, found->interface);
  return *plugIn != nullptr ? kIOReturnSuccess : kIOReturnNoMemory;
}

IOObject LibusbStack::keep(std::variant<Iterator, Service> object) {
  objects_.emplace(lastId_ + 1, std::move(object));
  return ++lastId_;
}

std::vector<DeviceReference> LibusbStack::matchingDevices() const {
  std::vector<DeviceReference> devices = devicesOf(context_, identity_);
  if (location_)
    std::erase_if(devices,
                  [this](const auto& device) { return pathOf(device.get()).location() != *location_; });
  return devices;
}

}  // namespace platform
