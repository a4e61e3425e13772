#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "Dice.h"

namespace hostile {

// Bytes that a device still has to send, of which some may be repeated forever. One thread.
class HostileStream {
 public:
  static constexpr std::uint64_t forEver = UINT64_MAX;

  void add(std::string bytes, std::uint64_t times = 1);
  bool isEmpty() const { return pieces_.empty(); }
  // Reads up to `capacity` bytes, fewer only at the end.
  std::size_t take(std::uint8_t* buffer, std::size_t capacity);

 private:
  struct Piece {
    std::string bytes;
    std::uint64_t times;
  };
  std::deque<Piece> pieces_;
  std::size_t offset_ = 0;  // in the first piece
};

// What a hostile device sends instead of these packets of an honest one: with wrong lengths and types,
// strange messages, missing, repeated, added and endless packets, another header of the picture, or cut off.
HostileStream distorted(const std::string& honest, Dice& dice);

// A whole packet with a strange message, instead of a reply.
HostileStream strangeReply(Dice& dice);

// What it sends unrequested: packets of any kind, or noise.
HostileStream babble(Dice& dice);

}  // namespace hostile
