#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "PacketFormat.h"

namespace wire {

// Reads the packets of a byte stream that arrives in chunks of any size, as the library's own parser does,
// but passes image bytes on as they arrive instead of collecting whole packets. Independent of XML and
// images; does no I/O.
//
// Owns nothing but the header of the current packet and the text of an unfinished message, whose memory grows
// with the bytes that arrive, not with the length that its header announces. Fails in one way: a header that
// announces more than any packet holds makes the stream unreadable, which feed() reports. Throws only
// std::bad_alloc. One thread at a time.
class PacketReader {
 public:
  // Called inside feed(), on its thread and in stream order. May neither feed nor reset the reader. Views are
  // valid only during the call.
  class Listener {
   public:
    // The header of a packet of any type is complete; its payload follows.
    virtual void onHeader() {}
    // A control packet is complete; `message` is its payload, which may be empty.
    virtual void onControlMessage(std::string_view message) = 0;
    // The next bytes of an image packet, at least one, before the packet is complete.
    virtual void onImageBytes(const std::uint8_t* /*bytes*/, std::size_t /*count*/) {}
    // The image packet whose bytes were passed is complete. Only now does the library's parser deliver it.
    virtual void onImagePacketEnd() {}
    // The packet that ends an image job is complete.
    virtual void onImageJobEnd() {}

   protected:
    ~Listener() = default;
  };

  // Four times the largest page in colour: no packet of the device is longer. The library's parser would wait
  // for such a payload or, where its 32-bit length wraps, dispatch the same packet for ever.
  static constexpr std::uint32_t largestPayload = 432u * 1024 * 1024;
  // The payload of a control packet. Real messages have a few hundred bytes.
  static constexpr std::uint32_t largestMessage = 1024 * 1024;

  // `largest` bounds the payload of packets of every type, those that are skipped included; control packets
  // are bounded by largestMessage besides. The listener belongs to the caller and outlives the reader.
  explicit PacketReader(Listener& listener, std::uint32_t largest = largestPayload)
      : listener_(listener), largest_(largest) {}

  // Reads the next chunk. Returns false from the first header that announces too much: the rest of the stream
  // is ignored and should reach no other parser either. Packets before that header are delivered.
  bool feed(const std::uint8_t* bytes, std::size_t count);
  // Whether a packet has begun and is not complete.
  bool insidePacket() const { return headerBytes_ > 0; }
  // Drops an unfinished packet; the next byte begins a new one, also after an unreadable header.
  void reset();

 private:
  std::size_t takeHeader(const std::uint8_t* bytes, std::size_t count);
  std::size_t takePayload(const std::uint8_t* bytes, std::size_t count);
  bool headerIsPlausible() const;
  void endPacket();

  Listener& listener_;
  std::uint32_t largest_;
  std::array<std::uint8_t, packetHeaderSize> header_{};
  std::size_t headerBytes_ = 0;  // received of header_; all of them until the packet is complete
  std::uint32_t payloadLeft_ = 0;
  std::string message_;  // the payload so far of a control packet
  bool unreadable_ = false;
};

}  // namespace wire
