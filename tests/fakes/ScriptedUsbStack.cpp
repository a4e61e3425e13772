#include "ScriptedUsbStack.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

namespace fakes {
namespace {

using platform::IOReturn;
using platform::kIOReturnSuccess;
using platform::ServiceKind;

constexpr platform::MachPort thePort = 0x1001;
constexpr platform::IOObject theIterator = 0x2001;
constexpr platform::IOObject firstService = 0x3001;
constexpr int timeoutsUntilGone = 100;  // consecutive ones on one pipe

std::string text(const char* words) {
  return words;
}
std::string text(std::uint32_t number) {
  return std::to_string(number);
}

std::string nameOf(ServiceKind kind) {
  return kind == ServiceKind::usbInterface ? "usbInterface" : "usbDevice";
}

std::array<char, 64> textOf(const platform::ControlRequest& request) noexcept {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "type %02x request %02x value %04x index %04x length %u%s",
                request.requestType, request.request, request.value, request.index, request.length,
                request.data == nullptr ? "" : " with data");
  return text;
}

// Even a fake fails as a stack does when there is no memory for its records.
template <typename Operation>
IOReturn unlessOutOfMemory(Operation operation) noexcept {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    return platform::kIOReturnNoMemory;
  }
}

// Lets the next push_back() succeed.
template <typename Element>
void makeRoom(std::vector<Element>& elements) {
  if (elements.size() == elements.capacity()) elements.reserve(2 * elements.size() + 16);
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

// A release cannot fail: for lack of memory, only its line is missing.
template <typename MakeLine>
void ScriptedUsbStack::recordRelease(MakeLine makeLine) noexcept {
  unlessOutOfMemory([&] {
    record(makeLine());
    return kIOReturnSuccess;
  });
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

// What interfaces and devices have in common: one object at a time has them open, and an unplugging
// ends their use.
class ScriptedUsbStack::Object {
 public:
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

 protected:
  Object(ScriptedUsbStack& stack, Service& service, const char* kind)
      : stack_(stack),
        service_(service),
        name_(kind + service.number),
        openName_("open " + name_),
        connection_(stack.connection_) {
    stack_.hold(name_, +1);
  }
  ~Object() = default;

  IOReturn openObject() {
    const IOReturn status = fallible("open()");
    if (status != kIOReturnSuccess) return status;
    if (service_.holder != nullptr) return platform::kIOReturnExclusiveAccess;
    stack_.hold(openName_, +1);
    service_.holder = this;
    open_ = true;
    return kIOReturnSuccess;
  }
  // A close that fails has closed nevertheless, as it does for a device that was unplugged.
  IOReturn closeObject() noexcept {
    const IOReturn status = unlessOutOfMemory([this] { return fallible("close()"); });
    stack_.hold(openName_, -1);
    if (!open_) return platform::kIOReturnNotOpen;
    giveBack();
    return status;
  }
  void releaseObject() noexcept {
    stack_.recordRelease([this] {
      noteUseAfterRelease("release()");
      return name_ + ".release()";
    });
    released_ = true;
    // It is kept among the leftovers as open: drivers close before they release.
    giveBack();
    stack_.hold(name_, -1);
  }
  bool isOpen() const { return open_; }
  // Records a call and returns what the script, or else the state of the bus, makes of it.
  IOReturn fallible(const std::string& call) {
    noteUseAfterRelease(call);
    const Verdict verdict = stack_.recordFallible(name_ + "." + call);
    if (verdict.status != kIOReturnSuccess) return verdict.status;
    return connection_ == stack_.connection_ && stack_.pluggedIn_ ? kIOReturnSuccess
                                                                  : platform::kIOReturnNoDevice;
  }

  ScriptedUsbStack& stack_;
  Service& service_;
  const std::string name_;
  const std::string openName_;

 private:
  void noteUseAfterRelease(const std::string& call) {
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

  IOReturn open() noexcept override {
    return unlessOutOfMemory([this] {
      const IOReturn status = openObject();
      if (status == kIOReturnSuccess) setting_ = 0;
      return status;
    });
  }
  IOReturn close() noexcept override { return closeObject(); }
  void release() noexcept override { releaseObject(); }
  IOReturn getNumEndpoints(std::uint8_t* count) noexcept override {
    const IOReturn status = whenOpen("getNumEndpoints()");
    if (status == kIOReturnSuccess) *count = static_cast<std::uint8_t>(endpoints().size());
    return status;
  }
  IOReturn setAlternateInterface(std::uint8_t alternateSetting) noexcept override {
    const IOReturn status = whenOpen("setAlternateInterface(", alternateSetting, ")");
    if (status != kIOReturnSuccess) return status;
    if (alternateSetting > 1) return platform::kIOReturnNotFound;
    setting_ = alternateSetting;
    return kIOReturnSuccess;
  }
  IOReturn getPipeProperties(std::uint8_t pipe, platform::PipeProperties* properties) noexcept override {
    const IOReturn status = onPipe("getPipeProperties(", pipe);
    if (status != kIOReturnSuccess) return status;
    *properties = pipe == 0 ? defaultPipe : endpoints()[pipe - 1U];
    return kIOReturnSuccess;
  }
  IOReturn abortPipe(std::uint8_t pipe) noexcept override { return onPipe("abortPipe(", pipe); }
  IOReturn resetPipe(std::uint8_t pipe) noexcept override { return onPipe("resetPipe(", pipe); }
  IOReturn clearPipeStallBothEnds(std::uint8_t pipe) noexcept override {
    const IOReturn status = onPipe("clearPipeStallBothEnds(", pipe);
    if (status == kIOReturnSuccess) stack_.halted_.erase(pipe);
    return status;
  }
  IOReturn controlRequest(std::uint8_t pipe, const platform::ControlRequest& request) noexcept override {
    const IOReturn status = whenOpen("controlRequest(", pipe, ", ", textOf(request).data(), ")");
    return status == kIOReturnSuccess && pipe != 0 ? platform::kIOUSBUnknownPipeErr : status;
  }
  IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size, std::uint32_t noDataTimeoutMs,
                      std::uint32_t completionTimeoutMs) noexcept override {
    const std::uint32_t capacity = std::exchange(*size, 0);
    return unlessOutOfMemory([&] {
      makeRoom(stack_.transfers_);
      const IOReturn status = transfer(platform::PipeDirection::in, "readPipeTO(", pipe, capacity,
                                       noDataTimeoutMs, completionTimeoutMs);
      if (status == kIOReturnSuccess) return stack_.read(pipe, buffer, capacity, size);
      stack_.transfers_.push_back({false, pipe, "", status});
      return status;
    });
  }
  IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                       std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) noexcept override {
    return unlessOutOfMemory([&] {
      const IOReturn status = transfer(platform::PipeDirection::out, "writePipeTO(", pipe, size,
                                       noDataTimeoutMs, completionTimeoutMs);
      stack_.transfers_.push_back({true, pipe, {static_cast<const char*>(buffer), size}, status});
      return status;
    });
  }

 private:
  static constexpr platform::PipeProperties defaultPipe{platform::PipeDirection::out, 0,
                                                        platform::TransferType::control, 64, 0};

  const std::vector<platform::PipeProperties>& endpoints() const { return service_.settings[setting_]; }
  template <typename... Parts>
  IOReturn whenOpen(Parts... parts) noexcept {
    const IOReturn status = unlessOutOfMemory([&] { return fallible((std::string() + ... + text(parts))); });
    return status == kIOReturnSuccess && !isOpen() ? platform::kIOReturnNotOpen : status;
  }
  template <typename... Parts>
  IOReturn onPipe(const char* call, std::uint8_t pipe, Parts... parts) noexcept {
    const IOReturn status = whenOpen(call, pipe, parts..., ")");
    return status == kIOReturnSuccess && pipe > endpoints().size() ? platform::kIOUSBUnknownPipeErr : status;
  }
  IOReturn transfer(platform::PipeDirection direction, const char* call, std::uint8_t pipe,
                    std::uint32_t size, std::uint32_t noDataTimeoutMs,
                    std::uint32_t completionTimeoutMs) noexcept {
    const IOReturn status = onPipe(call, pipe, ", ", size, ", ", noDataTimeoutMs, ", ", completionTimeoutMs);
    if (status != kIOReturnSuccess) return status;
    if (pipe == 0 || endpoints()[pipe - 1U].direction != direction) return platform::kIOUSBUnknownPipeErr;
    return stack_.halted_.contains(pipe) ? platform::kIOUSBPipeStalled : kIOReturnSuccess;
  }

  std::size_t setting_ = 0;
};

class ScriptedUsbStack::Device final : public platform::UsbDevice, private Object {
 public:
  Device(ScriptedUsbStack& stack, Service& service) : Object(stack, service, "device ") {}

  IOReturn open() noexcept override {
    return unlessOutOfMemory([this] { return openObject(); });
  }
  // No misuse on a device that is not open: the driver closes one that failed to open, too.
  IOReturn close() noexcept override {
    if (isOpen()) return closeObject();
    return unlessOutOfMemory([this] {
      fallible("close()");
      return platform::kIOReturnNotOpen;
    });
  }
  void release() noexcept override { releaseObject(); }
  IOReturn getDeviceVendor(std::uint16_t* vendor) noexcept override {
    return read("getDeviceVendor()", service_.vendor, vendor);
  }
  IOReturn getDeviceProduct(std::uint16_t* product) noexcept override {
    return read("getDeviceProduct()", service_.product, product);
  }
  IOReturn getLocationID(std::uint32_t* location) noexcept override {
    return read("getLocationID()", service_.location, location);
  }

 private:
  template <typename Number>
  IOReturn read(const char* call, Number from, Number* to) noexcept {
    const IOReturn status = unlessOutOfMemory([&] { return fallible(call); });
    if (status == kIOReturnSuccess) *to = from;
    return status;
  }
};

class ScriptedUsbStack::PlugIn final : public platform::PlugInInterface {
 public:
  PlugIn(ScriptedUsbStack& stack, Service& service)
      : stack_(stack), service_(service), name_("plugIn " + service.number) {
    stack_.hold(name_, +1);
  }

  IOReturn queryInterface(platform::UsbInterface** interface) noexcept override {
    return query("usbInterface", ServiceKind::usbInterface, interface, stack_.interfaces_);
  }
  IOReturn queryInterface(platform::UsbDevice** device) noexcept override {
    return query("usbDevice", ServiceKind::usbDevice, device, stack_.devices_);
  }
  void release() noexcept override {
    stack_.recordRelease([this] { return name_ + ".release()"; });
    stack_.hold(name_, -1);
  }

 private:
  template <typename Handed, typename Made>
  IOReturn query(const char* kindName, ServiceKind kind, Handed** object,
                 std::vector<std::unique_ptr<Made>>& objects) noexcept {
    return unlessOutOfMemory([&] {
      makeRoom(objects);
      const Verdict verdict = stack_.recordFallible(name_ + ".queryInterface(" + kindName + ")");
      if (verdict.status != kIOReturnSuccess) return verdict.status;
      if (service_.kind != kind) return platform::kIOReturnUnsupported;
      if (!verdict.null) objects.push_back(std::make_unique<Made>(stack_, service_));
      *object = verdict.null ? nullptr : objects.back().get();
      return kIOReturnSuccess;
    });
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

// Allocates nothing where something held is given back.
void ScriptedUsbStack::hold(const std::string& what, int change) {
  int& count = held_[what];
  count += change;
  if (count >= 0) return;
  misuse_.push_back(what + " given back without being held");
  count = 0;
}

IOReturn ScriptedUsbStack::masterPort(platform::MachPort* port) noexcept {
  return unlessOutOfMemory([&] {
    const Verdict verdict = recordFallible("masterPort()");
    if (verdict.status != kIOReturnSuccess) return verdict.status;
    hold("port", +1);
    *port = thePort;
    return kIOReturnSuccess;
  });
}

void ScriptedUsbStack::portDeallocate(platform::MachPort port) noexcept {
  recordRelease([] { return std::string("portDeallocate()"); });
  if (port != thePort) misuse_.emplace_back("portDeallocate() of no port");
  hold("port", -1);
}

std::optional<platform::MatchingDictionary> ScriptedUsbStack::serviceMatching(ServiceKind kind) noexcept {
  const IOReturn status =
      unlessOutOfMemory([&] { return recordFallible("serviceMatching(" + nameOf(kind) + ")").status; });
  if (status != kIOReturnSuccess) return std::nullopt;
  return platform::MatchingDictionary{kind};
}

IOReturn ScriptedUsbStack::matchingServices(platform::MachPort port,
                                            const platform::MatchingDictionary& matching,
                                            platform::IOObject* iterator) noexcept {
  return unlessOutOfMemory([&] {
    const Verdict verdict = recordFallible("matchingServices(" + nameOf(matching.kind) + ")");
    if (port != thePort) misuse_.emplace_back("matchingServices() without a port");
    if (verdict.status != kIOReturnSuccess) return verdict.status;
    hold("iterator", +1);
    iteratedKind_ = matching.kind;
    iteratorPosition_ = 0;
    *iterator = theIterator;
    return kIOReturnSuccess;
  });
}

platform::IOObject ScriptedUsbStack::iteratorNext(platform::IOObject iterator) noexcept try {
  const Verdict verdict = recordFallible("iteratorNext()");
  if (iterator != theIterator) misuse_.emplace_back("iteratorNext() without an iterator");
  if (verdict.status != kIOReturnSuccess) return 0;
  while (pluggedIn_ && iteratorPosition_ < services_.size()) {
    const std::size_t index = iteratorPosition_;
    const bool matches = services_[index]->kind == iteratedKind_;
    if (matches) hold("service " + services_[index]->number, +1);
    ++iteratorPosition_;
    if (matches) return firstService + static_cast<platform::IOObject>(index);
  }
  return 0;
} catch (const std::bad_alloc&) {
  return 0;
}

void ScriptedUsbStack::objectRelease(platform::IOObject object) noexcept {
  // Short enough to be kept without an allocation.
  const std::string what =
      object == theIterator ? "iterator" : "service " + std::to_string(object - firstService + 1);
  recordRelease([&what] { return "objectRelease(" + what + ")"; });
  hold(what, -1);
}

IOReturn ScriptedUsbStack::createPlugInInterfaceForService(platform::IOObject service,
                                                           ServiceKind userClientType,
                                                           platform::PlugInInterface** plugIn) noexcept {
  return unlessOutOfMemory([&] {
    makeRoom(plugIns_);
    const std::size_t index = service - firstService;
    const Verdict verdict = recordFallible("createPlugInInterfaceForService(service " +
                                           std::to_string(index + 1) + ", " + nameOf(userClientType) + ")");
    if (verdict.status != kIOReturnSuccess) return verdict.status;
    if (index >= services_.size()) return platform::kIOReturnBadArgument;
    if (services_[index]->kind != userClientType) return platform::kIOReturnUnsupported;
    if (!verdict.null) plugIns_.push_back(std::make_unique<PlugIn>(*this, *services_[index]));
    *plugIn = verdict.null ? nullptr : plugIns_.back().get();
    return kIOReturnSuccess;
  });
}

IOReturn ScriptedUsbStack::read(std::uint8_t pipe, void* buffer, std::uint32_t capacity,
                                std::uint32_t* size) {
  readBuffersWereZero_ = readBuffersWereZero_ && allZero(static_cast<const char*>(buffer), capacity);
  std::string bytes;
  const IOReturn status = answerRead(pipe, capacity, &bytes, size);
  if (!bytes.empty()) std::memcpy(buffer, bytes.data(), bytes.size());
  transfers_.push_back({false, pipe, std::move(bytes), status});
  return status;
}

// Allocations are made first, so that a reply is removed from its queue only if it is delivered.
IOReturn ScriptedUsbStack::answerRead(std::uint8_t pipe, std::uint32_t capacity, std::string* bytes,
                                      std::uint32_t* reported) {
  auto& queue = reads_[pipe];
  int& timeouts = consecutiveTimeouts_[pipe];
  if (queue.empty())
    return ++timeouts < timeoutsUntilGone ? platform::kIOUSBTransactionTimeout : platform::kIOReturnNoDevice;
  timeouts = 0;
  ReadAnswer& answer = queue.front();
  *bytes = answer.bytes.substr(0, capacity);
  *reported = answer.reported.value_or(static_cast<std::uint32_t>(bytes->size()));
  const IOReturn status = answer.status;
  answer.bytes.erase(0, bytes->size());
  if (answer.bytes.empty()) queue.pop_front();
  return status;
}

}  // namespace fakes
