#pragma once

#include <map>
#include <memory>

#include "JobWatch.h"
#include "UsbStack.h"
#include "WatchedInterface.h"

namespace frontend {

class WatchedPlugIn;

// A stack over another one that lets a JobWatch see, and end, every transfer on its interfaces, and that
// gives back what a driver leaves behind (after the device went away it closes nothing). Everything else
// passes unchanged.
//
// Inner stack and watch belong to the caller and outlive it; objects that it handed out end with it. One
// thread.
class WatchedUsbStack final : public platform::UsbStack {
 public:
  WatchedUsbStack(platform::UsbStack& inner, JobWatch& watch);
  ~WatchedUsbStack() override;
  WatchedUsbStack(const WatchedUsbStack&) = delete;
  WatchedUsbStack& operator=(const WatchedUsbStack&) = delete;

  // Whether an interface is open now.
  bool holdsInterface() const;
  // The last interface that could not be opened: why; kIOReturnSuccess if there was none.
  platform::IOReturn openFailure() const { return openFailure_; }

  platform::IOReturn masterPort(platform::MachPort* port) override;
  void portDeallocate(platform::MachPort port) override;
  std::optional<platform::MatchingDictionary> serviceMatching(platform::ServiceKind kind) override;
  platform::IOReturn matchingServices(platform::MachPort port, const platform::MatchingDictionary& matching,
                                      platform::IOObject* iterator) override;
  platform::IOObject iteratorNext(platform::IOObject iterator) override;
  void objectRelease(platform::IOObject object) override;
  platform::IOReturn createPlugInInterfaceForService(platform::IOObject service,
                                                     platform::ServiceKind userClientType,
                                                     platform::PlugInInterface** plugIn) override;

 private:
  friend class WatchedInterface;
  friend class WatchedPlugIn;

  platform::UsbInterface* watched(platform::UsbInterface& inner);
  void noteOpening(platform::IOReturn status);
  void forget(const WatchedInterface* interface);
  void forget(const WatchedPlugIn* plugIn);

  platform::UsbStack& inner_;
  JobWatch& watch_;
  platform::IOReturn openFailure_ = platform::kIOReturnSuccess;
  std::map<const WatchedPlugIn*, std::unique_ptr<WatchedPlugIn>> plugIns_;
  std::map<const WatchedInterface*, std::unique_ptr<WatchedInterface>> interfaces_;
};

}  // namespace frontend
