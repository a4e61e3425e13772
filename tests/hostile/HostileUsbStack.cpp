#include "HostileUsbStack.h"

#include "HostileInterface.h"

namespace hostile {

using platform::IOReturn;

HostileUsbStack::HostileUsbStack(platform::UsbStack& inner, std::uint64_t seed)
    : ForwardingUsbStack(inner), dice_(seed) {
  distortsReplies_ = dice_.oneIn(3);
  distortsPicture_ = !dice_.oneIn(3);
  honestReplies_ = dice_.oneOf(std::initializer_list<std::size_t>{0, 1, 1, 2, 2, 3, 4});
  babbles_ = dice_.oneIn(16);
  oddPipes_ = dice_.oneIn(24);
  oddPlugIn_ = dice_.oneIn(64);
  failsElsewhere_ = dice_.oneIn(16);
  decideDelivery();
  decideFailures();
}

HostileUsbStack::~HostileUsbStack() {
  releaseInterfaces();
}

void HostileUsbStack::decideDelivery() {
  delivery_.ofReplies = dice_.oneIn(6);
  delivery_.largest =
      dice_.oneOf(std::initializer_list<std::size_t>{SIZE_MAX, SIZE_MAX, 1, 3, 7, 8, 9, 511, 512, 8192});
  delivery_.smallLeft = dice_.oneIn(64) ? UINT64_MAX : 3000;
  if (dice_.oneIn(6)) delivery_.emptyOneIn = dice_.oneOf(std::initializer_list<std::size_t>{1, 2, 10});
  if (dice_.oneIn(6)) delivery_.timeOutOneIn = dice_.oneOf(std::initializer_list<std::size_t>{1, 2, 10});
}

void HostileUsbStack::decideFailures() {
  static constexpr std::uint64_t counts[] = {1, 1, 2, 3, 4, 1000, UINT64_MAX};
  while (dice_.oneIn(3)) {
    const std::uint64_t first = 1 + dice_.below(dice_.oneIn(2) ? 12 : 200);
    failures_.push_back({first, dice_.oneOf(counts), dice_.oneOf(HostileInterface::statuses)});
  }
}

bool HostileUsbStack::begins(IOReturn* status) {
  ++transfers_;
  for (const Failure& failure : failures_) {
    if (transfers_ < failure.first || transfers_ - failure.first >= failure.count) continue;
    *status = failure.status;
    return false;
  }
  return true;
}

IOReturn HostileUsbStack::createPlugInInterfaceForService(platform::IOObject service,
                                                          platform::ServiceKind userClientType,
                                                          platform::PlugInInterface** plugIn) noexcept {
  if (!oddPlugIn_)
    return ForwardingUsbStack::createPlugInInterfaceForService(service, userClientType, plugIn);
  if (dice_.oneIn(2)) return dice_.oneOf(HostileInterface::statuses);
  *plugIn = nullptr;
  return platform::kIOReturnSuccess;
}

std::unique_ptr<platform::ForwardingUsbInterface> HostileUsbStack::wrap(platform::UsbInterface& interface) {
  return std::make_unique<HostileInterface>(*this, interface);
}

}  // namespace hostile
