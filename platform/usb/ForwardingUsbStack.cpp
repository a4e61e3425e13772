#include "ForwardingUsbStack.h"

namespace platform {

class ForwardingUsbStack::PlugIn final : public PlugInInterface {
 public:
  PlugIn(ForwardingUsbStack& stack, PlugInInterface& inner) : stack_(stack), inner_(inner) {}
  PlugIn(const PlugIn&) = delete;
  PlugIn& operator=(const PlugIn&) = delete;
  ~PlugIn() { inner_.release(); }

  IOReturn queryInterface(UsbInterface** interface) override {
    const IOReturn status = inner_.queryInterface(interface);
    if (status == kIOReturnSuccess && *interface != nullptr) *interface = stack_.wrapped(**interface);
    return status;
  }
  IOReturn queryInterface(UsbDevice** device) override { return inner_.queryInterface(device); }
  void release() override { stack_.plugIns_.erase(this); }

 private:
  ForwardingUsbStack& stack_;
  PlugInInterface& inner_;
};

ForwardingUsbStack::ForwardingUsbStack(UsbStack& inner) : inner_(&inner) {}

ForwardingUsbStack::ForwardingUsbStack() = default;

ForwardingUsbStack::~ForwardingUsbStack() {
  releaseInterfaces();
}

void ForwardingUsbStack::releaseInterfaces() {
  interfaces_.clear();
}

std::unique_ptr<ForwardingUsbInterface> ForwardingUsbStack::wrap(UsbInterface& /*interface*/) {
  return nullptr;
}

UsbInterface* ForwardingUsbStack::wrapped(UsbInterface& interface) {
  std::unique_ptr<ForwardingUsbInterface> wrapper = wrap(interface);
  if (wrapper == nullptr) return &interface;
  ForwardingUsbInterface* result = wrapper.get();
  interfaces_.emplace(result, std::move(wrapper));
  return result;
}

void ForwardingUsbStack::forget(const ForwardingUsbInterface& interface) {
  interfaces_.erase(&interface);
}

IOReturn ForwardingUsbStack::createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                                             PlugInInterface** plugIn) {
  const IOReturn status = inner().createPlugInInterfaceForService(service, userClientType, plugIn);
  if (status != kIOReturnSuccess || *plugIn == nullptr) return status;
  auto wrapper = std::make_unique<PlugIn>(*this, **plugIn);
  *plugIn = wrapper.get();
  plugIns_.emplace(wrapper.get(), std::move(wrapper));
  return status;
}

}  // namespace platform
