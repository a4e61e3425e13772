#pragma once

#include <map>
#include <memory>

#include "ForwardingUsbInterface.h"
#include "UsbStack.h"

namespace platform {

// A stack over another one that passes everything on and lets a subclass put interfaces of its own between
// user and device. Devices are handed out as they are.
//
// Owns what it wraps. What its user drops without a release is released at the stack's end, interfaces first.
// Threads as for the inner stack.
class ForwardingUsbStack : public UsbStack {
 public:
  ~ForwardingUsbStack() override;
  ForwardingUsbStack(const ForwardingUsbStack&) = delete;
  ForwardingUsbStack& operator=(const ForwardingUsbStack&) = delete;

  IOReturn masterPort(MachPort* port) override { return inner().masterPort(port); }
  void portDeallocate(MachPort port) override { inner().portDeallocate(port); }
  std::optional<MatchingDictionary> serviceMatching(ServiceKind kind) override {
    return inner().serviceMatching(kind);
  }
  IOReturn matchingServices(MachPort port, const MatchingDictionary& matching, IOObject* iterator) override {
    return inner().matchingServices(port, matching, iterator);
  }
  IOObject iteratorNext(IOObject iterator) override { return inner().iteratorNext(iterator); }
  void objectRelease(IOObject object) override { inner().objectRelease(object); }
  IOReturn createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                           PlugInInterface** plugIn) override;

 protected:
  // The inner stack stays the caller's and outlives this one.
  explicit ForwardingUsbStack(UsbStack& inner);
  // For a subclass that answers inner() itself.
  ForwardingUsbStack();

  virtual UsbStack& inner() { return *inner_; }
  // The object that stands before an interface. Null hands the interface out as it is.
  virtual std::unique_ptr<ForwardingUsbInterface> wrap(UsbInterface& interface);
  // Releases all interfaces that were not. For destructors of subclasses whose interfaces refer to them.
  void releaseInterfaces();

 private:
  friend class ForwardingUsbInterface;
  class PlugIn;

  UsbInterface* wrapped(UsbInterface& interface);
  void forget(const ForwardingUsbInterface& interface);

  UsbStack* inner_ = nullptr;
  std::map<const PlugIn*, std::unique_ptr<PlugIn>> plugIns_;
  std::map<const ForwardingUsbInterface*, std::unique_ptr<ForwardingUsbInterface>> interfaces_;
};

}  // namespace platform
