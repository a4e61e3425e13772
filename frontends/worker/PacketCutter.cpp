#include "PacketCutter.h"

#include <algorithm>

namespace frontend {

bool PacketCutter::feed(const std::uint8_t* bytes, std::size_t count) {
  while (count > 0 && !garbled_) {
    const std::size_t taken =
        headerBytes_ < header_.size() ? takeHeader(bytes, count) : takePayload(bytes, count);
    bytes += taken;
    count -= taken;
    if (headerBytes_ == header_.size() && payloadLeft_ == 0 && !garbled_) endPacket();
  }
  return !garbled_;
}

std::size_t PacketCutter::takeHeader(const std::uint8_t* bytes, std::size_t count) {
  const std::size_t taken = std::min(count, header_.size() - headerBytes_);
  std::copy_n(bytes, taken, header_.begin() + static_cast<std::ptrdiff_t>(headerBytes_));
  headerBytes_ += taken;
  if (headerBytes_ == header_.size()) {
    payloadLeft_ = packetformat::payloadLengthOf(header_.data());
    garbled_ = !headerIsPlausible();
  }
  return taken;
}

bool PacketCutter::headerIsPlausible() const {
  const bool control = packetformat::typeOf(header_.data()) == packetformat::controlData;
  return payloadLeft_ <= (control ? largestMessage : largestPayload);
}

std::size_t PacketCutter::takePayload(const std::uint8_t* bytes, std::size_t count) {
  const std::size_t taken = std::min<std::size_t>(count, payloadLeft_);
  const std::uint8_t type = packetformat::typeOf(header_.data());
  if (type == packetformat::controlData) {
    message_.append(reinterpret_cast<const char*>(bytes), taken);
  } else if (type == packetformat::imageData) {
    listener_.imageBytes(bytes, taken);
  }
  payloadLeft_ -= static_cast<std::uint32_t>(taken);
  return taken;
}

void PacketCutter::endPacket() {
  headerBytes_ = 0;
  const std::uint8_t type = packetformat::typeOf(header_.data());
  if (type == packetformat::controlData) {
    listener_.control(message_);
    message_.clear();
  } else if (type == packetformat::imageData) {
    listener_.imagePacketEnds();
  } else if (type == packetformat::endImageJob) {
    listener_.jobEnds();
  }
}

}  // namespace frontend
