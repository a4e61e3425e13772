#include "VirtualUsbStack.h"

#include <new>
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

IOReturn VirtualUsbStack::masterPort(MachPort* port) noexcept try {
  ports_.insert(lastId_ + 1);
  *port = ++lastId_;
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

void VirtualUsbStack::portDeallocate(MachPort port) noexcept {
  ports_.erase(port);
}

std::optional<MatchingDictionary> VirtualUsbStack::serviceMatching(ServiceKind kind) noexcept {
  return MatchingDictionary{kind};
}

IOReturn VirtualUsbStack::matchingServices(MachPort port, const MatchingDictionary& matching,
                                           IOObject* iterator) noexcept try {
  if (!ports_.contains(port)) return kIOReturnBadArgument;
  Iterator found;
  if (scanner_.pluggedIn()) found.services.push_back({matching.kind, scanner_.connection()});
  iterators_.emplace(lastId_ + 1, std::move(found));
  *iterator = ++lastId_;
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

IOObject VirtualUsbStack::iteratorNext(IOObject iterator) noexcept try {
  const auto found = iterators_.find(iterator);
  if (found == iterators_.end() || found->second.next == found->second.services.size()) return 0;
  services_.emplace(lastId_ + 1, found->second.services[found->second.next]);
  ++found->second.next;
  return ++lastId_;
} catch (const std::bad_alloc&) {
  return 0;
}

void VirtualUsbStack::objectRelease(IOObject object) noexcept {
  iterators_.erase(object);
  services_.erase(object);
}

IOReturn VirtualUsbStack::createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                                          PlugInInterface** plugIn) noexcept try {
  const auto found = services_.find(service);
  if (found == services_.end()) return kIOReturnBadArgument;
  const Service& chosen = found->second;
  if (chosen.kind != userClientType) return kIOReturnUnsupported;
  if (!scanner_.pluggedIn() || scanner_.connection() != chosen.connection) return kIOReturnNoDevice;
  auto object = std::make_unique<VirtualPlugIn>(*this, chosen.kind, chosen.connection);
  VirtualPlugIn* kept = object.get();
  plugIns_.emplace(kept, std::move(object));
  *plugIn = kept;
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

}  // namespace virtualscanner
