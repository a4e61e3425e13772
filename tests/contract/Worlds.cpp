#include <algorithm>
#include <span>
#include <utility>

#include "CallLog.h"
#include "DeviceHost.h"
#include "DeviceIdentity.h"
#include "EmulatedUsbfs.h"
#include "ForwardingUsbStack.h"
#include "LibusbStack.h"
#include "ScriptedUsbStack.h"
#include "VirtualUsbStack.h"
#include "World.h"

using namespace virtualscanner;

namespace {

constexpr PageRequest page{75, true, 0, 0, 100, 133};

// The stream that a scanner with these options sends.
std::vector<std::uint8_t> streamOf(ScannerOptions options) {
  options.faults.clear();
  VirtualScanner scanner(Paper::testChart(), options);
  DeviceHost host(scanner);
  host.startJob(page);
  return host.readStream();
}

class ScriptedWorld final : public World {
 public:
  explicit ScriptedWorld(ScannerOptions options) : options_(std::move(options)) {
    usb_.addInterface(
        options_.alternateSettings ? std::vector<platform::PipeProperties>{} : pipes(scannerEndpoints()),
        options_.alternateSettings ? pipes(multifunctionEndpoints())
                                   : std::vector<platform::PipeProperties>{});
    usb_.addDevice(platform::deviceVendorId, platform::deviceProductId, 0x14100000);
  }

  platform::UsbStack& stack() override { return usb_; }
  std::vector<std::uint8_t> startStream() override {
    auto stream = streamOf(options_);
    const std::size_t step = options_.transferBytes == 0 ? stream.size() : options_.transferBytes;
    for (std::size_t at = 0; at < stream.size(); at += step) {
      const std::size_t count = std::min(step, stream.size() - at);
      const auto from = stream.begin() + static_cast<std::ptrdiff_t>(at);
      usb_.queueRead(3, std::string(from, from + static_cast<std::ptrdiff_t>(count)));
    }
    return stream;
  }
  void haltNext(std::uint8_t pipe) override { usb_.haltPipe(pipe); }
  void unplug() override { usb_.unplug(); }
  void plugIn() override { usb_.plugIn(); }
  bool received(const std::vector<std::uint8_t>& packet) override {
    return !usb_.transfers().empty() &&
           usb_.transfers().back().bytes == std::string(packet.begin(), packet.end());
  }
  bool isTidy() override { return usb_.leftovers().empty(); }

 private:
  static std::vector<platform::PipeProperties> pipes(std::span<const Endpoint> endpoints) {
    std::vector<platform::PipeProperties> pipes;
    for (const Endpoint& endpoint : endpoints) {
      const bool in = platform::usb::isIn(endpoint.address);
      pipes.push_back({in ? platform::PipeDirection::in : platform::PipeDirection::out,
                       platform::usb::endpointNumber(endpoint.address), endpoint.type, endpoint.maxPacketSize,
                       endpoint.interval});
    }
    return pipes;
  }

  ScannerOptions options_;
  fakes::ScriptedUsbStack usb_;
};

bool receivedExitCall(const CallLog& calls) {
  return *calls == std::vector<std::string>{"system.exitHostUSBSendMode"};
}

class VirtualWorld : public World {
 public:
  explicit VirtualWorld(const ScannerOptions& options) : scanner_(Paper::testChart(), options) {}

  platform::UsbStack& stack() override { return usb_; }
  std::vector<std::uint8_t> startStream() override {
    DeviceHost(scanner_).startJob(page);
    return streamOf(scanner_.options());
  }
  void haltNext(std::uint8_t /*pipe*/) override { scanner_.setFaults({{FaultKind::stall, 1}}); }
  void unplug() override { scanner_.unplug(); }
  void plugIn() override { scanner_.plugIn(); }
  bool received(const std::vector<std::uint8_t>& /*packet*/) override { return receivedExitCall(calls_); }
  bool isTidy() override { return usb_.unreleased().total() == 0; }

 private:
  VirtualScanner scanner_;
  const CallLog calls_ = recordCalls(scanner_);
  VirtualUsbStack usb_{scanner_};
};

// A stack that passes everything on, through an interface of its own.
class PassingStack final : public platform::ForwardingUsbStack {
 public:
  explicit PassingStack(platform::UsbStack& inner) : ForwardingUsbStack(inner) {}

 protected:
  std::unique_ptr<platform::ForwardingUsbInterface> wrap(platform::UsbInterface& interface) override {
    return std::make_unique<platform::ForwardingUsbInterface>(*this, interface);
  }
};

class ForwardedWorld final : public VirtualWorld {
 public:
  using VirtualWorld::VirtualWorld;
  platform::UsbStack& stack() override { return passing_; }

 private:
  PassingStack passing_{VirtualWorld::stack()};
};

class LibusbWorld final : public World {
 public:
  LibusbWorld(const ScannerOptions& options, bool largeRequests)
      : scanner_(Paper::testChart(), options), usbfs_(scanner_, {.largeRequests = largeRequests}) {}

  platform::UsbStack& stack() override { return usb_; }
  std::vector<std::uint8_t> startStream() override {
    usbfs_.withScanner([](VirtualScanner& scanner) { DeviceHost(scanner).startJob(page); });
    return streamOf(scanner_.options());
  }
  void haltNext(std::uint8_t /*pipe*/) override {
    usbfs_.withScanner([](VirtualScanner& scanner) { scanner.setFaults({{FaultKind::stall, 1}}); });
  }
  void unplug() override { usbfs_.unplug(); }
  void plugIn() override { usbfs_.plugIn(); }
  bool received(const std::vector<std::uint8_t>& /*packet*/) override {
    bool took = false;
    usbfs_.withScanner([&](VirtualScanner&) { took = receivedExitCall(calls_); });
    return took;
  }
  bool isTidy() override { return usbfs_.requestsInFlight() == 0; }

 private:
  VirtualScanner scanner_;
  const CallLog calls_ = recordCalls(scanner_);
  EmulatedUsbfs usbfs_;
  platform::LibusbStack usb_;
};

}  // namespace

std::vector<WorldKind> worldsWithADevice() {
  return {{"virtual", [](const auto& options) { return std::make_unique<VirtualWorld>(options); }},
          {"forwarded", [](const auto& options) { return std::make_unique<ForwardedWorld>(options); }},
          {"libusb", [](const auto& options) { return std::make_unique<LibusbWorld>(options, true); }},
          {"libusbInSmallRequests",
           [](const auto& options) { return std::make_unique<LibusbWorld>(options, false); }}};
}

std::vector<WorldKind> allWorlds() {
  std::vector<WorldKind> worlds = worldsWithADevice();
  worlds.insert(worlds.begin(),
                {"scripted", [](const auto& options) { return std::make_unique<ScriptedWorld>(options); }});
  return worlds;
}

std::vector<std::uint8_t> exitCall() {
  VirtualScanner scanner;
  return DeviceHost(scanner).framed("system", "exitHostUSBSendMode", {});
}
