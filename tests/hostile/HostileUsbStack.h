#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "Dice.h"
#include "ForwardingUsbStack.h"
#include "HostileStream.h"
#include "Probe.h"

namespace hostile {

// A device that does what no scanner would, decided by a seed: a stack over that of an honest, virtual one,
// whose services, pipes, statuses, replies and pictures it distorts, in random combinations; or that is
// honest but for a probe. Nothing takes real time: transfers and time-outs take DeviceTime.
//
// The inner stack belongs to the caller and outlives this one. One thread, except for abortPipe(), which any
// thread may call and which does nothing.
class HostileUsbStack final : public platform::ForwardingUsbStack {
 public:
  // `scan` is the one that the device receives.
  HostileUsbStack(platform::UsbStack& inner, std::uint64_t seed, const ProbedScan& scan);
  ~HostileUsbStack() override;

  // The time since the first call that followed the job stream: the picture is complete, or abandoned, and
  // the replies are not needed. Zero before.
  std::chrono::milliseconds lastCallsTime() const;

  // Occasionally null, otherwise the honest stack's.
  platform::IOReturn createPlugInInterfaceForService(platform::IOObject service,
                                                     platform::ServiceKind userClientType,
                                                     platform::PlugInInterface** plugIn) noexcept override;

 protected:
  std::unique_ptr<platform::ForwardingUsbInterface> wrap(platform::UsbInterface& interface) override;

 private:
  friend class HostileInterface;

  // Transfers from the number `first` on, `count` of them, end with this status.
  struct Failure {
    std::uint64_t first;
    std::uint64_t count;
    platform::IOReturn status;
  };
  // How the bytes of a pipe are cut into transfers.
  struct Delivery {
    bool ofReplies;            // as well; the job rarely gets far then
    std::size_t largest;       // bytes of one transfer
    std::uint64_t smallLeft;   // transfers that are so small; the rest is not, for the sake of speed
    std::size_t emptyOneIn;    // one transfer in so many has no byte; 0 for none
    std::size_t timeOutOneIn;  // one transfer in so many times out; 0 for none
    std::uint32_t readMs;      // that one transfer takes
  };

  // What one pipe still has to send.
  struct Channel {
    HostileStream stream;
    bool isOfReplies = false;
    std::uint64_t firstReads = 0;  // that bring nothing but this status
    platform::IOReturn firstStatus = platform::kIOReturnSuccess;
  };

  void decideAll();
  void decideFailures();
  void decideDelivery();
  bool begins(platform::IOReturn* status);  // counts a transfer
  void noteCall();
  bool probes(const Channel& channel) const;
  // Disturbs what the honest device sent, once.
  void probe(const std::string& honest, Channel& channel);

  Dice dice_;
  ProbedScan scan_;
  std::optional<ProbedSide> probe_;  // until it was done
  std::vector<Failure> failures_;
  Delivery delivery_{};
  bool distortsReplies_ = false;
  bool distortsPicture_ = false;
  std::size_t honestReplies_ = SIZE_MAX;  // before the first one that is distorted
  bool babbles_ = false;                  // before it is asked
  bool oddPipes_ = false;
  bool oddPlugIn_ = false;
  bool failsElsewhere_ = false;  // outside transfers
  std::uint64_t transfers_ = 0;
  bool streamBegan_ = false;
  bool silentAfterwards_ = false;
  std::optional<std::chrono::milliseconds> lastCalls_;  // when they began
  std::map<std::uint8_t, Channel> channels_;            // by pipe
};

}  // namespace hostile
