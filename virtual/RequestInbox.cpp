#include "RequestInbox.h"

#include <algorithm>
#include <array>
#include <utility>

#include "PacketFormat.h"

namespace virtualscanner {
namespace {

bool beginsControlPacket(const std::uint8_t* bytes, std::size_t count) {
  constexpr std::array<std::uint8_t, wire::lengthOffset> start{wire::controlData};  // and the reserved zeros
  return count >= wire::packetHeaderSize && std::equal(start.begin(), start.end(), bytes);
}

}  // namespace

void RequestInbox::receive(const std::uint8_t* bytes, std::size_t count) {
  if (reader_.insidePacket() && beginsControlPacket(bytes, count)) clear();
  received_.clear();  // what a write that ran out of memory may have left
  const bool readable = reader_.feed(bytes, count);
  // Handled only now, since a header further on may have made the whole write void.
  const std::vector<std::string> messages = std::exchange(received_, {});
  if (!readable) return clear();
  for (const std::string& message : messages) handler_(message);
}

}  // namespace virtualscanner
