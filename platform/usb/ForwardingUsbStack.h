#pragma once

#include <map>
#include <memory>

#include "ForwardingUsbInterface.h"
#include "UsbStack.h"

namespace platform {

// A stack over another one that passes everything on and lets a subclass put interfaces of its own between
// user and device. Devices are handed out as they are.
//
// Owns what it wraps. What its user drops without a release is released when the stack is destroyed,
// interfaces first. Threads and blocking as for the inner stack, abortPipe() included. If no memory is left
// for a wrapper, the object to be wrapped is released and the call returns kIOReturnNoMemory.
class ForwardingUsbStack : public UsbStack {
 public:
  ~ForwardingUsbStack() override;
  ForwardingUsbStack(const ForwardingUsbStack&) = delete;
  ForwardingUsbStack& operator=(const ForwardingUsbStack&) = delete;

  IOReturn masterPort(MachPort* port) noexcept override { return inner().masterPort(port); }
  void portDeallocate(MachPort port) noexcept override { inner().portDeallocate(port); }
  std::optional<MatchingDictionary> serviceMatching(ServiceKind kind) noexcept override {
    return inner().serviceMatching(kind);
  }
  IOReturn matchingServices(MachPort port, const MatchingDictionary& matching,
                            IOObject* iterator) noexcept override {
    return inner().matchingServices(port, matching, iterator);
  }
  IOObject iteratorNext(IOObject iterator) noexcept override { return inner().iteratorNext(iterator); }
  void objectRelease(IOObject object) noexcept override { inner().objectRelease(object); }
  IOReturn createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                           PlugInInterface** plugIn) noexcept override;

 protected:
  // The inner stack stays the caller's and outlives this one.
  explicit ForwardingUsbStack(UsbStack& inner);
  // For a subclass that overrides inner().
  ForwardingUsbStack();

  // The stack that everything is passed on to, always the same one. Called at the start of every operation,
  // on its thread; never fails.
  virtual UsbStack& inner() noexcept { return *inner_; }
  // Makes the object that takes the place of `interface`; null hands the interface out as it is.
  // Called inside queryInterface(). Throws nothing but std::bad_alloc, and neither keeps nor uses
  // the interface then.
  virtual std::unique_ptr<ForwardingUsbInterface> wrap(UsbInterface& interface);
  // Releases all interfaces that were not. For destructors of subclasses whose interfaces refer to them.
  void releaseInterfaces() noexcept;

 private:
  friend class ForwardingUsbInterface;
  class PlugIn;

  struct Release {
    template <typename Object>
    void operator()(Object* object) const {
      object->release();
    }
  };
  template <typename Object>
  using Owned = std::unique_ptr<Object, Release>;

  IOReturn handOut(Owned<UsbInterface> interface, UsbInterface** out) noexcept;
  void forget(const ForwardingUsbInterface& interface) noexcept;

  UsbStack* inner_ = nullptr;
  std::map<const PlugIn*, std::unique_ptr<PlugIn>> plugIns_;
  std::map<const ForwardingUsbInterface*, std::unique_ptr<ForwardingUsbInterface>> interfaces_;
};

}  // namespace platform
