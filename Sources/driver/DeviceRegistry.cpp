#include "DeviceRegistry.h"

#include "DeviceIdentity.h"
#include "UsbStack.h"

extern "C" {
std::map<unsigned long, CScannerDriver*> gType1Map{};
}

namespace {

using platform::kIOReturnSuccess;
using platform::ServiceKind;

// Stores the location of a device of this model in *result, registered or not: a search that finds no
// unregistered one returns the last of them. Returns whether it is not registered.
bool isUnregisteredModel(platform::UsbDevice& device, unsigned long* result) {
  std::uint16_t vendor = 0;
  if (device.getDeviceVendor(&vendor) != kIOReturnSuccess || vendor != platform::deviceVendorId) return false;
  std::uint16_t product = 0;
  if (device.getDeviceProduct(&product) != kIOReturnSuccess || product != platform::deviceProductId)
    return false;
  std::uint32_t location = 0;
  if (device.getLocationID(&location) != kIOReturnSuccess) return false;
  *result = location;
  return gType1Map.find(location) == gType1Map.end();
}

// The device object of a service, which the caller releases, or null.
platform::UsbDevice* deviceOf(platform::UsbStack& stack, platform::IOObject service) {
  platform::PlugInInterface* plugIn = nullptr;
  if (stack.createPlugInInterfaceForService(service, ServiceKind::usbDevice, &plugIn) != kIOReturnSuccess ||
      plugIn == nullptr) {
    return nullptr;
  }
  platform::UsbDevice* device = nullptr;
  const platform::IOReturn status = plugIn->queryInterface(&device);
  plugIn->release();
  return status == kIOReturnSuccess ? device : nullptr;
}

bool examineService(platform::UsbStack& stack, platform::IOObject service, unsigned long* result) {
  platform::UsbDevice* device = deviceOf(stack, service);
  if (device == nullptr) return false;
  const bool found = device->open() == kIOReturnSuccess && isUnregisteredModel(*device, result);
  device->close();  // Also if it could not be opened: it then only returns kIOReturnNotOpen.
  device->release();
  return found;
}

unsigned long searchServices(platform::UsbStack& stack, platform::IOObject iterator) {
  unsigned long result = 0;
  bool found = false;
  while (!found) {
    const platform::IOObject service = stack.iteratorNext(iterator);
    if (service == 0) break;
    found = examineService(stack, service, &result);
    stack.objectRelease(service);
  }
  return result;
}

}  // namespace

unsigned long FindDeviceNotOnMap() {
  platform::UsbStack& stack = platform::usbStack();
  platform::MachPort port = 0;
  if (stack.masterPort(&port) != kIOReturnSuccess) return 0;
  unsigned long result = 0;
  if (const auto matching = stack.serviceMatching(ServiceKind::usbDevice)) {
    platform::IOObject iterator = 0;
    if (stack.matchingServices(port, *matching, &iterator) == kIOReturnSuccess) {
      result = searchServices(stack, iterator);
      stack.objectRelease(iterator);
    }
  }
  stack.portDeallocate(port);
  return result;
}
