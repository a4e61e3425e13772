#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include <vector>

#include "PictureWriter.h"
#include "PngRowFilter.h"
#include "TemporaryFolder.h"

namespace {

using namespace frontend;
using Bytes = std::vector<std::uint8_t>;

TEST(TheFilterOfAPngRow, IsTheOneWithTheSmallestDifferences) {
  const struct {
    const char* what;
    Bytes above, row;
    int filter;
  } cases[] = {
      {"nothing but zeros", {0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0}, PNG_FILTER_NONE},
      {"one level", {9, 90, 9, 90, 9, 90}, {50, 50, 50, 50, 50, 50}, PNG_FILTER_SUB},
      {"the row above", {9, 90, 9, 90, 9, 90}, {9, 90, 9, 90, 9, 90}, PNG_FILTER_UP},
      {"halfway", {0, 100, 0, 100, 0, 100}, {0, 50, 25, 62, 31, 65}, PNG_FILTER_AVG},
      {"now one level, now the row above",
       {100, 100, 100, 5, 60, 20},
       {10, 10, 10, 5, 60, 20},
       PNG_FILTER_PAETH},
  };
  for (const auto& one : cases)
    EXPECT_EQ(bestPngFilter(one.row.data(), one.above.data(), one.row.size(), 1), one.filter) << one.what;
}

// What the library writes when it chooses the filters itself.
std::string writtenByTheLibrary(const Bytes& pixels, const PictureLayout& layout) {
  std::string compressed;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(
      png, &compressed,
      [](png_structp writer, png_bytep bytes, std::size_t count) {
        static_cast<std::string*>(png_get_io_ptr(writer))->append(reinterpret_cast<char*>(bytes), count);
      },
      [](png_structp) {});
  png_set_IHDR(png, info, layout.width, layout.height, 8, layout.channels == 3 ? 2 : 0, 0, 0, 0);
  png_set_compression_level(png, 6);
  png_write_info(png, info);
  for (std::uint32_t y = 0; y < layout.height; ++y) png_write_row(png, &pixels[y * layout.rowBytes()]);
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return compressed.substr(compressed.find("IDAT"));
}

// Over the sizes of vectors and pieces. (In columns of one pixel the library leaves out filters that cannot
// help.)
TEST(TheFilterOfAPngRow, IsTheOneThatTheLibraryChooses) {
  const TemporaryFolder folder;
  for (const std::uint32_t channels : {1U, 3U}) {
    for (const std::uint32_t width : {2U, 15U, 16U, 17U, 85U, 86U, 87U, 256U, 257U, 1000U}) {
      const PictureLayout layout{width, 60, channels, 8, 300};
      Bytes pixels(static_cast<std::size_t>(layout.bytes()));
      std::uint32_t state = width;
      // Rows from smooth to noise.
      for (std::size_t i = 0; i < pixels.size(); ++i) {
        state = state * 1664525 + 1013904223;
        pixels[i] = static_cast<std::uint8_t>(i / channels * 3 + i / layout.rowBytes() * 5 +
                                              (state >> 24) * (i / layout.rowBytes() % 16) / 16);
      }
      const std::string path = folder / "picture.png";
      const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
      ByteSink sink(descriptor);
      const auto writer = makePngWriter(sink, {.software = "q750"});
      writer->beginPage(layout);
      for (std::uint32_t y = 0; y < layout.height; ++y) writer->writeRow(&pixels[y * layout.rowBytes()]);
      writer->endPage();
      close(descriptor);
      const std::string content = contentOf(path);
      EXPECT_TRUE(content.substr(content.find("IDAT")) == writtenByTheLibrary(pixels, layout)) << width;
    }
  }
}

}  // namespace
