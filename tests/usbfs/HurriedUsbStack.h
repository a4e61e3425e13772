#pragma once

#include <memory>
#include <vector>

#include "UsbStack.h"

// Another stack whose time passes faster: every transfer's time-outs are divided before they reach it, and
// everything else is passed on. For drivers whose time-outs are fixed and long.
//
// It owns what it hands out: what its user drops without release goes with it.
class HurriedUsbStack final : public platform::UsbStack {
 public:
  HurriedUsbStack(platform::UsbStack& stack, std::uint32_t divisor) : stack_(stack), divisor_(divisor) {}
  HurriedUsbStack(const HurriedUsbStack&) = delete;
  HurriedUsbStack& operator=(const HurriedUsbStack&) = delete;

  platform::IOReturn masterPort(platform::MachPort* port) override { return stack_.masterPort(port); }
  void portDeallocate(platform::MachPort port) override { stack_.portDeallocate(port); }
  std::optional<platform::MatchingDictionary> serviceMatching(platform::ServiceKind kind) override {
    return stack_.serviceMatching(kind);
  }
  platform::IOReturn matchingServices(platform::MachPort port, const platform::MatchingDictionary& matching,
                                      platform::IOObject* iterator) override {
    return stack_.matchingServices(port, matching, iterator);
  }
  platform::IOObject iteratorNext(platform::IOObject iterator) override {
    return stack_.iteratorNext(iterator);
  }
  void objectRelease(platform::IOObject object) override { stack_.objectRelease(object); }
  platform::IOReturn createPlugInInterfaceForService(platform::IOObject service, platform::ServiceKind kind,
                                                     platform::PlugInInterface** plugIn) override;

 private:
  class PlugIn;
  class Interface;

  std::uint32_t hurried(std::uint32_t timeoutMs) const {
    return timeoutMs == 0 ? 0 : timeoutMs / divisor_ + 1;
  }

  platform::UsbStack& stack_;
  std::uint32_t divisor_;
  std::vector<std::shared_ptr<PlugIn>> plugIns_;
  std::vector<std::shared_ptr<Interface>> interfaces_;
};
