#include "PictureFiles.h"

#include <gtest/gtest.h>
#include <jpeglib.h>
#include <png.h>

#include <cstdio>
#include <cstdlib>

PngFile::PngFile(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    ADD_FAILURE() << "no file " << path;
    return;
  }
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file);
  png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  width = png_get_image_width(png, info);
  height = png_get_image_height(png, info);
  colorType = png_get_color_type(png, info);
  depth = png_get_bit_depth(png, info);
  int unit = PNG_RESOLUTION_METER;
  png_get_pHYs(png, info, &pixelsPerMetreX, &pixelsPerMetreY, &unit);
  EXPECT_EQ(unit, PNG_RESOLUTION_METER);
  png_textp text = nullptr;
  if (png_get_text(png, info, &text, nullptr) == 1) software = text[0].text;
  int intent = 0;
  srgb = png_get_sRGB(png, info, &intent) != 0;
  png_get_gAMA(png, info, &gamma);
  const std::size_t rowBytes = png_get_rowbytes(png, info);
  for (png_uint_32 row = 0; row < height; ++row) {
    const png_bytep bytes = png_get_rows(png, info)[row];
    pixels.insert(pixels.end(), bytes, bytes + rowBytes);
  }
  png_destroy_read_struct(&png, &info, nullptr);
  std::fclose(file);
}

JpegFile::JpegFile(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    ADD_FAILURE() << "no file " << path;
    return;
  }
  jpeg_error_mgr errors{};
  jpeg_decompress_struct jpeg{};
  jpeg.err = jpeg_std_error(&errors);  // exits with a message for a broken picture, which is clear enough
  jpeg_create_decompress(&jpeg);
  jpeg_stdio_src(&jpeg, file);
  jpeg_save_markers(&jpeg, JPEG_COM, 1000);
  jpeg_save_markers(&jpeg, JPEG_APP0 + 2, 0xFFFF);
  jpeg_read_header(&jpeg, TRUE);
  jpeg_start_decompress(&jpeg);
  width = jpeg.output_width;
  height = jpeg.output_height;
  channels = jpeg.output_components;
  densityUnit = jpeg.density_unit;
  densityX = jpeg.X_density;
  densityY = jpeg.Y_density;
  fullColor = jpeg.max_h_samp_factor == 1 && jpeg.max_v_samp_factor == 1;
  for (jpeg_saved_marker_ptr marker = jpeg.marker_list; marker != nullptr; marker = marker->next) {
    if (marker->marker == JPEG_COM)
      comment.assign(reinterpret_cast<const char*>(marker->data), marker->data_length);
  }
  JOCTET* icc = nullptr;
  unsigned iccSize = 0;
  if (jpeg_read_icc_profile(&jpeg, &icc, &iccSize) == TRUE)
    profile.assign(reinterpret_cast<const char*>(icc), iccSize);
  std::free(icc);
  const std::size_t rowBytes = std::size_t{width} * static_cast<std::size_t>(channels);
  pixels.resize(rowBytes * height);
  while (jpeg.output_scanline < height) {
    JSAMPROW row = pixels.data() + jpeg.output_scanline * rowBytes;
    jpeg_read_scanlines(&jpeg, &row, 1);
  }
  jpeg_finish_decompress(&jpeg);
  jpeg_destroy_decompress(&jpeg);
  EXPECT_EQ(errors.num_warnings, 0);
  std::fclose(file);
}

std::string printedBy(const std::string& command) {
  std::string printed;
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  char buffer[4096];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) printed.append(buffer, count);
  EXPECT_EQ(pclose(pipe), 0) << command << ":\n" << printed;
  return printed;
}

std::vector<std::uint8_t> storedPixels(const std::string& pdf, int page) {
  const std::string number = std::to_string(page);
  const std::string object = printedBy("pdfimages -list -f " + number + " -l " + number + " '" + pdf +
                                       "' | awk 'NR == 3 { printf \"%d,%d\", $11, $12 }'");
  const std::string pixels =
      printedBy("qpdf --filtered-stream-data --show-object=" + object + " '" + pdf + "'");
  return {pixels.begin(), pixels.end()};
}

void extractPages(const std::string& pdf) {
  printedBy("pdfimages -png '" + pdf + "' '" + pdf + "'");
}
