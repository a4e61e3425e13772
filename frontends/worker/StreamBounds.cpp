#include "StreamBounds.h"

#include "PacketFormat.h"

namespace frontend {
namespace {

constexpr std::uint32_t emptyReadsLimit = 1000;
// A USB 1.1 transaction holds 56 bytes beside a packet's header; a scanner that sends one packet in each
// stays far within the bound. The constant lets tiny pictures arrive byte by byte.
constexpr std::uint64_t leastBytesPerPacket = 16;
constexpr std::uint64_t packetsOfAnyJob = 100'000;
// Rows past the last one are dropped as designed, a whole picture of them at most.
constexpr std::uint64_t picturesLimit = 2;
constexpr std::uint64_t bytesOfAnyJob = 1024 * 1024;
// A job takes ten calls; each reply has a few hundred bytes.
constexpr std::uint64_t messagesLimit = 1000;
constexpr std::uint64_t messageBytesLimit = 2 * 1024 * 1024;

}  // namespace

StreamBounds::StreamBounds(std::uint64_t rasterBytes)
    : packetsLimit_(packetsOfAnyJob + rasterBytes / leastBytesPerPacket),
      bytesLimit_(picturesLimit * rasterBytes + bytesOfAnyJob + packetsLimit_ * wire::packetHeaderSize) {}

bool StreamBounds::noteRead(std::uint32_t size) {
  bytes_ += size;
  emptyInARow_ = size == 0 ? emptyInARow_ + 1 : 0;
  if (size > 0) failuresInARow_ = 0;
  return emptyInARow_ <= emptyReadsLimit && bytes_ <= bytesLimit_;
}

bool StreamBounds::noteMessage(std::size_t size) {
  messageBytes_ += size;
  return ++messages_ <= messagesLimit && messageBytes_ <= messageBytesLimit;
}

}  // namespace frontend
