#include "HostileStream.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "HostileMessage.h"
#include "HostilePackets.h"
#include "PacketFormat.h"

namespace hostile {
namespace {

constexpr std::uint8_t types[] = {wire::beginImageJob,
                                  wire::beginImagePage,
                                  wire::controlData,
                                  wire::imageData,
                                  wire::endImagePage,
                                  wire::endImageJob,
                                  0x00,
                                  0x7F,
                                  0xCB};

std::string noise(Dice& dice, std::size_t most) {
  std::string bytes(dice.below(most) + 1, '\0');
  for (char& byte : bytes) byte = static_cast<char>(dice.byte());
  return bytes;
}

Packet strangePacket(Dice& dice) {
  switch (dice.below(6)) {
    case 0:
      return packet(dice.oneOf(types), noise(dice, 300));
    case 1:
      return packet(wire::imageData, noise(dice, 5000));
    case 2:
      return packet(dice.oneOf(types), {});
    default:
      return packet(wire::controlData, hostileMessage(dice));
  }
}

// The edits get at least one packet, and leave one.
Packet& anyOf(Packets& packets, Dice& dice) {
  return packets[dice.below(packets.size())];
}
void insert(Packets& packets, Packet added, Dice& dice) {
  packets.insert(packets.begin() + static_cast<std::ptrdiff_t>(dice.below(packets.size() + 1)),
                 std::move(added));
}

void announceWrongly(Packets& packets, Dice& dice) {
  Packet& victim = anyOf(packets, dice);
  const auto length = static_cast<std::uint32_t>(victim.payload.size());
  victim.announced = dice.oneOf(std::initializer_list<std::uint32_t>{0, 1, 65535, 1u << 20, (1u << 20) + 1,
                                                                     1u << 28, 1u << 31, UINT32_MAX - 7,
                                                                     UINT32_MAX, length + 1, length - 1});
}
void changeType(Packets& packets, Dice& dice) {
  anyOf(packets, dice).type = dice.oneIn(2) ? dice.byte() : dice.oneOf(types);
}
void cutPayload(Packets& packets, Dice& dice) {
  Packet& victim = anyOf(packets, dice);
  victim.payload.resize(dice.below(victim.payload.size() + 1));
}
void cutPicture(Packets& packets, Dice& dice) {
  for (Packet& packet : packets) {
    if (packet.type != wire::imageData || !dice.oneIn(2)) continue;
    packet.payload.resize(dice.below(packet.payload.size() + 1));
    packet.announced = static_cast<std::uint32_t>(packet.payload.size());
  }
}
void addRows(Packets& packets, Dice& dice) {
  const std::size_t size = dice.oneOf(std::initializer_list<std::size_t>{1, 300, 100'000, 4'000'000});
  insert(packets, packet(wire::imageData, std::string(size, 'r')), dice);
}
void addEmptyPackets(Packets& packets, Dice& dice) {
  const std::uint64_t count =
      dice.oneOf(std::initializer_list<std::uint64_t>{1, 1000, 99'999, 120'000, HostileStream::forEver});
  insert(packets, packet(dice.oneOf(types), {}, count), dice);
}
void addManyPackets(Packets& packets, Dice& dice) {
  Packet many = strangePacket(dice);
  many.times = dice.oneOf(std::initializer_list<std::uint64_t>{2, 1001, HostileStream::forEver});
  insert(packets, std::move(many), dice);
}
void addPacket(Packets& packets, Dice& dice) {
  insert(packets, strangePacket(dice), dice);
}
void replaceMessage(Packets& packets, Dice& dice) {
  anyOf(packets, dice) = packet(wire::controlData, hostileMessage(dice));
}
void removePacket(Packets& packets, Dice& dice) {
  if (packets.size() > 1)
    packets.erase(packets.begin() + static_cast<std::ptrdiff_t>(dice.below(packets.size())));
}
void repeatPacket(Packets& packets, Dice& dice) {
  insert(packets, anyOf(packets, dice), dice);
}
void swapPackets(Packets& packets, Dice& dice) {
  std::swap(anyOf(packets, dice), anyOf(packets, dice));
}
void flipBytes(Packets& packets, Dice& dice) {
  std::string& payload = anyOf(packets, dice).payload;
  for (std::size_t left = dice.below(8); left > 0 && !payload.empty(); --left)
    payload[dice.below(std::min<std::size_t>(payload.size(), 200))] = static_cast<char>(dice.byte());
}
void splitIntoBytes(Packets& packets, Dice& dice) {
  const std::size_t at = dice.below(packets.size());
  const Packet whole = packets[at];
  Packets single;
  for (const char byte : whole.payload.substr(0, 20'000))
    single.push_back(packet(whole.type, std::string(1, byte)));
  if (single.empty()) return;
  packets.erase(packets.begin() + static_cast<std::ptrdiff_t>(at));
  packets.insert(packets.begin() + static_cast<std::ptrdiff_t>(at), single.begin(), single.end());
}

std::string otherHeader(Dice& dice) {
  static constexpr const char* magics[] = {"P6", "P5", "P4", "P7", "P", "\x1b[2J", "6P", ""};
  static constexpr const char* comments[] = {"# a comment", "", "#\x1b]0;t\x07", "# a\n# b", "#"};
  static constexpr const char* sizes[] = {
      "1 1",         "0 0",   "65535 65535", "65536 1", "4294967295 4294967295", "-1 -1",
      "99999999999", "16 16", "a b",         "64\t48",  "4294967297 1"};
  static constexpr const char* maxima[] = {"255", "0", "65535", "99999999999", "", "x"};
  return std::string(dice.oneOf(magics)) + "\n" + dice.oneOf(comments) + "\n" + dice.oneOf(sizes) + "\n" +
         dice.oneOf(maxima) + "\n";
}
void changeHeader(Packets& packets, Dice& dice) {
  const auto image = std::find_if(packets.begin(), packets.end(),
                                  [](const Packet& packet) { return packet.type == wire::imageData; });
  if (image == packets.end()) return;
  if (dice.oneIn(4))
    image->payload.insert(image->payload.find('\n') + 1, 5000, '#');  // an endless comment
  else
    image->payload =
        otherHeader(dice) + image->payload.substr(std::min<std::size_t>(image->payload.size(), 30));
  image->announced = static_cast<std::uint32_t>(image->payload.size());
}
void addHeader(Packets& packets, Dice& dice) {
  insert(packets, packet(wire::imageData, otherHeader(dice)), dice);
}

constexpr void (*edits[])(Packets&, Dice&) = {announceWrongly, changeType,      cutPayload,     cutPicture,
                                              addRows,         addEmptyPackets, addManyPackets, addPacket,
                                              replaceMessage,  removePacket,    repeatPacket,   swapPackets,
                                              flipBytes,       splitIntoBytes,  changeHeader,   addHeader};

void addTail(HostileStream& stream, Dice& dice) {
  if (dice.oneIn(4)) stream.add(noise(dice, 500), dice.oneIn(3) ? HostileStream::forEver : 1);
  if (dice.oneIn(8)) stream.add(bytesOf(strangePacket(dice)), HostileStream::forEver);
}

}  // namespace

void HostileStream::add(std::string bytes, std::uint64_t times) {
  if (!bytes.empty() && times > 0) pieces_.push_back({std::move(bytes), times});
}

std::size_t HostileStream::take(std::uint8_t* buffer, std::size_t capacity) {
  std::size_t taken = 0;
  while (taken < capacity && !pieces_.empty()) {
    Piece& piece = pieces_.front();
    const std::size_t count = std::min(capacity - taken, piece.bytes.size() - offset_);
    std::memcpy(buffer + taken, piece.bytes.data() + offset_, count);
    taken += count;
    offset_ += count;
    if (offset_ < piece.bytes.size()) break;
    offset_ = 0;
    if (piece.times != forEver && --piece.times == 0) pieces_.pop_front();
  }
  return taken;
}

HostileStream distorted(const std::string& honest, Dice& dice) {
  Packets packets = packetsOf(honest);
  if (packets.empty()) return babble(dice);
  for (std::size_t left = dice.below(4); left > 0; --left) dice.oneOf(edits)(packets, dice);
  const bool cut = dice.oneIn(6);
  const std::size_t last = cut ? dice.below(packets.size()) : packets.size() - 1;
  HostileStream stream;
  for (std::size_t i = 0; i <= last; ++i) {
    std::string bytes = bytesOf(packets[i]);
    // Inside the header as often as inside the payload.
    if (cut && i == last) bytes.resize(dice.below(dice.oneIn(2) ? wire::packetHeaderSize : bytes.size()));
    stream.add(std::move(bytes), packets[i].times);
  }
  if (dice.oneIn(3)) addTail(stream, dice);
  return stream;
}

HostileStream strangeReply(Dice& dice) {
  HostileStream stream;
  stream.add(bytesOf(packet(wire::controlData, hostileMessage(dice))));
  return stream;
}

HostileStream babble(Dice& dice) {
  HostileStream stream;
  for (std::size_t left = dice.below(5) + 1; left > 0; --left) stream.add(bytesOf(strangePacket(dice)));
  addTail(stream, dice);
  return stream;
}

}  // namespace hostile
