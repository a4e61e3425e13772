#pragma once

#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

// A TIFF file as read back by the TIFF library: every tag that is set, as text, and the pixels row by row.
// Pages count from 0.
struct TiffFile {
  std::string tags;
  std::vector<std::uint8_t> pixels;

  explicit TiffFile(const std::string& path, std::uint16_t page = 0) {
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    if (!tiff) {
      ADD_FAILURE() << path << " is no TIFF file";
      return;
    }
    EXPECT_EQ(TIFFSetDirectory(tiff.get(), page), 1) << path << " has no page " << page;
    tags = describe(tiff.get());
    std::uint32_t height = 0;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    const auto rowBytes = static_cast<std::size_t>(TIFFScanlineSize(tiff.get()));
    pixels.resize(rowBytes * height);
    for (std::uint32_t row = 0; row < height; ++row) {
      EXPECT_EQ(TIFFReadScanline(tiff.get(), pixels.data() + row * rowBytes, row, 0), 1) << "row " << row;
    }
  }

 private:
  // Without the first line, which is the offset of the tags in the file.
  static std::string describe(TIFF* tiff) {
    char* text = nullptr;
    std::size_t length = 0;
    FILE* stream = open_memstream(&text, &length);
    TIFFPrintDirectory(tiff, stream, 0);
    std::fclose(stream);
    const std::string whole(text, length);
    std::free(text);
    return whole.substr(whole.find('\n') + 1);
  }
};
