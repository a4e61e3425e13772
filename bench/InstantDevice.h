#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "UsbStack.h"

// A scanner without cost of its own: one interface with the three bulk pipes, canned replies, and a job
// stream in memory that is copied out as fast as it is read. For measuring what the library adds. One thread.
class InstantDevice final : public platform::UsbStack, platform::PlugInInterface, platform::UsbInterface {
 public:
  // `stream` is the whole job stream, packets and all; it is sent once per rewind().
  explicit InstantDevice(std::string stream) : stream_(std::move(stream)) {}

  void rewind() { position_ = 0; }

  platform::IOReturn masterPort(platform::MachPort* port) noexcept override { return answer(port, 1U); }
  void portDeallocate(platform::MachPort /*port*/) noexcept override {}
  std::optional<platform::MatchingDictionary> serviceMatching(platform::ServiceKind kind) noexcept override {
    return platform::MatchingDictionary{kind};
  }
  platform::IOReturn matchingServices(platform::MachPort /*port*/,
                                      const platform::MatchingDictionary& /*matching*/,
                                      platform::IOObject* iterator) noexcept override {
    servicesLeft_ = 1;
    return answer(iterator, 1U);
  }
  platform::IOObject iteratorNext(platform::IOObject /*iterator*/) noexcept override {
    return servicesLeft_-- == 1 ? 2 : 0;
  }
  void objectRelease(platform::IOObject /*object*/) noexcept override {}
  platform::IOReturn createPlugInInterfaceForService(platform::IOObject /*service*/,
                                                     platform::ServiceKind /*userClientType*/,
                                                     platform::PlugInInterface** plugIn) noexcept override {
    *plugIn = this;
    return platform::kIOReturnSuccess;
  }

  platform::IOReturn queryInterface(platform::UsbInterface** interface) noexcept override {
    *interface = this;
    return platform::kIOReturnSuccess;
  }
  platform::IOReturn queryInterface(platform::UsbDevice** /*device*/) noexcept override {
    return platform::kIOReturnUnsupported;
  }
  void release() noexcept override {}

  platform::IOReturn open() noexcept override { return platform::kIOReturnSuccess; }
  platform::IOReturn close() noexcept override { return platform::kIOReturnSuccess; }
  platform::IOReturn getNumEndpoints(std::uint8_t* count) noexcept override {
    return answer(count, std::uint8_t{3});
  }
  platform::IOReturn setAlternateInterface(std::uint8_t /*setting*/) noexcept override {
    return platform::kIOReturnSuccess;
  }
  platform::IOReturn getPipeProperties(std::uint8_t pipe,
                                       platform::PipeProperties* properties) noexcept override {
    static constexpr std::uint8_t endpoints[] = {requestEndpoint, replyEndpoint, dataEndpoint};
    const std::uint8_t endpoint = endpoints[pipe - 1];
    *properties = {endpoint == requestEndpoint ? platform::PipeDirection::out : platform::PipeDirection::in,
                   endpoint, platform::TransferType::bulk, 512, 0};
    return platform::kIOReturnSuccess;
  }
  platform::IOReturn abortPipe(std::uint8_t /*pipe*/) noexcept override { return platform::kIOReturnSuccess; }
  platform::IOReturn resetPipe(std::uint8_t /*pipe*/) noexcept override { return platform::kIOReturnSuccess; }
  platform::IOReturn clearPipeStallBothEnds(std::uint8_t /*pipe*/) noexcept override {
    return platform::kIOReturnSuccess;
  }
  platform::IOReturn controlRequest(std::uint8_t /*pipe*/,
                                    const platform::ControlRequest& /*request*/) noexcept override {
    return platform::kIOReturnSuccess;
  }
  platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                std::uint32_t /*noDataMs*/,
                                std::uint32_t /*completionMs*/) noexcept override {
    if (pipe == 2) return copyOut(reply_, 0, buffer, size);
    const platform::IOReturn status = copyOut(stream_, position_, buffer, size);
    position_ += *size;
    return status;
  }
  platform::IOReturn writePipeTO(std::uint8_t /*pipe*/, const void* /*buffer*/, std::uint32_t /*size*/,
                                 std::uint32_t /*noDataMs*/,
                                 std::uint32_t /*completionMs*/) noexcept override {
    return platform::kIOReturnSuccess;
  }

  // One packet of the given type, framed.
  static void appendPacket(std::string& stream, std::uint8_t type, std::string_view payload) {
    stream += static_cast<char>(type);
    stream.append(3, '\0');
    for (int shift = 24; shift >= 0; shift -= 8)
      stream += static_cast<char>((payload.size() >> shift) & 0xFF);
    stream += payload;
  }

 private:
  static constexpr std::uint8_t requestEndpoint = 2;
  static constexpr std::uint8_t replyEndpoint = 11;
  static constexpr std::uint8_t dataEndpoint = 8;

  template <class T>
  static platform::IOReturn answer(T* out, T value) {
    *out = value;
    return platform::kIOReturnSuccess;
  }

  static std::string cannedReply() {
    std::string reply;
    appendPacket(reply, 0xCC,
                 "<?xml version=\"1.0\"?>\r\n<response requestID=\"0\">\r\n  <StringElem>job</StringElem>\r\n"
                 "</response>\r\n");
    return reply;
  }

  static platform::IOReturn copyOut(const std::string& from, std::size_t position, void* buffer,
                                    std::uint32_t* size) {
    const std::size_t count = std::min<std::size_t>(*size, from.size() - position);
    std::memcpy(buffer, from.data() + position, count);
    *size = static_cast<std::uint32_t>(count);
    return count > 0 ? platform::kIOReturnSuccess : platform::kIOUSBTransactionTimeout;
  }

  std::string stream_;
  std::size_t position_ = 0;
  int servicesLeft_ = 0;
  std::string reply_ = cannedReply();
};
