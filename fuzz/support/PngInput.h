#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Pieces.h"

namespace pnginput {

inline constexpr std::size_t signatureSize = 8;
inline constexpr std::size_t sizeOffset = 16;  // of width and height, in the first chunk

inline std::uint32_t read32(const std::string& text, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = offset; i < offset + 4; ++i) value = value << 8 | static_cast<std::uint8_t>(text[i]);
  return value;
}

inline std::uint32_t checksum(const std::string& text, std::size_t offset, std::size_t count) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (std::size_t i = offset; i < offset + count; ++i) {
    crc ^= static_cast<std::uint8_t>(text[i]);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
  }
  return ~crc;
}

}  // namespace pnginput

inline bool isPng(const std::string& file) {
  return file.starts_with("\x89PNG\r\n\x1a\n");
}

inline bool isJpeg(const std::string& file) {
  return file.starts_with("\xFF\xD8\xFF");
}

// The most pixels that any frame header of a JPEG file announces, wherever it is: the decoder searches for
// the next marker in whatever is between two segments.
inline std::uint64_t announcedPixelsOfJpeg(const std::string& file) {
  std::uint64_t most = 0;
  // | 0xFF | 0xC0 to 0xCF | length:2 | bits per channel:1 | height:2 | width:2 |
  for (std::size_t at = 0; at + 9 <= file.size(); ++at) {
    if (file[at] != '\xFF' || (file[at + 1] & 0xF0) != 0xC0) continue;
    const std::uint64_t size = pnginput::read32(file, at + 5);
    most = std::max(most, (size >> 16) * (size & 0xFFFF));
  }
  return most;
}

// Pixels that the header of a PNG or JPEG file announces; 0 for another file.
inline std::uint64_t announcedPixels(const std::string& file) {
  if (isJpeg(file)) return announcedPixelsOfJpeg(file);
  if (!isPng(file) || file.size() < pnginput::sizeOffset + 8) return 0;
  return std::uint64_t{pnginput::read32(file, pnginput::sizeOffset)} *
         pnginput::read32(file, pnginput::sizeOffset + 4);
}

// Corrects the checksum of every chunk: no random change would ever get past them.
inline void repairPng(std::string& file) {
  using namespace pnginput;
  if (!isPng(file)) return;
  // | length:4 | type:4 | data:length | checksum of type and data:4 |
  for (std::size_t chunk = signatureSize; chunk + 12 <= file.size();) {
    const std::size_t length = read32(file, chunk);
    if (length > file.size() - chunk - 12) return;
    const std::uint32_t crc = checksum(file, chunk + 4, length + 4);
    for (std::size_t i = 0; i < 4; ++i)
      file[chunk + 8 + length + i] = static_cast<char>(crc >> (24 - 8 * i) & 0xFF);
    chunk += 12 + length;
  }
}
