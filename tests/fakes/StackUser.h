#pragma once

#include <memory>

#include "UsbStack.h"

// Obtains objects from a USB stack step by step as a driver does, and releases those of every step:
//
//   StackUser user(stack);
//   auto interface = user.interface();   // null where the stack lists none; released with the pointer
//   EXPECT_EQ(interface->open(), 0);
class StackUser {
 public:
  struct Release {
    template <typename Object>
    void operator()(Object* object) const {
      object->release();
    }
  };
  using Interface = std::unique_ptr<platform::UsbInterface, Release>;
  using Device = std::unique_ptr<platform::UsbDevice, Release>;
  using PlugIn = std::unique_ptr<platform::PlugInInterface, Release>;

  explicit StackUser(platform::UsbStack& stack) : stack_(stack) {}

  // The n-th service of a kind, from 0; 0 if there are fewer or the registry fails. The caller releases it.
  platform::IOObject service(platform::ServiceKind kind, int n = 0) {
    platform::MachPort port = 0;
    status = stack_.masterPort(&port);
    if (status != platform::kIOReturnSuccess) return 0;
    const platform::IOObject found = nthService(port, kind, n);
    stack_.portDeallocate(port);
    return found;
  }

  int count(platform::ServiceKind kind) {
    int n = 0;
    while (const platform::IOObject found = service(kind, n)) {
      stack_.objectRelease(found);
      ++n;
    }
    return n;
  }

  PlugIn plugIn(platform::ServiceKind kind, int n = 0) {
    const platform::IOObject found = service(kind, n);
    if (found == 0) return nullptr;
    platform::PlugInInterface* plugIn = nullptr;
    status = stack_.createPlugInInterfaceForService(found, kind, &plugIn);
    stack_.objectRelease(found);
    return PlugIn(plugIn);
  }
  Interface interface(int n = 0) { return Interface(query<platform::UsbInterface>(n)); }
  Device device(int n = 0) { return Device(query<platform::UsbDevice>(n)); }

  // Of the last step that was tried; kIOReturnNotFound if there was no service.
  platform::IOReturn status = platform::kIOReturnSuccess;

 private:
  platform::IOObject nthService(platform::MachPort port, platform::ServiceKind kind, int n) {
    status = platform::kIOReturnNotFound;
    const auto matching = stack_.serviceMatching(kind);
    if (!matching) return 0;
    platform::IOObject iterator = 0;
    const platform::IOReturn matched = stack_.matchingServices(port, *matching, &iterator);
    if (matched != platform::kIOReturnSuccess) {
      status = matched;
      return 0;
    }
    platform::IOObject found = stack_.iteratorNext(iterator);
    while (found != 0 && n-- > 0) {
      stack_.objectRelease(found);
      found = stack_.iteratorNext(iterator);
    }
    stack_.objectRelease(iterator);
    if (found != 0) status = platform::kIOReturnSuccess;
    return found;
  }

  template <typename Object>
  Object* query(int n) {
    constexpr bool isInterface = std::is_same_v<Object, platform::UsbInterface>;
    const PlugIn step =
        plugIn(isInterface ? platform::ServiceKind::usbInterface : platform::ServiceKind::usbDevice, n);
    Object* object = nullptr;
    if (step) status = step->queryInterface(&object);
    return object;
  }

  platform::UsbStack& stack_;
};
