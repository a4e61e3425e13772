#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "PictureFiles.h"
#include "PictureWriter.h"
#include "TemporaryFolder.h"

// What the tests of the writers have in common: pictures, settings, and a file to write to.

namespace frontend {

inline constexpr PictureFormat formats[] = {PictureFormat::tiff, PictureFormat::png, PictureFormat::jpeg,
                                            PictureFormat::pnm, PictureFormat::pdf};

inline PictureSettings settings() {
  return {.software = "q750 9.9.9"};
}

inline PictureSettings severalPages() {
  PictureSettings several = settings();
  several.multiPage = true;
  return several;
}

// A picture without two equal rows or columns. The padding bits of a row are 0.
struct TestPicture {
  TestPicture(std::uint32_t width, std::uint32_t height, std::uint32_t channels, std::uint32_t bits = 8)
      : layout{width, height, channels, bits, 300}, pixels(static_cast<std::size_t>(layout.bytes())) {
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
    const auto spare = static_cast<unsigned>(layout.rowBytes() * 8 - std::size_t{width} * channels * bits);
    for (std::uint32_t row = 1; row <= height; ++row) {
      std::uint8_t& last = pixels[row * layout.rowBytes() - 1];
      last = static_cast<std::uint8_t>(last >> spare << spare);
    }
  }
  void writeTo(PictureWriter& writer) const {
    writer.beginPage(layout);
    writeRows(writer, layout.height);
    writer.endPage();
  }
  void writeRows(PictureWriter& writer, std::uint32_t count) const {
    for (std::uint32_t row = 0; row < count; ++row) writer.writeRow(pixels.data() + row * layout.rowBytes());
  }
  // As in a file in which 1 is white, padding bits included.
  std::vector<std::uint8_t> inverted() const {
    std::vector<std::uint8_t> result = pixels;
    for (std::uint8_t& byte : result) byte = static_cast<std::uint8_t>(~byte);
    return result;
  }

  PictureLayout layout;
  std::vector<std::uint8_t> pixels;
};

inline const TestPicture color(37, 29, 3);
inline const TestPicture grey(501, 1203, 1);
inline const TestPicture lineart(72, 61, 1, 1);
inline const TestPicture narrowLineart(13, 61, 1, 1);

class WritingPictures : public testing::Test {
 protected:
  int create() const { return open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600); }
  // Whether the sink is good afterwards.
  bool write(PictureFormat format, const std::vector<const TestPicture*>& pages,
             const PictureSettings& used = settings()) {
    const int descriptor = create();
    ByteSink sink(descriptor);
    {
      const auto writer = makePictureWriter(format, sink, used);
      for (const TestPicture* page : pages) page->writeTo(*writer);
      writer->finish();
    }
    close(descriptor);
    return sink.good();
  }
  std::vector<std::uint8_t> pageOfPdf(int page = 0) {
    return PngFile(path + "-00" + std::to_string(page) + ".png").pixels;
  }

  TemporaryFolder folder;
  std::string path = folder / "picture";
};

}  // namespace frontend
