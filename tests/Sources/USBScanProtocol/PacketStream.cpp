#include "PacketStream.h"

#include <utility>

Bytes header(std::uint8_t type, std::uint32_t length) {
  return {type,
          0,
          0,
          0,
          static_cast<std::uint8_t>(length >> 24),
          static_cast<std::uint8_t>(length >> 16),
          static_cast<std::uint8_t>(length >> 8),
          static_cast<std::uint8_t>(length)};
}

Bytes packet(std::uint8_t type, const std::string& payload) {
  return header(type, static_cast<std::uint32_t>(payload.size())) + Bytes(payload.begin(), payload.end());
}

Bytes operator+(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

void PacketStream::start(const USBScanProtocolCallbacks& callbacks) {
  if (parser != nullptr) releaseUSBScanProtocol(parser);
  parser = initUSBScanProtocol(&callbacks);
}

USBScanProtocolCallbacks PacketStream::callbacks() {
  USBScanProtocolCallbacks record{};
  record.info = this;
  record.beginImageJob = [](void* info) { self(info).write("beginImageJob"); };
  record.beginImagePage = [](void* info) { self(info).write("beginImagePage"); };
  record.controlData = [](void* bytes, int length, void* info) {
    self(info).write(described("control", bytes, length));
  };
  record.imageData = [](void* bytes, int length, void* info) {
    self(info).write(described("image", bytes, length));
  };
  record.endImagePage = [](void* info) { self(info).write("endImagePage"); };
  record.endImageJob = [](void* info) { self(info).write("endImageJob"); };
  return record;
}

// The chunk is in a block of exactly its size, so that the sanitizer detects any read beyond it.
void PacketStream::feed(const Bytes& bytes, std::int8_t convert) {
  const Bytes chunk(bytes);
  receiveData(parser, chunk.data(), static_cast<std::int32_t>(chunk.size()), convert);
}

std::vector<std::string> PacketStream::takeEvents() {
  return std::exchange(events_, {});
}

void PacketStream::write(std::string event) {
  events_.push_back(std::move(event));
  if (callsUntilThrow > 0 && --callsUntilThrow == 0) throw Enough();
}

std::string PacketStream::described(const char* name, const void* bytes, int length) {
  if (length < 0) return std::string(name) + "[" + std::to_string(length) + "]";
  return std::string(name) + "(" +
         std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(length)) + ")";
}
