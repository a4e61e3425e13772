#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "PacketReader.h"
#include "USBScanProtocol.h"

// What two readers of the packet format reported, in a form in which they can be compared: every control
// packet, image packet and end of job that is complete, in order. Image bytes count when their packet is
// complete, however many pieces they were delivered in.
class PacketTranscript : public wire::PacketReader::Listener {
 public:
  void onControlMessage(std::string_view message) override { packet('C', message); }
  void onImageBytes(const std::uint8_t* bytes, std::size_t count) override {
    image_.append(reinterpret_cast<const char*>(bytes), count);
  }
  void onImagePacketEnd() override {
    packet('I', image_);
    image_.clear();
  }
  void onImageJobEnd() override { packet('E', {}); }

  // As packets(), for the library's parser, whose other packets are recorded in markers().
  USBScanProtocolCallbacks callbacks() {
    return {this,
            [](void* info) { of(info).markers_ += 'a'; },
            [](void* info) { of(info).markers_ += 'b'; },
            [](void* bytes, int length, void* info) { of(info).packet('C', view(bytes, length)); },
            [](void* bytes, int length, void* info) { of(info).packet('I', view(bytes, length)); },
            [](void* info) { of(info).markers_ += 'e'; },
            [](void* info) { of(info).packet('E', {}); }};
  }

  const std::string& packets() const { return packets_; }
  const std::string& markers() const { return markers_; }

 private:
  static PacketTranscript& of(void* info) { return *static_cast<PacketTranscript*>(info); }
  // A length that wrapped arrives as a negative number: there is nothing to read.
  static std::string_view view(const void* bytes, int length) {
    return {static_cast<const char*>(bytes), length > 0 ? static_cast<std::size_t>(length) : 0};
  }
  void packet(char kind, std::string_view payload) {
    packets_.append(1, kind).append(std::to_string(payload.size())).append(1, ':').append(payload);
  }

  std::string packets_;
  std::string image_;  // of the packet that is not complete yet
  std::string markers_;
};
