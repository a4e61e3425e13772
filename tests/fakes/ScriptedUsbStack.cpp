#include "ScriptedUsbStack.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace fakes {
namespace {

using platform::IOReturn;
using platform::kIOReturnSuccess;
using platform::ServiceKind;

constexpr platform::MachPort thePort = 0x1001;
constexpr platform::IOObject theIterator = 0x2001;
constexpr platform::IOObject firstService = 0x3001;
constexpr int patience = 100;  // time-outs in a row on one pipe

std::string number(std::uint32_t value) {
  return std::to_string(value);
}

std::string nameOf(ServiceKind kind) {
  return kind == ServiceKind::usbInterface ? "usbInterface" : "usbDevice";
}

std::string textOf(const platform::ControlRequest& request) {
  char text[64];
  std::snprintf(text, sizeof text, "type %02x request %02x value %04x index %04x length %u%s",
                request.requestType, request.request, request.value, request.index, request.length,
                request.data == nullptr ? "" : " with data");
  return text;
}

// Zero at the start, and every byte equal to the one before it.
bool allZero(const char* bytes, std::size_t count) {
  return count == 0 || (bytes[0] == 0 && std::memcmp(bytes, bytes + 1, count - 1) == 0);
}

}  // namespace

platform::PipeProperties bulkOut(std::uint8_t endpointNumber, std::uint16_t maxPacketSize) {
  return {platform::PipeDirection::out, endpointNumber, platform::TransferType::bulk, maxPacketSize, 0};
}

platform::PipeProperties bulkIn(std::uint8_t endpointNumber, std::uint16_t maxPacketSize) {
  return {platform::PipeDirection::in, endpointNumber, platform::TransferType::bulk, maxPacketSize, 0};
}

struct ScriptedUsbStack::Service {
  ServiceKind kind;
  std::string number;
  std::vector<platform::PipeProperties> settings[2];
  std::uint16_t vendor = 0;
  std::uint16_t product = 0;
  std::uint32_t location = 0;
  const void* holder = nullptr;  // the object that has it open
};

// What interfaces and devices have in common: they are opened once at a time, and die with their
// plugging-in.
class ScriptedUsbStack::Object {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

 protected:
  Object(ScriptedUsbStack& stack, Service& service, const char* kind)
      : stack_(stack), service_(service), name_(kind + service.number), connection_(stack.connection_) {
    stack_.hold(name_, +1);
  }
  ~Object() = default;

  IOReturn openObject() {
    const IOReturn status = fallible("open()");
    if (status != kIOReturnSuccess) return status;
    if (service_.holder != nullptr) return platform::kIOReturnExclusiveAccess;
    service_.holder = this;
    open_ = true;
    stack_.hold("open " + name_, +1);
    return kIOReturnSuccess;
  }
  // A close that fails has closed all the same, as it does for a device that is gone.
  IOReturn closeObject() {
    const IOReturn status = fallible("close()");
    stack_.hold("open " + name_, -1);
    if (!open_) return platform::kIOReturnNotOpen;
    giveBack();
    return status;
  }
  void releaseObject() {
    check("release()");
    stack_.record(name_ + ".release()");
    released_ = true;
    // It stays among the leftovers as open: drivers close before they release.
    giveBack();
    stack_.hold(name_, -1);
  }
  bool isOpen() const { return open_; }
  // Records a call and answers what the script or the state of things says of it.
  IOReturn fallible(const std::string& call) {
    check(call);
    const Verdict verdict = stack_.recordFallible(name_ + "." + call);
    if (verdict.status != kIOReturnSuccess) return verdict.status;
    return connection_ == stack_.connection_ && stack_.pluggedIn_ ? kIOReturnSuccess
                                                                  : platform::kIOReturnNoDevice;
  }

  ScriptedUsbStack& stack_;
  Service& service_;
  std::string name_;

 private:
  void check(const std::string& call) {
    if (released_) stack_.misuse_.push_back(name_ + "." + call + " after its release");
  }

  void giveBack() {
    open_ = false;
    if (service_.holder == this) service_.holder = nullptr;
  }

  int connection_;
  bool open_ = false;
  bool released_ = false;
};

class ScriptedUsbStack::Interface final : public platform::UsbInterface, private Object {
 public:
  Interface(ScriptedUsbStack& stack, Service& service) : Object(stack, service, "interface ") {}

  IOReturn open() override {
    const IOReturn status = openObject();
    if (status == kIOReturnSuccess) setting_ = 0;
    return status;
  }
  IOReturn close() override { return closeObject(); }
  void release() override { releaseObject(); }
  IOReturn getNumEndpoints(std::uint8_t* count) override {
    const IOReturn status = whenOpen("getNumEndpoints()");
    if (status == kIOReturnSuccess) *count = static_cast<std::uint8_t>(endpoints().size());
    return status;
  }
  IOReturn setAlternateInterface(std::uint8_t alternateSetting) override {
    const IOReturn status = whenOpen("setAlternateInterface(" + number(alternateSetting) + ")");
    if (status != kIOReturnSuccess) return status;
    if (alternateSetting > 1) return platform::kIOReturnNotFound;
    setting_ = alternateSetting;
    return kIOReturnSuccess;
  }
  IOReturn getPipeProperties(std::uint8_t pipe, platform::PipeProperties* properties) override {
    const IOReturn status = onPipe("getPipeProperties(" + number(pipe) + ")", pipe);
    if (status != kIOReturnSuccess) return status;
    *properties = pipe == 0 ? defaultPipe : endpoints()[pipe - 1U];
    return kIOReturnSuccess;
  }
  IOReturn abortPipe(std::uint8_t pipe) override { return onPipe("abortPipe(" + number(pipe) + ")", pipe); }
  IOReturn resetPipe(std::uint8_t pipe) override { return onPipe("resetPipe(" + number(pipe) + ")", pipe); }
  IOReturn clearPipeStallBothEnds(std::uint8_t pipe) override {
    const IOReturn status = onPipe("clearPipeStallBothEnds(" + number(pipe) + ")", pipe);
    if (status == kIOReturnSuccess) stack_.halted_.erase(pipe);
    return status;
  }
  IOReturn controlRequest(std::uint8_t pipe, const platform::ControlRequest& request) override {
    const IOReturn status = whenOpen("controlRequest(" + number(pipe) + ", " + textOf(request) + ")");
    return status == kIOReturnSuccess && pipe != 0 ? platform::kIOUSBUnknownPipeErr : status;
  }
  IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size, std::uint32_t noDataTimeoutMs,
                      std::uint32_t completionTimeoutMs) override {
    const IOReturn status = transfer(platform::PipeDirection::in, "readPipeTO(", pipe, *size, noDataTimeoutMs,
                                     completionTimeoutMs);
    if (status == kIOReturnSuccess) return stack_.read(pipe, buffer, size);
    *size = 0;
    stack_.transfers_.push_back({false, pipe, "", status});
    return status;
  }
  IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                       std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) override {
    const IOReturn status = transfer(platform::PipeDirection::out, "writePipeTO(", pipe, size,
                                     noDataTimeoutMs, completionTimeoutMs);
    stack_.transfers_.push_back({true, pipe, {static_cast<const char*>(buffer), size}, status});
    return status;
  }

 private:
  static constexpr platform::PipeProperties defaultPipe{platform::PipeDirection::out, 0,
                                                        platform::TransferType::control, 64, 0};

  const std::vector<platform::PipeProperties>& endpoints() const { return service_.settings[setting_]; }
  IOReturn whenOpen(const std::string& call) {
    const IOReturn status = fallible(call);
    return status == kIOReturnSuccess && !isOpen() ? platform::kIOReturnNotOpen : status;
  }
  IOReturn onPipe(const std::string& call, std::uint8_t pipe) {
    const IOReturn status = whenOpen(call);
    return status == kIOReturnSuccess && pipe > endpoints().size() ? platform::kIOUSBUnknownPipeErr : status;
  }
  IOReturn transfer(platform::PipeDirection direction, const char* call, std::uint8_t pipe,
                    std::uint32_t size, std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) {
    const IOReturn status = onPipe(call + number(pipe) + ", " + number(size) + ", " +
                                       number(noDataTimeoutMs) + ", " + number(completionTimeoutMs) + ")",
                                   pipe);
    if (status != kIOReturnSuccess) return status;
    if (pipe == 0 || endpoints()[pipe - 1U].direction != direction) return platform::kIOUSBUnknownPipeErr;
    return stack_.halted_.contains(pipe) ? platform::kIOUSBPipeStalled : kIOReturnSuccess;
  }

  std::size_t setting_ = 0;
};

class ScriptedUsbStack::Device final : public platform::UsbDevice, private Object {
 public:
  Device(ScriptedUsbStack& stack, Service& service) : Object(stack, service, "device ") {}

  IOReturn open() override { return openObject(); }
  // No misuse on a device that is not open: the driver closes one that failed to open, too.
  IOReturn close() override {
    if (isOpen()) return closeObject();
    fallible("close()");
    return platform::kIOReturnNotOpen;
  }
  void release() override { releaseObject(); }
  IOReturn getDeviceVendor(std::uint16_t* vendor) override {
    const IOReturn status = fallible("getDeviceVendor()");
    if (status == kIOReturnSuccess) *vendor = service_.vendor;
    return status;
  }
  IOReturn getDeviceProduct(std::uint16_t* product) override {
    const IOReturn status = fallible("getDeviceProduct()");
    if (status == kIOReturnSuccess) *product = service_.product;
    return status;
  }
  IOReturn getLocationID(std::uint32_t* location) override {
    const IOReturn status = fallible("getLocationID()");
    if (status == kIOReturnSuccess) *location = service_.location;
    return status;
  }
};

class ScriptedUsbStack::PlugIn final : public platform::PlugInInterface {
 public:
  PlugIn(ScriptedUsbStack& stack, Service& service)
      : stack_(stack), service_(service), name_("plugIn " + service.number) {
    stack_.hold(name_, +1);
  }

  IOReturn queryInterface(platform::UsbInterface** interface) override {
    return query("usbInterface", ServiceKind::usbInterface, interface, stack_.interfaces_);
  }
  IOReturn queryInterface(platform::UsbDevice** device) override {
    return query("usbDevice", ServiceKind::usbDevice, device, stack_.devices_);
  }
  void release() override {
    stack_.record(name_ + ".release()");
    stack_.hold(name_, -1);
  }

 private:
  template <typename Handed, typename Made>
  IOReturn query(const std::string& kindName, ServiceKind kind, Handed** object,
                 std::vector<std::unique_ptr<Made>>& objects) {
    const Verdict verdict = stack_.recordFallible(name_ + ".queryInterface(" + kindName + ")");
    if (verdict.status != kIOReturnSuccess) return verdict.status;
    if (service_.kind != kind) return platform::kIOReturnUnsupported;
    *object = nullptr;
    if (verdict.null) return kIOReturnSuccess;
    objects.push_back(std::make_unique<Made>(stack_, service_));
    *object = objects.back().get();
    return kIOReturnSuccess;
  }

  ScriptedUsbStack& stack_;
  Service& service_;
  std::string name_;
};

// Room for most tests' calls, so that recording seldom allocates while a test counts allocations.
ScriptedUsbStack::ScriptedUsbStack() {
  calls_.reserve(1000);
}
ScriptedUsbStack::~ScriptedUsbStack() = default;

void ScriptedUsbStack::addInterface(std::vector<platform::PipeProperties> endpoints,
                                    std::vector<platform::PipeProperties> alternateEndpoints) {
  auto service = std::make_unique<Service>();
  service->kind = ServiceKind::usbInterface;
  service->number = std::to_string(services_.size() + 1);
  service->settings[0] = std::move(endpoints);
  service->settings[1] = std::move(alternateEndpoints);
  services_.push_back(std::move(service));
}

void ScriptedUsbStack::addDevice(std::uint16_t vendor, std::uint16_t product, std::uint32_t location) {
  auto service = std::make_unique<Service>();
  service->kind = ServiceKind::usbDevice;
  service->number = std::to_string(services_.size() + 1);
  service->vendor = vendor;
  service->product = product;
  service->location = location;
  services_.push_back(std::move(service));
}

void ScriptedUsbStack::unplug() {
  pluggedIn_ = false;
  ++connection_;
  halted_.clear();
  for (const auto& service : services_) service->holder = nullptr;
}

void ScriptedUsbStack::queueRead(std::uint8_t pipe, std::string bytes) {
  reads_[pipe].push_back({kIOReturnSuccess, std::move(bytes), {}});
}

void ScriptedUsbStack::queueStatus(std::uint8_t pipe, IOReturn status, int times) {
  for (int i = 0; i < times; ++i) reads_[pipe].push_back({status, "", {}});
}

void ScriptedUsbStack::queueReportedSize(std::uint8_t pipe, std::string bytes, std::uint32_t reported) {
  reads_[pipe].push_back({kIOReturnSuccess, std::move(bytes), reported});
}

void ScriptedUsbStack::failNext(std::string line, IOReturn status) {
  scripts_.push_back({std::move(line), {status, false}});
}

void ScriptedUsbStack::answerNull(std::string line) {
  scripts_.push_back({std::move(line), {kIOReturnSuccess, true}});
}

void ScriptedUsbStack::failCall(int n, IOReturn status) {
  failingCall_ = n;
  failingStatus_ = status;
}

std::vector<std::string> ScriptedUsbStack::leftovers() const {
  std::vector<std::string> result;
  for (const auto& [what, count] : held_) result.insert(result.end(), static_cast<std::size_t>(count), what);
  return result;
}

void ScriptedUsbStack::record(const std::string& line) {
  calls_.push_back(line);
  if (listener_) listener_(line);
}

ScriptedUsbStack::Verdict ScriptedUsbStack::recordFallible(const std::string& line) {
  record(line);
  if (++fallibleCalls_ == failingCall_) return {failingStatus_, false};
  const auto script = std::find_if(scripts_.begin(), scripts_.end(),
                                   [&line](const Script& entry) { return line.rfind(entry.line, 0) == 0; });
  if (script == scripts_.end()) return {};
  const Verdict verdict = script->verdict;
  scripts_.erase(script);
  return verdict;
}

void ScriptedUsbStack::hold(const std::string& what, int change) {
  int& count = held_[what];
  count += change;
  if (count >= 0) return;
  misuse_.push_back(what + " given back without being held");
  count = 0;
}

IOReturn ScriptedUsbStack::masterPort(platform::MachPort* port) {
  const Verdict verdict = recordFallible("masterPort()");
  if (verdict.status != kIOReturnSuccess) return verdict.status;
  *port = thePort;
  hold("port", +1);
  return kIOReturnSuccess;
}

void ScriptedUsbStack::portDeallocate(platform::MachPort port) {
  record("portDeallocate()");
  if (port != thePort) misuse_.emplace_back("portDeallocate() of no port");
  hold("port", -1);
}

std::optional<platform::MatchingDictionary> ScriptedUsbStack::serviceMatching(ServiceKind kind) {
  if (recordFallible("serviceMatching(" + nameOf(kind) + ")").status != kIOReturnSuccess) return std::nullopt;
  return platform::MatchingDictionary{kind};
}

IOReturn ScriptedUsbStack::matchingServices(platform::MachPort port,
                                            const platform::MatchingDictionary& matching,
                                            platform::IOObject* iterator) {
  const Verdict verdict = recordFallible("matchingServices(" + nameOf(matching.kind) + ")");
  if (port != thePort) misuse_.emplace_back("matchingServices() without a port");
  if (verdict.status != kIOReturnSuccess) return verdict.status;
  iteratedKind_ = matching.kind;
  iteratorPosition_ = 0;
  *iterator = theIterator;
  hold("iterator", +1);
  return kIOReturnSuccess;
}

platform::IOObject ScriptedUsbStack::iteratorNext(platform::IOObject iterator) {
  const Verdict verdict = recordFallible("iteratorNext()");
  if (iterator != theIterator) misuse_.emplace_back("iteratorNext() without an iterator");
  if (verdict.status != kIOReturnSuccess) return 0;
  while (pluggedIn_ && iteratorPosition_ < services_.size()) {
    const std::size_t index = iteratorPosition_++;
    if (services_[index]->kind != iteratedKind_) continue;
    hold("service " + services_[index]->number, +1);
    return firstService + static_cast<platform::IOObject>(index);
  }
  return 0;
}

void ScriptedUsbStack::objectRelease(platform::IOObject object) {
  const std::string what =
      object == theIterator ? "iterator" : "service " + std::to_string(object - firstService + 1);
  record("objectRelease(" + what + ")");
  hold(what, -1);
}

IOReturn ScriptedUsbStack::createPlugInInterfaceForService(platform::IOObject service,
                                                           ServiceKind userClientType,
                                                           platform::PlugInInterface** plugIn) {
  const std::size_t index = service - firstService;
  const Verdict verdict = recordFallible("createPlugInInterfaceForService(service " +
                                         std::to_string(index + 1) + ", " + nameOf(userClientType) + ")");
  if (verdict.status != kIOReturnSuccess) return verdict.status;
  if (index >= services_.size()) return platform::kIOReturnBadArgument;
  if (services_[index]->kind != userClientType) return platform::kIOReturnUnsupported;
  *plugIn = nullptr;
  if (verdict.null) return kIOReturnSuccess;
  plugIns_.push_back(std::make_unique<PlugIn>(*this, *services_[index]));
  *plugIn = plugIns_.back().get();
  return kIOReturnSuccess;
}

IOReturn ScriptedUsbStack::read(std::uint8_t pipe, void* buffer, std::uint32_t* size) {
  readBuffersWereZero_ = readBuffersWereZero_ && allZero(static_cast<const char*>(buffer), *size);
  std::string bytes;
  const IOReturn status = answerRead(pipe, *size, &bytes, size);
  if (!bytes.empty()) std::memcpy(buffer, bytes.data(), bytes.size());
  transfers_.push_back({false, pipe, std::move(bytes), status});
  return status;
}

IOReturn ScriptedUsbStack::answerRead(std::uint8_t pipe, std::uint32_t capacity, std::string* bytes,
                                      std::uint32_t* reported) {
  auto& queue = reads_[pipe];
  *reported = 0;
  if (queue.empty()) {
    return ++timeoutsInARow_[pipe] < patience ? platform::kIOUSBTransactionTimeout
                                              : platform::kIOReturnNoDevice;
  }
  timeoutsInARow_[pipe] = 0;
  ReadAnswer& answer = queue.front();
  *bytes = answer.bytes.substr(0, capacity);
  *reported = answer.reported.value_or(static_cast<std::uint32_t>(bytes->size()));
  const IOReturn status = answer.status;
  answer.bytes.erase(0, bytes->size());
  if (answer.bytes.empty()) queue.pop_front();
  return status;
}

}  // namespace fakes
