#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Color.h"
#include "OwnedDescriptor.h"

namespace virtualscanner {

// A picture in memory, eight bits a channel, first row first.
struct Image {
  std::uint32_t width = 0;  // pixels
  std::uint32_t height = 0;
  std::vector<std::uint8_t> rgb;  // width x height x 3 bytes

  Color at(std::uint32_t column, std::uint32_t row) const {
    const std::uint8_t* pixel = &rgb[(std::size_t{row} * width + column) * 3];
    return {pixel[0], pixel[1], pixel[2]};
  }
};

// An A4 page at 600 dots per inch has 35 million pixels. Pictures beyond these limits are rejected before
// their pixels are read.
inline constexpr std::uint32_t largestImageSide = 65535;
inline constexpr std::uint64_t largestImagePixels = 100'000'000;

// Opens the file of a picture, which may be read by another process. Throws PaperError for a file that is
// missing or no regular one; never blocks.
platform::OwnedDescriptor openImageFile(const std::string& path);
// Reads a PNG, JPEG or PNM file, recognised by its first bytes, from its start. `path` is for messages.
// Throws PaperError; see Paper::fromFile().
Image readImageFile(platform::OwnedDescriptor file, const std::string& path);
Image readImageFile(const std::string& path);

// Each reads one format. The file, open at its start, remains the caller's; `path` is for messages.
Image readPng(std::FILE* file, const std::string& path);
Image readJpeg(std::FILE* file, const std::string& path);
Image readPnm(std::FILE* file, const std::string& path);

// Throws PaperError unless a picture of this size is within the limits and not empty.
void checkImageSize(std::uint64_t width, std::uint64_t height, const std::string& path);

}  // namespace virtualscanner
