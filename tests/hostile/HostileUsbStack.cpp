#include "HostileUsbStack.h"

#include "DeviceTime.h"
#include "HostileInterface.h"

namespace hostile {

using platform::IOReturn;

HostileUsbStack::HostileUsbStack(platform::UsbStack& inner, std::uint64_t seed, const ProbedScan& scan)
    : ForwardingUsbStack(inner), dice_(seed), scan_(scan), probe_(probeOf(seed)) {
  if (!probe_) decideAll();
}

HostileUsbStack::~HostileUsbStack() {
  releaseInterfaces();
}

void HostileUsbStack::decideAll() {
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

void HostileUsbStack::decideDelivery() {
  delivery_.ofReplies = dice_.oneIn(6);
  delivery_.largest =
      dice_.oneOf(std::initializer_list<std::size_t>{SIZE_MAX, SIZE_MAX, 1, 3, 7, 8, 9, 511, 512, 8192});
  // A large page in single bytes only takes time.
  const bool small = scan_.rasterBytes < 65536;
  delivery_.smallLeft = dice_.oneIn(64) && small ? UINT64_MAX : 3000;
  if (dice_.oneIn(6)) delivery_.emptyOneIn = dice_.oneOf(std::initializer_list<std::size_t>{1, 2, 10});
  if (dice_.oneIn(6)) delivery_.timeOutOneIn = dice_.oneOf(std::initializer_list<std::size_t>{1, 2, 10});
  if (dice_.oneIn(6)) delivery_.readMs = dice_.oneOf(std::initializer_list<std::uint32_t>{1, 20, 200, 3000});
}

void HostileUsbStack::decideFailures() {
  static constexpr std::uint64_t counts[] = {1, 1, 2, 3, 4, 1000, UINT64_MAX};
  while (dice_.oneIn(3)) {
    const std::uint64_t first = 1 + dice_.below(dice_.oneIn(2) ? 12 : 200);
    failures_.push_back({first, dice_.oneOf(counts), dice_.oneOf(HostileInterface::statuses)});
  }
}

void HostileUsbStack::noteCall() {
  if (streamBegan_ && !lastCalls_) lastCalls_ = DeviceTime::elapsed();
}

std::chrono::milliseconds HostileUsbStack::lastCallsTime() const {
  return lastCalls_ ? DeviceTime::elapsed() - *lastCalls_ : std::chrono::milliseconds(0);
}

bool HostileUsbStack::begins(IOReturn* status) {
  ++transfers_;
  if (lastCalls_ && silentAfterwards_) {
    *status = platform::kIOUSBTransactionTimeout;
    return false;
  }
  for (const Failure& failure : failures_) {
    if (transfers_ < failure.first || transfers_ - failure.first >= failure.count) continue;
    *status = failure.status;
    return false;
  }
  return true;
}

bool HostileUsbStack::probes(const Channel& channel) const {
  return probe_ && probe_->probe->inAnswers == channel.isOfReplies;
}

void HostileUsbStack::probe(const std::string& honest, Channel& channel) {
  ProbeEffects effects;
  effects.packets = packetsOf(honest);
  probe_->probe->disturb(effects, scan_, probe_->beyond);
  probe_.reset();
  for (const Packet& packet : effects.packets) channel.stream.add(bytesOf(packet), packet.times);
  channel.firstReads = effects.firstReads;
  channel.firstStatus = effects.firstStatus;
  delivery_.largest = effects.largest;
  delivery_.smallLeft = UINT64_MAX;
  delivery_.readMs = effects.readMs;
  silentAfterwards_ = effects.silentAfterwards;
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
