#include "JobStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "PacketFormat.h"
#include "PacketReader.h"
#include "ScannerOptions.h"

namespace virtualscanner {
namespace {

constexpr std::size_t garbageBytes = 64;
static_assert(ScannerOptions::largestPacketPayload <= wire::PacketReader::largestPayload);

}  // namespace

JobStream::JobStream(PageImage image, std::uint32_t payload, const StreamFaults& faults)
    : image_(std::move(image)),
      payload_(std::clamp(payload, std::uint32_t{1}, ScannerOptions::largestPacketPayload)),
      faults_(faults) {}

std::size_t JobStream::read(std::uint8_t* buffer, std::size_t capacity) {
  std::size_t filled = 0;
  while (filled < capacity && !atEnd()) {
    std::size_t moved = takeFraming(buffer + filled, capacity - filled);
    if (moved == 0) moved = takePayload(buffer + filled, capacity - filled);
    filled += moved;
  }
  return filled;
}

bool JobStream::atEnd() {
  if (framingSent_ == framing_.size() && payloadLeft_ == 0) advance();
  return stage_ == Stage::over && framingSent_ == framing_.size() && payloadLeft_ == 0;
}

void JobStream::advance() {
  framing_.clear();
  framingSent_ = 0;
  if (stage_ == Stage::over) return;
  if (stage_ == Stage::beginning) {
    addMarker(wire::beginImageJob);
    addMarker(wire::beginImagePage);
    stage_ = Stage::image;
  }
  addGarbageIfDue();
  if (faults_.stopAfter && imageSent_ >= *faults_.stopAfter) {
    stage_ = Stage::over;
  } else if (image_.left() > 0) {
    payloadLeft_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(payload_, image_.left()));
    addHeader(wire::imageData, payloadLeft_);
  } else {
    addMarker(wire::endImagePage);
    addMarker(wire::endImageJob);
    stage_ = Stage::over;
  }
}

void JobStream::addMarker(std::uint8_t type) {
  addHeader(type, 0);
}

void JobStream::addHeader(std::uint8_t type, std::uint32_t length) {
  const std::size_t offset = framing_.size();
  framing_.resize(offset + wire::packetHeaderSize);
  wire::writeHeader(&framing_[offset], type, length);
}

// Every byte has its top bit set, so that hosts read a packet of unknown type with more than two gigabytes.
void JobStream::addGarbageIfDue() {
  if (!faults_.garbageAfter || imageSent_ < *faults_.garbageAfter) return;
  faults_.garbageAfter.reset();
  for (std::size_t i = 0; i < garbageBytes; ++i)
    framing_.push_back(static_cast<std::uint8_t>(0x80 | (i * 37 % 42)));
}

std::size_t JobStream::takeFraming(std::uint8_t* buffer, std::size_t capacity) {
  const std::size_t moved = std::min(capacity, framing_.size() - framingSent_);
  if (moved > 0) std::memcpy(buffer, &framing_[framingSent_], moved);
  framingSent_ += moved;
  return moved;
}

std::size_t JobStream::takePayload(std::uint8_t* buffer, std::size_t capacity) {
  std::size_t moved = std::min<std::size_t>(capacity, payloadLeft_);
  if (faults_.stopAfter) {
    moved = static_cast<std::size_t>(std::min<std::uint64_t>(moved, *faults_.stopAfter - imageSent_));
  }
  image_.read(buffer, moved);
  imageSent_ += moved;
  payloadLeft_ -= static_cast<std::uint32_t>(moved);
  if (faults_.stopAfter && imageSent_ >= *faults_.stopAfter) {
    payloadLeft_ = 0;
    stage_ = Stage::over;
  }
  return moved;
}

}  // namespace virtualscanner
