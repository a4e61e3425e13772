#include "RequestInbox.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "PacketFormat.h"
#include "USBScanProtocol.h"

namespace virtualscanner {
namespace {

static_assert(wire::packetHeaderSize == 8);

// Largest piece handed to the parser at once, whose counts are signed 32-bit numbers.
constexpr std::size_t largestPiece = largestMessage;

bool beginsControlPacket(const std::uint8_t* bytes, std::size_t count) {
  return count >= wire::packetHeaderSize && wire::typeOf(bytes) == wire::controlData && bytes[1] == 0 &&
         bytes[2] == 0 && bytes[3] == 0;
}

}  // namespace

RequestInbox::RequestInbox(Handler handler) : handler_(std::move(handler)) {}

RequestInbox::~RequestInbox() {
  clear();
}

void RequestInbox::receive(const std::uint8_t* bytes, std::size_t count) {
  if (endsInsidePacket() && beginsControlPacket(bytes, count)) clear();
  if (!isSane(bytes, count)) {
    clear();
    return;
  }
  if (parser_ == nullptr) {
    USBScanProtocolCallbacks callbacks{};
    callbacks.info = &handler_;
    callbacks.controlData = [](void* text, int length, void* handler) {
      (*static_cast<Handler*>(handler))(static_cast<const char*>(text), length);
    };
    parser_ = initUSBScanProtocol(&callbacks);
  }
  while (count > 0) {
    const std::size_t piece = std::min(count, largestPiece);
    receiveData(parser_, bytes, static_cast<std::int32_t>(piece), 0);
    bytes += piece;
    count -= piece;
  }
}

void RequestInbox::clear() {
  if (parser_ != nullptr) releaseUSBScanProtocol(parser_);
  parser_ = nullptr;
  headerBytes_ = 0;
  payloadLeft_ = 0;
}

// Follows the packets from header to header; false where one announces more than a message can have.
bool RequestInbox::isSane(const std::uint8_t* bytes, std::size_t count) {
  while (count > 0) {
    const bool inPayload = payloadLeft_ > 0;
    const std::size_t wanted = inPayload ? payloadLeft_ : wire::packetHeaderSize - headerBytes_;
    const std::size_t piece = std::min(count, wanted);
    if (inPayload) {
      payloadLeft_ -= static_cast<std::uint32_t>(piece);
    } else {
      std::memcpy(header_ + headerBytes_, bytes, piece);
      headerBytes_ += piece;
    }
    bytes += piece;
    count -= piece;
    if (headerBytes_ < wire::packetHeaderSize) continue;
    headerBytes_ = 0;
    payloadLeft_ = wire::payloadLengthOf(header_);
    if (payloadLeft_ > largestMessage) return false;
  }
  return true;
}

}  // namespace virtualscanner
