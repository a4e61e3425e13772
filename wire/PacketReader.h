#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "PacketFormat.h"

namespace wire {

// Cuts the device's byte stream into packets as it passes by, as the library's parser will, but without
// keeping image bytes: those are shown as they arrive. Knows neither XML nor images and does no I/O. One
// thread.
class PacketReader {
 public:
  // Called inside feed(); must not feed. What is passed is valid only during the call.
  class Listener {
   public:
    // One whole control packet.
    virtual void control(std::string_view message) = 0;
    // The next bytes of an image packet.
    virtual void imageBytes(const std::uint8_t* bytes, std::size_t count) = 0;
    // The image packet whose bytes came is whole: only now does the library's parser hand it on.
    virtual void imagePacketEnds() = 0;
    // The packet that ends an image job came.
    virtual void jobEnds() = 0;

   protected:
    ~Listener() = default;
  };

  // No packet of the device is longer: four times the largest page in colour. The library's parser would wait
  // for such a payload, or, where its 32-bit length wraps, dispatch the same packet for ever.
  static constexpr std::uint32_t largestPayload = 432u * 1024 * 1024;
  // A message that is longer is none either.
  static constexpr std::uint32_t largestMessage = 1024 * 1024;

  explicit PacketReader(Listener& listener) : listener_(listener) {}

  // False from the first header on that announces more than can be: the stream is garbled and must not be fed
  // to anyone. Packets before it have been shown.
  bool feed(const std::uint8_t* bytes, std::size_t count);
  // Whether a packet has begun and is not whole yet.
  bool insidePacket() const { return headerBytes_ > 0; }

 private:
  std::size_t takeHeader(const std::uint8_t* bytes, std::size_t count);
  std::size_t takePayload(const std::uint8_t* bytes, std::size_t count);
  bool headerIsPlausible() const;
  void endPacket();

  Listener& listener_;
  std::array<std::uint8_t, packetHeaderSize> header_{};
  std::size_t headerBytes_ = 0;
  std::uint32_t payloadLeft_ = 0;
  std::string message_;  // the payload so far of a control packet
  bool garbled_ = false;
};

}  // namespace wire
