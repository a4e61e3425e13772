#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "UsbStack.h"
#include "VirtualScanner.h"

namespace virtualscanner {

class VirtualUsbInterface;
class VirtualUsbDevice;
class VirtualPlugIn;

// What a user of the stack obtained and has not released yet.
struct Unreleased {
  std::size_t ports = 0;
  std::size_t ioObjects = 0;  // iterators and services
  std::size_t plugIns = 0;
  std::size_t interfaces = 0;
  std::size_t devices = 0;

  std::size_t total() const { return ports + ioObjects + plugIns + interfaces + devices; }
};

// A USB stack with one virtual Q750 plugged in, as one device service and one interface service, or with
// nothing while it is unplugged.
//
//   VirtualScanner scanner;
//   VirtualUsbStack stack(scanner);
//   platform::useUsbStack(&stack);   // and back to null before the stack is destroyed
//
// The scanner belongs to the caller and outlives the stack. The stack owns every object that it hands out:
// one that is released is freed at once, one that is dropped without release is freed with the stack. An
// interface released while open is closed. Transfers on an interface that is not open return
// kIOReturnNotOpen; everything on an object that was obtained before an unplugging returns kIOReturnNoDevice,
// also after the next plugging in.
//
// Time is virtual: a time-out passes at once and moves nowMs() on by the shorter of the two limits (0 is
// none); a transfer that would wait for ever ends with kIOReturnAborted. One thread at a time.
class VirtualUsbStack : public platform::UsbStack {
 public:
  explicit VirtualUsbStack(VirtualScanner& scanner);
  ~VirtualUsbStack() override;
  VirtualUsbStack(const VirtualUsbStack&) = delete;
  VirtualUsbStack& operator=(const VirtualUsbStack&) = delete;

  // Milliseconds of waiting since the stack was made.
  std::uint64_t nowMs() const { return nowMs_; }
  Unreleased unreleased() const;

  platform::IOReturn masterPort(platform::MachPort* port) noexcept override;
  void portDeallocate(platform::MachPort port) noexcept override;
  std::optional<platform::MatchingDictionary> serviceMatching(platform::ServiceKind kind) noexcept override;
  platform::IOReturn matchingServices(platform::MachPort port, const platform::MatchingDictionary& matching,
                                      platform::IOObject* iterator) noexcept override;
  platform::IOObject iteratorNext(platform::IOObject iterator) noexcept override;
  void objectRelease(platform::IOObject object) noexcept override;
  platform::IOReturn createPlugInInterfaceForService(platform::IOObject service,
                                                     platform::ServiceKind userClientType,
                                                     platform::PlugInInterface** plugIn) noexcept override;

 private:
  friend class VirtualUsbInterface;
  friend class VirtualUsbDevice;
  friend class VirtualPlugIn;

  struct Service {
    platform::ServiceKind kind;
    std::uint32_t connection;
  };
  struct Iterator {
    std::vector<Service> services;
    std::size_t next = 0;
  };

  VirtualScanner& scanner_;
  std::uint64_t nowMs_ = 0;
  std::uint32_t lastId_ = 0;
  VirtualUsbInterface* interfaceHolder_ = nullptr;  // the object that has the interface, or the device, open
  VirtualUsbDevice* deviceHolder_ = nullptr;
  std::set<platform::MachPort> ports_;
  std::map<platform::IOObject, Iterator> iterators_;
  std::map<platform::IOObject, Service> services_;
  std::map<const void*, std::unique_ptr<VirtualPlugIn>> plugIns_;
  std::map<const void*, std::unique_ptr<VirtualUsbInterface>> interfaces_;
  std::map<const void*, std::unique_ptr<VirtualUsbDevice>> devices_;
};

}  // namespace virtualscanner
