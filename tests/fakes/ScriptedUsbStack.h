#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "UsbStack.h"

namespace fakes {

platform::PipeProperties bulkOut(std::uint8_t endpointNumber, std::uint16_t maxPacketSize = 512);
platform::PipeProperties bulkIn(std::uint8_t endpointNumber, std::uint16_t maxPacketSize = 512);

// A USB stack that records every call as a line of text, takes its replies from a script, makes any single
// call fail, and tracks what was obtained and not released. It is independent of scanners. Time-outs pass at
// once, so that there is never a transfer to abort.
//
//   // Pipes 1, 2 and 3. A read of pipe 2 gets "reply", the next one stalls, and a write to pipe 1 fails.
//   ScriptedUsbStack usb;
//   usb.addInterface({bulkOut(2), bulkIn(11), bulkIn(8)});
//   usb.queueRead(2, "reply");
//   usb.queueStatus(2, platform::kIOUSBPipeStalled);
//   usb.failNext("interface 1.writePipeTO(1", platform::kIOReturnIOError);
//   const ChosenUsbStack use(usb);
//   ...
//   EXPECT_THAT(usb.calls(), ElementsAre("masterPort()", "serviceMatching(usbInterface)", ...));
//   EXPECT_THAT(usb.leftovers(), IsEmpty());
//   EXPECT_THAT(usb.misuse(), IsEmpty());
//
// Services and the objects created from them are numbered from 1 in the order in which they were added. The
// objects belong to the stack, so that a use after release is reported by misuse() and touches no freed
// memory. One thread.
class ScriptedUsbStack final : public platform::UsbStack {
 public:
  struct Transfer {
    bool out;
    std::uint8_t pipe;
    std::string bytes;  // what moved, or for a write that failed what should have
    platform::IOReturn status;
  };

  ScriptedUsbStack();
  ~ScriptedUsbStack() override;
  ScriptedUsbStack(const ScriptedUsbStack&) = delete;
  ScriptedUsbStack& operator=(const ScriptedUsbStack&) = delete;

  // Pipe properties of alternate setting 0, in the order of the pipe references, and of setting 1.
  void addInterface(std::vector<platform::PipeProperties> endpoints,
                    std::vector<platform::PipeProperties> alternateEndpoints = {});
  void addDevice(std::uint16_t vendor, std::uint16_t product, std::uint32_t location);

  // What the reads of a pipe return, in order. Bytes that do not fit into one read are kept for the next. A
  // pipe with nothing queued times out; so that no test hangs, the device disappears at the 100th in a row.
  void queueRead(std::uint8_t pipe, std::string bytes);
  void queueStatus(std::uint8_t pipe, platform::IOReturn status, int times = 1);
  // A read that succeeds with these bytes and reports `reported` of them, true or not.
  void queueReportedSize(std::uint8_t pipe, std::string bytes, std::uint32_t reported);

  // Transfers on the pipe are kIOUSBPipeStalled until both of its ends are cleared.
  void haltPipe(std::uint8_t pipe) { halted_.insert(pipe); }

  // Removes everything that was added, or restores it. Objects obtained before the unplugging stay invalid.
  void unplug();
  void plugIn() { pluggedIn_ = true; }

  // The next call whose line begins with `line` fails with `status`, or with the empty result of a call that
  // has no status.
  void failNext(std::string line, platform::IOReturn status);
  // As failNext, but the call succeeds and returns a null object.
  void answerNull(std::string line);
  // The n-th (from 1) of all calls that can fail fails with `status`; 0 for none.
  void failCall(int n, platform::IOReturn status);
  // Runs inside each call, before it has any effect. Throws nothing but std::bad_alloc.
  void onCall(std::function<void(const std::string& line)> listener) { listener_ = std::move(listener); }

  const std::vector<std::string>& calls() const { return calls_; }
  void forgetCalls() { calls_.clear(); }
  const std::vector<Transfer>& transfers() const { return transfers_; }
  int fallibleCalls() const { return fallibleCalls_; }
  // Whether every buffer given to a read was all zero.
  bool readBuffersWereZero() const { return readBuffersWereZero_; }
  // "port", "iterator", "service 1", "plugIn 1", "interface 1", "open interface 1", "device 1", ...
  std::vector<std::string> leftovers() const;
  // Calls on objects that were released, releases of what is not held, closes of what is not open.
  const std::vector<std::string>& misuse() const { return misuse_; }

  platform::IOReturn masterPort(platform::MachPort* port) noexcept override;
  void portDeallocate(platform::MachPort port) noexcept override;
  std::optional<platform::MatchingDictionary> serviceMatching(platform::ServiceKind kind) noexcept override;
  platform::IOReturn matchingServices(platform::MachPort port, const platform::MatchingDictionary& matching,
                                      platform::IOObject* iterator) noexcept override;
  platform::IOObject iteratorNext(platform::IOObject iterator) noexcept override;
  void objectRelease(platform::IOObject object) noexcept override;
  platform::IOReturn createPlugInInterfaceForService(platform::IOObject service,
                                                     platform::ServiceKind userClientType,
                                                     platform::PlugInInterface** plugIn) noexcept override;

 private:
  class Object;
  class PlugIn;
  class Interface;
  class Device;
  struct Service;
  struct ReadAnswer {
    platform::IOReturn status;
    std::string bytes;
    std::optional<std::uint32_t> reported;
  };
  // The scripted result of a call.
  struct Verdict {
    platform::IOReturn status = platform::kIOReturnSuccess;
    bool null = false;
  };
  struct Script {
    std::string line;
    Verdict verdict;
  };

  void record(const std::string& line);
  template <typename MakeLine>
  void recordRelease(MakeLine makeLine) noexcept;
  Verdict recordFallible(const std::string& line);
  void hold(const std::string& what, int change);
  platform::IOReturn read(std::uint8_t pipe, void* buffer, std::uint32_t capacity, std::uint32_t* size);
  platform::IOReturn answerRead(std::uint8_t pipe, std::uint32_t capacity, std::string* bytes,
                                std::uint32_t* reported);

  std::vector<std::unique_ptr<Service>> services_;
  std::vector<std::unique_ptr<PlugIn>> plugIns_;
  std::vector<std::unique_ptr<Interface>> interfaces_;
  std::vector<std::unique_ptr<Device>> devices_;
  platform::ServiceKind iteratedKind_ = platform::ServiceKind::usbInterface;
  std::size_t iteratorPosition_ = 0;
  std::map<std::uint8_t, std::deque<ReadAnswer>> reads_;
  std::map<std::uint8_t, int> consecutiveTimeouts_;
  std::set<std::uint8_t> halted_;
  bool pluggedIn_ = true;
  int connection_ = 1;
  std::deque<Script> scripts_;
  int failingCall_ = 0;
  platform::IOReturn failingStatus_ = platform::kIOReturnError;
  int fallibleCalls_ = 0;
  bool readBuffersWereZero_ = true;
  std::function<void(const std::string&)> listener_;
  std::vector<std::string> calls_;
  std::vector<std::string> misuse_;
  std::vector<Transfer> transfers_;
  std::map<std::string, int> held_;
};

// Makes drivers use a stack while the object exists, and the default one afterwards.
class ChosenUsbStack {
 public:
  explicit ChosenUsbStack(platform::UsbStack& stack) { platform::useUsbStack(&stack); }
  ~ChosenUsbStack() { platform::useUsbStack(nullptr); }
  ChosenUsbStack(const ChosenUsbStack&) = delete;
  ChosenUsbStack& operator=(const ChosenUsbStack&) = delete;
};

}  // namespace fakes
