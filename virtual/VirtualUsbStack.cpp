#include "VirtualUsbStack.h"

#include <utility>

#include "VirtualPlugIn.h"
#include "VirtualUsbDevice.h"
#include "VirtualUsbInterface.h"

namespace virtualscanner {

using namespace platform;

VirtualUsbStack::VirtualUsbStack(VirtualScanner& scanner) : scanner_(scanner) {}

VirtualUsbStack::~VirtualUsbStack() = default;

Unreleased VirtualUsbStack::unreleased() const {
  return {ports_.size(), iterators_.size() + services_.size(), plugIns_.size(), interfaces_.size(),
          devices_.size()};
}

IOReturn VirtualUsbStack::masterPort(MachPort* port) {
  *port = ++lastId_;
  ports_.insert(*port);
  return kIOReturnSuccess;
}

void VirtualUsbStack::portDeallocate(MachPort port) {
  ports_.erase(port);
}

std::optional<MatchingDictionary> VirtualUsbStack::serviceMatching(ServiceKind kind) {
  return MatchingDictionary{kind};
}

IOReturn VirtualUsbStack::matchingServices(MachPort port, const MatchingDictionary& matching,
                                           IOObject* iterator) {
  if (!ports_.contains(port)) return kIOReturnBadArgument;
  Iterator found;
  if (scanner_.pluggedIn()) found.services.push_back({matching.kind, scanner_.connection()});
  *iterator = ++lastId_;
  iterators_.emplace(*iterator, std::move(found));
  return kIOReturnSuccess;
}

IOObject VirtualUsbStack::iteratorNext(IOObject iterator) {
  const auto found = iterators_.find(iterator);
  if (found == iterators_.end() || found->second.next == found->second.services.size()) return 0;
  services_.emplace(++lastId_, found->second.services[found->second.next++]);
  return lastId_;
}

void VirtualUsbStack::objectRelease(IOObject object) {
  iterators_.erase(object);
  services_.erase(object);
}

IOReturn VirtualUsbStack::createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                                          PlugInInterface** plugIn) {
  const auto found = services_.find(service);
  if (found == services_.end()) return kIOReturnBadArgument;
  const Service& chosen = found->second;
  if (chosen.kind != userClientType) return kIOReturnUnsupported;
  if (!scanner_.pluggedIn() || scanner_.connection() != chosen.connection) return kIOReturnNoDevice;
  auto object = std::make_unique<VirtualPlugIn>(*this, chosen.kind, chosen.connection);
  *plugIn = object.get();
  plugIns_.emplace(object.get(), std::move(object));
  return kIOReturnSuccess;
}

}  // namespace virtualscanner
