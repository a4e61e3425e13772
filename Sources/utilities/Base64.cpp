#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "StringUtils.h"

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char notInAlphabet = 255;

using Pair = std::array<char, 2>;

// The two characters for each value of 12 bits, so that a group of three bytes takes two look-ups.
constexpr std::array<Pair, 4096> makeEncodeTable() {
  std::array<Pair, 4096> table{};
  for (std::size_t bits = 0; bits < table.size(); ++bits)
    table[bits] = {alphabet[bits >> 6], alphabet[bits & 63]};
  return table;
}

constexpr std::array<unsigned char, 256> makeDecodeTable() {
  std::array<unsigned char, 256> table{};
  table.fill(notInAlphabet);
  for (std::size_t value = 0; value < alphabet.size(); ++value) {
    table[static_cast<unsigned char>(alphabet[value])] = static_cast<unsigned char>(value);
  }
  // "y" is read as "7": text that the encoder writes with a "y" in it decodes to other bytes.
  table['y'] = table['7'];
  return table;
}

constexpr auto encodeTable = makeEncodeTable();
constexpr auto decodeTable = makeDecodeTable();

class Decoder {
 public:
  Decoder(unsigned char* output, std::size_t capacity) : output_(output), capacity_(capacity) {}

  std::size_t decode(const unsigned char* text) {
    while (written_ < capacity_ && !ended_) {
      if (inGroup_ == 0) text = takeWholeGroups(text);
      if (*text == '\0' || written_ == capacity_) break;
      takeCharacter(*text++);
    }
    return written_;
  }

 private:
  // The common case: groups of four characters of the alphabet, as long as three bytes fit. Reads no further
  // than the first character outside it, which may be the end of the text.
  const unsigned char* takeWholeGroups(const unsigned char* text) {
    unsigned char* out = output_ + written_;
    unsigned char* const end = output_ + capacity_;
    while (end - out >= 3) {
      const std::uint32_t a = decodeTable[text[0]];
      if (a == notInAlphabet) break;
      const std::uint32_t b = decodeTable[text[1]];
      if (b == notInAlphabet) break;
      const std::uint32_t c = decodeTable[text[2]];
      if (c == notInAlphabet) break;
      const std::uint32_t d = decodeTable[text[3]];
      if (d == notInAlphabet) break;
      out[0] = static_cast<unsigned char>(a << 2 | b >> 4);
      out[1] = static_cast<unsigned char>(b << 4 | c >> 2);
      out[2] = static_cast<unsigned char>(c << 6 | d);
      out += 3;
      text += 4;
    }
    written_ = static_cast<std::size_t>(out - output_);
    return text;
  }

  void takeCharacter(unsigned char character) {
    std::uint32_t value = 0;
    if (character == '=') {
      ++padding_;
    } else {
      value = decodeTable[character];
      if (value == notInAlphabet) return;
    }
    accumulator_ = accumulator_ << 6 | value;
    if (++inGroup_ == 4) finishGroup();
  }

  // An "=" counts wherever it is in the group: "QQ=A" gives two bytes.
  void finishGroup() {
    for (int left = 3 - padding_; left > 0 && written_ < capacity_; --left) {
      output_[written_++] = static_cast<unsigned char>(accumulator_ >> 16 & 0xFF);
      accumulator_ <<= 8;
    }
    inGroup_ = 0;
    accumulator_ = 0;
    ended_ = padding_ != 0;  // What follows a padded group is not part of the text.
  }

  unsigned char* output_;
  std::size_t capacity_;
  std::size_t written_ = 0;
  std::uint32_t accumulator_ = 0;
  int inGroup_ = 0;
  int padding_ = 0;
  bool ended_ = false;
};

}  // namespace

std::int32_t Base64ToStr(const char* base64Text, unsigned char* output, std::int32_t capacity) {
  if (capacity <= 0) return 0;
  Decoder decoder(output, static_cast<std::size_t>(capacity));
  return static_cast<std::int32_t>(decoder.decode(reinterpret_cast<const unsigned char*>(base64Text)));
}

std::string StrToBase64(const unsigned char* bytes, std::int32_t count) {
  if (count <= 0) return {};
  const auto size = static_cast<std::size_t>(count);
  std::string text((size + 2) / 3 * 4, '=');
  char* out = text.data();
  const unsigned char* const wholeGroupsEnd = bytes + size / 3 * 3;
  for (; bytes != wholeGroupsEnd; bytes += 3, out += 4) {
    const std::uint32_t group = static_cast<std::uint32_t>(bytes[0]) << 16 |
                                static_cast<std::uint32_t>(bytes[1]) << 8 |
                                static_cast<std::uint32_t>(bytes[2]);
    std::memcpy(out, encodeTable[group >> 12].data(), 2);
    std::memcpy(out + 2, encodeTable[group & 0xFFF].data(), 2);
  }
  if (size % 3 == 1) {
    std::memcpy(out, encodeTable[static_cast<std::size_t>(bytes[0]) << 4].data(), 2);
  } else if (size % 3 == 2) {
    const std::size_t group = static_cast<std::size_t>(bytes[0]) << 8 | bytes[1];
    std::memcpy(out, encodeTable[group >> 4].data(), 2);
    out[2] = alphabet[(group & 0xF) << 2];
  }
  return text;
}
