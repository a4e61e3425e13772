#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The contents of picture files, read by decoders independent of the encoders under test.

struct PngFile {
  explicit PngFile(const std::string& path);

  std::uint32_t width = 0;
  std::uint32_t height = 0;
  int colorType = 0;
  int depth = 0;
  std::uint32_t pixelsPerMetreX = 0;
  std::uint32_t pixelsPerMetreY = 0;
  std::string software;
  bool srgb = false;
  double gamma = 0;                  // 0 if the file has none
  std::vector<std::uint8_t> pixels;  // rows as stored in the file
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
  std::string profile;     // ICC
  bool fullColor = false;  // whether all channels have the same resolution
  std::vector<std::uint8_t> pixels;
};

// Runs a shell command and returns what it prints to standard output and error. The test fails if
// the command does.
std::string printedBy(const std::string& command);

// The pixels of the only image of a page, as they are stored in the PDF with a lossless compression other
// than that of faxes.
std::vector<std::uint8_t> storedPixels(const std::string& pdf, int page);

// Writes the pages of a PDF to PNG files of its name and a number, "document.pdf-000.png", at
// their stored size, their colors as a screen would show them.
void extractPages(const std::string& pdf);
