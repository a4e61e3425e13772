#include "ForwardingUsbStack.h"

#include <new>
#include <utility>

namespace platform {

class ForwardingUsbStack::PlugIn final : public PlugInInterface {
 public:
  PlugIn(ForwardingUsbStack& stack, Owned<PlugInInterface> inner) : stack_(stack), inner_(std::move(inner)) {}

  IOReturn queryInterface(UsbInterface** interface) noexcept override {
    UsbInterface* queried = nullptr;
    const IOReturn status = inner_->queryInterface(&queried);
    return status == kIOReturnSuccess ? stack_.handOut(Owned<UsbInterface>(queried), interface) : status;
  }
  IOReturn queryInterface(UsbDevice** device) noexcept override { return inner_->queryInterface(device); }
  void release() noexcept override { stack_.plugIns_.erase(this); }

 private:
  ForwardingUsbStack& stack_;
  Owned<PlugInInterface> inner_;
};

ForwardingUsbStack::ForwardingUsbStack(UsbStack& inner) : inner_(&inner) {}

ForwardingUsbStack::ForwardingUsbStack() = default;

ForwardingUsbStack::~ForwardingUsbStack() {
  releaseInterfaces();
}

void ForwardingUsbStack::releaseInterfaces() noexcept {
  interfaces_.clear();
}

std::unique_ptr<ForwardingUsbInterface> ForwardingUsbStack::wrap(UsbInterface& /*interface*/) {
  return nullptr;
}

// The inner interface is released exactly once on every path: here until its wrapper is kept, there
// from then on.
IOReturn ForwardingUsbStack::handOut(Owned<UsbInterface> interface, UsbInterface** out) noexcept try {
  std::unique_ptr<ForwardingUsbInterface> wrapper = interface ? wrap(*interface) : nullptr;
  if (wrapper == nullptr) {
    *out = interface.release();
    return kIOReturnSuccess;
  }
  ForwardingUsbInterface* kept = wrapper.get();
  interfaces_.emplace(kept, std::move(wrapper));
  kept->adoptInner();
  static_cast<void>(interface.release());
  *out = kept;
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

void ForwardingUsbStack::forget(const ForwardingUsbInterface& interface) noexcept {
  interfaces_.erase(&interface);
}

IOReturn ForwardingUsbStack::createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                                             PlugInInterface** plugIn) noexcept try {
  PlugInInterface* created = nullptr;
  const IOReturn status = inner().createPlugInInterfaceForService(service, userClientType, &created);
  if (status != kIOReturnSuccess) return status;
  if (created == nullptr) {
    *plugIn = nullptr;
    return status;
  }
  auto wrapper = std::make_unique<PlugIn>(*this, Owned<PlugInInterface>(created));
  PlugIn* kept = wrapper.get();
  plugIns_.emplace(kept, std::move(wrapper));
  *plugIn = kept;
  return status;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

}  // namespace platform
