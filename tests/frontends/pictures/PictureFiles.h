#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What picture files say, read by others than who wrote them.

struct PngFile {
  explicit PngFile(const std::string& path);

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  int colorType = 0;
  int depth = 0;
  std::uint32_t pixelsPerMetreX = 0;
  std::uint32_t pixelsPerMetreY = 0;
  std::string software;
  std::vector<std::uint8_t> pixels;  // rows as they stand in the file
};

struct JpegFile {
  explicit JpegFile(const std::string& path);

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  int channels = 0;
  int densityUnit = 0;
  int densityX = 0;
  int densityY = 0;
  std::string comment;
  std::vector<std::uint8_t> pixels;
};

// What a shell command prints, both outputs together; a failure of the test if it fails.
std::string printedBy(const std::string& command);

// The pages of a PDF as PNG files of the same name and a number, "document.pdf-000.png", as large as they
// stand in it.
void extractPages(const std::string& pdf);
