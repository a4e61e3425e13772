#include "BufferLine.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::size_t groupSize = 4;
constexpr std::size_t groupsPerPiece = 256;  // a piece fits on the stack
constexpr std::size_t bytesPerPiece = groupSize * groupsPerPiece;
using Text = std::array<char, bytesPerPiece * 2 + groupsPerPiece>;

// A blank precedes every group but the first of the buffer.
std::string_view describe(const std::uint8_t* bytes, std::size_t begin, std::size_t end, Text* text) {
  constexpr char digits[] = "0123456789abcdef";
  std::size_t used = 0;
  for (std::size_t index = begin; index < end; ++index) {
    if (index % groupSize == 0 && index != 0) (*text)[used++] = ' ';
    (*text)[used++] = digits[bytes[index] >> 4];
    (*text)[used++] = digits[bytes[index] & 15];
  }
  return {text->data(), used};
}

}  // namespace

void BufferLine::read(const PieceReader& reader) const {
  if (data_ == nullptr) {
    reader("Buffer: (null)");
    return;
  }
  if (!reader("Buffer: <")) return;
  const std::size_t length = data_->length();
  Text text;
  for (std::size_t begin = 0; begin < length; begin += bytesPerPiece) {
    const std::size_t end = begin + std::min(bytesPerPiece, length - begin);
    if (!reader(describe(data_->bytes(), begin, end, &text))) return;
  }
  reader(">");
}
