#include "PacketReader.h"

#include <algorithm>

namespace wire {

bool PacketReader::feed(const std::uint8_t* bytes, std::size_t count) {
  while (count > 0 && !unreadable_) {
    const std::size_t taken =
        headerBytes_ < header_.size() ? takeHeader(bytes, count) : takePayload(bytes, count);
    bytes += taken;
    count -= taken;
    // Not at the top of the loop: an empty packet is complete with the last byte of its header.
    if (headerBytes_ == header_.size() && payloadLeft_ == 0 && !unreadable_) endPacket();
  }
  return !unreadable_;
}

void PacketReader::reset() {
  headerBytes_ = 0;
  payloadLeft_ = 0;
  message_.clear();
  unreadable_ = false;
}

std::size_t PacketReader::takeHeader(const std::uint8_t* bytes, std::size_t count) {
  const std::size_t taken = std::min(count, header_.size() - headerBytes_);
  std::copy_n(bytes, taken, header_.begin() + static_cast<std::ptrdiff_t>(headerBytes_));
  headerBytes_ += taken;
  if (headerBytes_ == header_.size()) {
    payloadLeft_ = payloadLengthOf(header_.data());
    unreadable_ = !headerIsPlausible();
    if (!unreadable_) listener_.onHeader();
  }
  return taken;
}

// Unknown types count too: the library's parser waits for the payloads that it skips.
bool PacketReader::headerIsPlausible() const {
  const bool control = typeOf(header_.data()) == controlData;
  return payloadLeft_ <= (control ? std::min(largestMessage, largest_) : largest_);
}

std::size_t PacketReader::takePayload(const std::uint8_t* bytes, std::size_t count) {
  const std::size_t taken = std::min<std::size_t>(count, payloadLeft_);
  const std::uint8_t type = typeOf(header_.data());
  if (type == controlData) {
    message_.append(reinterpret_cast<const char*>(bytes), taken);
  } else if (type == imageData) {
    listener_.onImageBytes(bytes, taken);
  }
  payloadLeft_ -= static_cast<std::uint32_t>(taken);
  return taken;
}

void PacketReader::endPacket() {
  headerBytes_ = 0;
  const std::uint8_t type = typeOf(header_.data());
  if (type == controlData) {
    listener_.onControlMessage(message_);
    message_.clear();
  } else if (type == imageData) {
    listener_.onImagePacketEnd();
  } else if (type == endImageJob) {
    listener_.onImageJobEnd();
  }
}

}  // namespace wire
