#include "WatchedUsbStack.h"

#include <algorithm>

namespace frontend {

using platform::IOReturn;

// Hands out watched interfaces; devices are not watched. Belongs to its stack, which frees it on release().
class WatchedPlugIn final : public platform::PlugInInterface {
 public:
  WatchedPlugIn(WatchedUsbStack& stack, platform::PlugInInterface& inner) : stack_(stack), inner_(inner) {}
  ~WatchedPlugIn() = default;

  IOReturn queryInterface(platform::UsbInterface** interface) override {
    const IOReturn status = inner_.queryInterface(interface);
    if (status == platform::kIOReturnSuccess && *interface != nullptr)
      *interface = stack_.watched(**interface);
    return status;
  }
  IOReturn queryInterface(platform::UsbDevice** device) override { return inner_.queryInterface(device); }
  void release() override {
    inner_.release();
    stack_.forget(this);
  }

 private:
  WatchedUsbStack& stack_;
  platform::PlugInInterface& inner_;
};

WatchedUsbStack::WatchedUsbStack(platform::UsbStack& inner, JobWatch& watch) : inner_(inner), watch_(watch) {}

WatchedUsbStack::~WatchedUsbStack() {
  for (const auto& entry : interfaces_) entry.second->putAway();
}

bool WatchedUsbStack::holdsInterface() const {
  return std::any_of(interfaces_.begin(), interfaces_.end(),
                     [](const auto& entry) { return entry.second->isOpen(); });
}

platform::UsbInterface* WatchedUsbStack::watched(platform::UsbInterface& inner) {
  auto interface = std::make_unique<WatchedInterface>(*this, inner, watch_);
  WatchedInterface* result = interface.get();
  interfaces_.emplace(result, std::move(interface));
  return result;
}

void WatchedUsbStack::noteOpening(IOReturn status) {
  if (status != platform::kIOReturnSuccess) openFailure_ = status;
}

void WatchedUsbStack::forget(const WatchedInterface* interface) {
  interfaces_.erase(interface);
}

void WatchedUsbStack::forget(const WatchedPlugIn* plugIn) {
  plugIns_.erase(plugIn);
}

IOReturn WatchedUsbStack::masterPort(platform::MachPort* port) {
  return inner_.masterPort(port);
}

void WatchedUsbStack::portDeallocate(platform::MachPort port) {
  inner_.portDeallocate(port);
}

std::optional<platform::MatchingDictionary> WatchedUsbStack::serviceMatching(platform::ServiceKind kind) {
  return inner_.serviceMatching(kind);
}

IOReturn WatchedUsbStack::matchingServices(platform::MachPort port,
                                           const platform::MatchingDictionary& matching,
                                           platform::IOObject* iterator) {
  return inner_.matchingServices(port, matching, iterator);
}

platform::IOObject WatchedUsbStack::iteratorNext(platform::IOObject iterator) {
  return inner_.iteratorNext(iterator);
}

void WatchedUsbStack::objectRelease(platform::IOObject object) {
  inner_.objectRelease(object);
}

IOReturn WatchedUsbStack::createPlugInInterfaceForService(platform::IOObject service,
                                                          platform::ServiceKind userClientType,
                                                          platform::PlugInInterface** plugIn) {
  const IOReturn status = inner_.createPlugInInterfaceForService(service, userClientType, plugIn);
  if (status != platform::kIOReturnSuccess || *plugIn == nullptr) return status;
  auto wrapped = std::make_unique<WatchedPlugIn>(*this, **plugIn);
  *plugIn = wrapped.get();
  plugIns_.emplace(wrapped.get(), std::move(wrapped));
  return status;
}

}  // namespace frontend
